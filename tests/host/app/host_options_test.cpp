#include "app/host_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace corrivane::host {
namespace {

std::optional<HostOptions> read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "corrivane-host");
    return read_command_line(static_cast<int>(arguments.size()), arguments.data());
}

TEST(HostOptionsTest, ReadsEverything) {
    const auto options =
        read({"--drive",  "d=/data",      "--network",  "/net",           "--drive=E=/e=f", "--library",
              "x.dlx",    "--scene-file", "D:\\a.gltf", "--mxs-string",   "file:C:\\x:y",   "--mxs-int",
              "port:-17", "--mxs-string", "empty:",     "--listener-log", "log.txt",        "--threads",
              "3",        "--log-folder", "/log",       "run.ms"});
    ASSERT_TRUE(options.has_value());
    EXPECT_EQ((std::map<char, std::string>{{'C', "drive_c"}, {'D', "/data"}, {'E', "/e=f"}}),
              options->drives);
    EXPECT_EQ("/net", options->network);
    EXPECT_EQ("x.dlx", options->library);
    EXPECT_EQ("D:\\a.gltf", options->scene_file);
    const std::map<std::string, std::variant<int, std::string>> arguments = {
        {"file", "C:\\x:y"}, {"port", -17}, {"empty", ""}};
    EXPECT_EQ(arguments, options->script_arguments);
    EXPECT_EQ("log.txt", options->listener_log);
    EXPECT_EQ(3, options->threads);
    EXPECT_EQ("/log", options->log_folder);
    EXPECT_EQ("run.ms", options->script);
    EXPECT_FALSE(options->execute.has_value());
    EXPECT_EQ("", *read({"--execute", ""})->execute);
    EXPECT_EQ("-1 + 2", *read({"--execute=-1 + 2"})->execute);
}

TEST(HostOptionsTest, EveryBadArgumentIsNamed) {
    const std::pair<std::vector<const char*>, const char*> cases[] = {
        {{"--drive", "C"}, "\"C\" does not have the form LETTER=DIR"},
        {{"--drive", "CC=/x"}, "\"CC\" is not a drive letter"},
        {{"--drive", "1=/x"}, "\"1\" is not a drive letter"},
        {{"--drive", "C="}, "--drive: the folder's name is missing"},
        {{"--drive", "C=/dev/null"}, "\"/dev/null\" is not a folder"},
        {{"--drive", "c=/x", "--drive", "C=/y"}, "drive C is given twice"},
        {{"--drive"}, "--drive"},
        {{"--network", ""}, "--network"},
        {{"--log-folder", "/dev/null"}, "--log-folder: \"/dev/null\" is not a folder"},
        {{"--threads", "0"}, "--threads"},
        {{"--network", "/dev/null"}, "--network: \"/dev/null\" is not a folder"},
        {{"--mxs-string", "key"}, "\"key\" does not have the form KEY:VALUE"},
        {{"--mxs-string", ":value"}, "KEY:VALUE"},
        {{"--mxs-int", "port:12x"}, "the value of port, \"12x\", is not a 32-bit integer"},
        {{"--mxs-int", "port:3000000000"}, "3000000000"},
        {{"--mxs-int", "port:"}, "port"},
        {{"--mxs-int", "a:1", "--mxs-string", "a:x"}, "a is given twice"},
        {{"--execute", "1", "run.ms"}, "--execute"},
        {{"--frames", "1"}, "--frames"},
        {{"one.ms", "two.ms"}, "two.ms"},
        {{""}, "SCRIPT.ms: the file's name is empty"},
    };
    for (const auto& [arguments, reason] : cases) {
        try {
            read(arguments);
            ADD_FAILURE() << "accepted: " << arguments[0] << " for " << reason;
        } catch (const CommandLineError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(reason));
        }
    }
}

}  // namespace
}  // namespace corrivane::host
