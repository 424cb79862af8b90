#include "run_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

namespace corrivane::host::test {
namespace {

using testing::HasSubstr;

constexpr const char* scene = R"({"asset": {"version": "2.0"}, "scene": 0,
    "scenes": [{"nodes": [0], "extras": {"render": {"frameRate": 24, "output": "C:\\out\\a.png"}}}],
    "nodes": [{"name": "Camera01", "camera": 0, "translation": [1, 2.5, -3]}],
    "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}]})";

class HostProgramTest : public testing::Test {
protected:
    /// Runs a text, which must succeed, and gives back what the Listener showed.
    std::string listener(const std::string& text, std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"--execute", text});
        const HostRun run = m_folder.run_with_plugin(options);
        EXPECT_EQ(0, run.exit_code) << run.errors;
        EXPECT_EQ("", run.errors);
        return run.output;
    }

    HostFolder m_folder;
};

TEST_F(HostProgramTest, LoadsItsLibraryAfterTheDrivesAndUnloadsItAtTheEnd) {
    m_folder.write("drive_c/marker", "");
    EXPECT_EQ(0, m_folder.run_with_plugin({"--execute", "sliderTime = 7"}).exit_code);
    EXPECT_EQ("loaded\ndescribed\ninitialised\nunloaded at frame 7\n", m_folder.read("drive_c/events.txt"));
    m_folder.write("elsewhere/marker", "");
    EXPECT_EQ(0, m_folder.run_with_plugin({"--drive", "C=elsewhere"}).exit_code);
    EXPECT_EQ("loaded\ndescribed\ninitialised\nunloaded at frame 0\n", m_folder.read("elsewhere/events.txt"));
}

TEST_F(HostProgramTest, StandardInputIsAScript) {
    m_folder.write("input", "print 1\nthrow \"second\"");
    const HostRun run = m_folder.run_with_plugin({"-"});
    EXPECT_EQ("1\n", run.output);
    EXPECT_EQ("-- Runtime error: second; line: 2\n", run.errors);
    EXPECT_EQ(1, run.exit_code);
}

TEST_F(HostProgramTest, WhatItPrintsGoesIntoNoFileThatItOpens) {
    const char* script = "f = createFile \"first\"; print 5; format \"text\" to:f; close f";
    EXPECT_EQ(0, m_folder.run({"--library", TEST_PLUGIN, "--execute", script}, nullptr).exit_code);
    EXPECT_EQ("text", m_folder.read("first"));
}

TEST_F(HostProgramTest, WhatCannotBeDoneIsSaidAndEndsInOne) {
    m_folder.write("broken.ms", "print 1\nthrow \"no\"\n");
    ASSERT_EQ(mkfifo((m_folder.path() / "pipe").c_str(), 0600), 0);
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--library", "pipe"}, "cannot load the library pipe: it is not a file"},
        {{"--library", TEST_PLUGIN, "--listener-log", "pipe"}, "cannot be opened: it is not a file"},
        {{"--library", TEST_PLUGIN, "-"}, "there is no script on standard input"},
        {{"--drive", "C"}, "LETTER=DIR"},
        {{"--library", "none.dlx"}, "cannot load the library none.dlx"},
        {{"--library", OTHER_RELEASE_PLUGIN}, "built for version 0x1F401500 of 3ds Max; this is 0x23281500"},
        {{"--library", INCOMPLETE_PLUGIN}, "has no entry point LibVersion"},
        {{"--library", TEST_PLUGIN, "--scene-file", "none.gltf"}, "none.gltf"},
        {{"--library", TEST_PLUGIN, "--listener-log", "no/such/folder/log"}, "no/such/folder/log"},
        {{"--library", TEST_PLUGIN, "none.ms"}, "none.ms"},
        {{"--library", TEST_PLUGIN, "broken.ms"}, "no"},
        {{"--library", TEST_PLUGIN, "--execute", "1 +"}, "-- Syntax error"},
        {{"--library", TEST_PLUGIN, "--execute", "frameRate = 0"},
         "the frame rate must be between 1 and 4800, got 0"},
        {{"--library", TEST_PLUGIN, "--execute", "renderWidth = 40000"}, "the render width must be between"},
        {{"--library", TEST_PLUGIN, "--execute", "sliderTime = 1e30"}, "Time out of range"},
        {{"--library", TEST_PLUGIN, "--execute", "animationRange = 5"}, "must be an interval, got 5"},
        {{"--library", TEST_PLUGIN, "--execute", "animationRange = interval 5 4"}, "end before it starts"},
        {{"--library", TEST_PLUGIN, "--execute", "standin.fault \"SetTime\" \"Hiccup\""},
         "\"Float Overflow\""},
        {{"--library", TEST_PLUGIN, "--execute", "standin.throwNext \"Save\" #other \"\""}, "LoadFromFile"},
        {{"--library", TEST_PLUGIN, "--execute", "standin.crash \"Hiccup\""}, "\"Hiccup\""},
    };
    for (const auto& [arguments, reason] : cases) {
        SCOPED_TRACE(reason);
        const HostRun run = m_folder.run(arguments);
        EXPECT_EQ(1, run.exit_code);
        EXPECT_THAT(run.errors, HasSubstr(reason));
    }
}

TEST_F(HostProgramTest, TheListenerGoesToStandardOutputAndTheLog) {
    m_folder.write("hello.ms",
                   "format \"hello % %\\n\" maxOps.mxsCmdLineArgs[#who] maxOps.mxsCmdLineArgs[#count]\n");
    const HostRun run = m_folder.run_with_plugin(
        {"--mxs-string", "who:farm", "--mxs-int", "count:3", "--listener-log", "log.txt", "hello.ms"});
    EXPECT_EQ(0, run.exit_code) << run.errors;
    EXPECT_EQ("hello farm 3\n", run.output);
    EXPECT_EQ("hello farm 3\n", m_folder.read("log.txt"));
    EXPECT_THAT(m_folder.run({"--help"}).output, HasSubstr("--scene-file"));
    EXPECT_THAT(m_folder.run({"-V"}).output, HasSubstr("corrivane-host "));
}

TEST_F(HostProgramTest, OutputThatIsLostEndsInOne) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--library", TEST_PLUGIN, "--execute", "print 1"}, {"--help"}}) {
        const HostRun run = m_folder.run(arguments, "/dev/full");
        EXPECT_EQ(1, run.exit_code) << arguments.back();
        EXPECT_EQ("cannot write to standard output\n", run.errors) << arguments.back();
    }
    EXPECT_EQ(0, m_folder.run({"--library", TEST_PLUGIN, "--execute", "1"}, "/dev/full").exit_code);
}

TEST_F(HostProgramTest, ScriptsSeeTheScene) {
    m_folder.write("scenes/robot.gltf", scene);
    const std::vector<std::string> with_scene = {"--drive", "S=scenes", "--scene-file", "S:\\robot.gltf"};
    EXPECT_EQ(
        "\"S:\\\"\n\"robot.gltf\"\n24\n640\n480\n\"C:\\out\\a.png\"\n0f\n(interval 0f 100f)\n",
        listener(
            "print maxFilePath; print maxFileName; print frameRate; print renderWidth; print renderHeight; "
            "print rendOutputFilename; print currentTime; print animationRange",
            with_scene));
    EXPECT_EQ(
        "$Camera01\n\"Camera01\"\n[1,2.5,-3]\n2.5\n[1,2.5,-3]\nundefined\n",
        listener("n = getNodeByName \"Camera01\"; print n; print n.name; print n.pos; print n.position.y; "
                 "print n.transform.row4; print (getNodeByName \"Camera02\")",
                 with_scene));
}

TEST_F(HostProgramTest, ScriptsChangeTheSettings) {
    EXPECT_EQ(
        "12f\n12.0\n1920\n2.5f\n5f\n",
        listener("sliderTime = 12; print currentTime; print currentTime.frame; print currentTime.ticks; "
                 "sliderTime = 2.5; print sliderTime; frameRate = 60; print sliderTime"));
    EXPECT_EQ("(interval -5f 20f)\n-5f\n20f\n",
              listener("animationRange = interval -5 20; print animationRange; print animationRange.start; "
                       "print animationRange.end"));
    EXPECT_EQ(
        "100\n50\n\"D:\\b.exr\"\n\"\"\n",
        listener(
            "renderWidth = 100; renderHeight = 50; rendOutputFilename = @\"D:\\b.exr\"; print renderWidth; "
            "print renderHeight; print rendOutputFilename; print maxFileName"));
}

TEST_F(HostProgramTest, FaultsOnDemandAreReal) {
    const HostRun crash = m_folder.run_with_plugin({"--execute", "standin.crash \"Illegal Instruction\""});
    EXPECT_EQ(SIGILL, crash.signal);
    const HostRun fault = m_folder.run_with_plugin(
        {"--execute", "standin.fault \"SetTime\" \"Access Violation\"; print 1; sliderTime = 1"});
    EXPECT_EQ(SIGSEGV, fault.signal);
    EXPECT_EQ("1\n", fault.output);
    const HostRun thrown = m_folder.run_with_plugin(
        {"--execute", "standin.throwNext \"SetTime\" #stdException \"thrown text\"; sliderTime = 1"});
    EXPECT_EQ(1, thrown.exit_code);
    EXPECT_THAT(thrown.errors, HasSubstr("thrown text"));
    const HostRun max_thrown = m_folder.run_with_plugin(
        {"--execute", "standin.throwNext \"SetTime\" #maxException \"disk gone\"; sliderTime = 1"});
    EXPECT_EQ(1, max_thrown.exit_code);
    EXPECT_EQ("MAXException: disk gone\n", max_thrown.errors);
}

}  // namespace
}  // namespace corrivane::host::test
