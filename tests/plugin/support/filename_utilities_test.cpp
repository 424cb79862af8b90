#include "support/filename_utilities.h"

#include "support/test.h"

#include <boost/filesystem/exception.hpp>

#include <functional>

namespace corrivane::test {
namespace {

struct Case {
    std::string path;
    std::string expected;
};

void expect_each(const std::vector<Case>& cases,
                 const std::function<std::string(const std::string&)>& operation) {
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(operation(path), expected) << "of \"" << path << '"';
}

TEST(FilenameUtilities, NormalizedPathsHaveSingleBackslashesAndKeepANetworksPair) {
    const std::vector<Case> cases = {
        {"", ""},
        {"/", "\\"},
        {"C:/out//shot/a.exr", "C:\\out\\shot\\a.exr"},
        {"//server/share/a.exr", "\\\\server\\share\\a.exr"},
        {"/\\server//x", "\\\\server\\x"},
        {"\\\\\\\\server", "\\\\\\server"},
        {"a\\\\\\b", "a\\\\b"},
    };
    expect_each(cases, normalize_path);
}

TEST(FilenameUtilities, ParentAndFinalElementOfAPath) {
    const struct {
        const char* path;
        const char* parent;
        const char* element;
    } cases[] = {
        {"C:\\out\\shot\\a.exr", "C:\\out\\shot", "a.exr"},
        {"C:/out//a.exr", "C:\\out", "a.exr"},
        {"C:\\out", "C:\\", "out"},
        {"C:\\", "C:", "/"},
        {"C:", "", "C:"},
        {"C:a.exr", "C:", "a.exr"},
        {"a.exr", "", "a.exr"},
        {"", "", ""},
        {".", "", "."},
        {"\\a.exr", "\\", "a.exr"},
        {"out\\.\\shot\\a.exr", "out\\shot", "a.exr"},
        {"out\\..\\a.exr", "out\\..", "a.exr"},
        {"\\\\server\\share\\a.exr", "\\\\server\\share", "a.exr"},
        {"\\\\server\\share", "\\\\server\\", "share"},
        {"\\\\server", "", "//server"},
    };
    for (const auto& [path, parent, element] : cases) {
        EXPECT_EQ(get_directory_from_path(path), parent) << path;
        EXPECT_EQ(get_filename_from_path(path), element) << path;
    }
    EXPECT_EQ(get_filename_without_extension(parsed_path("out/a.0001.exr", name_rule::windows)), "a.0001");
    EXPECT_EQ(get_filename_without_extension(parsed_path("out.d/a", name_rule::windows)), "a");
    EXPECT_EQ(get_filename_without_extension(parsed_path(".exr", name_rule::windows)), "");
}

TEST(FilenameUtilities, ReplacedExtension) {
    const std::vector<Case> cases = {
        {"C:\\out\\beauty.0001.exr", "C:\\out\\beauty.0001.jpg"},
        {"beauty", "beauty.jpg"},
        {"C:/out/beauty.exr", "C:\\out\\beauty.jpg"},
        {"C:beauty.exr", "C:beauty.jpg"},
        {"\\\\server\\share\\a.exr", "\\\\server\\share\\a.jpg"},
        {"my out\\a.exr", "my out\\a.jpg"},
    };
    expect_each(cases, [](const std::string& path) { return replace_extension(path, ".jpg"); });
}

TEST(FilenameUtilities, NamesOutsideTheRuleAreRefusedByName) {
    const struct {
        std::string path;
        std::string element;
        bool only_portable;  ///< Windows could store it
    } cases[] = {
        {"C:\\out\\a:b.exr", "a:b.exr", false},
        {"C:\\out \\a.exr", "out ", false},
        {"C:\\out.\\a.exr", "out.", false},
        {"C:\\o<t\\a.exr", "o<t", false},
        {"C:\\o\x1Ft\\a.exr", "o\x1Ft", false},
        {"C:\\a|b\\..\\a.exr", "a|b", false},
        {"C:\\out\\my shot.exr", "my shot.jpg", true},
        {"C:\\out\\-shot.exr", "-shot.jpg", true},
        {"C:\\out\\.exr", ".jpg", true},
        {"C:\\out\\sh\xF6t.exr", "sh\xF6t.jpg", true},
    };
    for (const auto& [path, element, only_portable] : cases) {
        const std::string whole = only_portable ? element : path;
        const std::string text = "invalid name \"" + element + "\" in path: \"" + whole + "\"";
        const std::string replacing = message_of([&] { replace_extension(path, ".jpg"); });
        EXPECT_TRUE(replacing.starts_with(text)) << path << ": " << replacing;
        EXPECT_THROW(replace_extension(path, ".jpg"), boost::filesystem::filesystem_error) << path;
        for (const auto operation : {get_directory_from_path, get_filename_from_path}) {
            const std::string message = message_of([&] { operation(path); });
            EXPECT_EQ(message.starts_with(text), !only_portable) << path << ": " << message;
        }
    }
}

}  // namespace
}  // namespace corrivane::test
