#include "worker/command_line_text.h"

#include <boost/tokenizer.hpp>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

/// The fields as the plug-in splits them.
std::vector<std::string> split(const std::string& line) {
    const boost::tokenizer<boost::escaped_list_separator<char>> fields(line);
    return {fields.begin(), fields.end()};
}

TEST(CommandLineText, TheSplitterGivesBackEveryField) {
    const std::string all_other_bytes = [] {
        std::string bytes;
        for (int c = 1; c < 256; ++c)
            bytes += static_cast<char>(c);
        return bytes;
    }();
    const std::string fields[] = {"",
                                  "plain",
                                  R"(C:\new\scene.gltf)",
                                  R"(\\server\share\a,b.gltf)",
                                  "a,b",
                                  R"("quoted")",
                                  R"(a",\)",
                                  "two\nlines",
                                  R"(\n)",
                                  ",",
                                  "\\",
                                  " blanks kept ",
                                  "\"",
                                  "\n,\"\\",
                                  all_other_bytes};
    for (const std::string& first : fields)
        for (const std::string& second : fields)
            EXPECT_EQ(split(command_line("Name", {first, second})),
                      (std::vector<std::string>{"Name", first, second}));
}

TEST(CommandLineText, RefusesWhatNoMessageCarries) {
    EXPECT_THROW(command_line("A", {std::string("a\0b", 3)}), std::invalid_argument);
    EXPECT_NO_THROW(command_line("A", {std::string(99994, 'x')}));
    EXPECT_THROW(command_line("A", {std::string(99995, 'x')}), std::invalid_argument);
}

}  // namespace
}  // namespace corrivane::worker
