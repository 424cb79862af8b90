#include "support/exception_report.h"

#include "support/test.h"

#include <windows.h>

#include <differences.h>
#include <machine.h>

#include <algorithm>
#include <cinttypes>
#include <regex>

namespace corrivane::test {
namespace {

struct FrameRecord {
    const void* caller;
    ULONG_PTR return_address;
    ULONG_PTR arguments[5];
};

/// A fault as a guard's filter sees it.
struct Fault {
    EXCEPTION_RECORD record{};
    CONTEXT context{};

    explicit Fault(ULONG_PTR address, DWORD code = EXCEPTION_ACCESS_VIOLATION, const void* frame = nullptr) {
        record.ExceptionCode = code;
        record.ExceptionAddress = reinterpret_cast<void*>(address);
        set_frame_pointer(context, frame);
    }

    std::string report() { return std::string(build_exception_report({&record, &context})); }
};

/// Some code of this program.
ULONG_PTR code_address() {
    return reinterpret_cast<ULONG_PTR>(&build_exception_report);
}

/// The program's path, as a pattern.
std::string executable() {
    return std::regex_replace(executable_path(), std::regex("\\\\"), "\\\\");
}

std::ptrdiff_t count(const std::string& text, const std::string& pattern) {
    const std::regex wanted(pattern);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), wanted), std::sregex_iterator());
}

/// Where only so many bytes more can be read, in no module.
void* end_of_memory(std::size_t bytes) {
    constexpr std::size_t page_size = 4096;
    static char* const pages = half_readable_memory(page_size);
    return pages + page_size - bytes;
}

TEST(ExceptionReport, HeaderNamesProcessModuleDateCodeAccessAndInstruction) {
    const std::tuple<DWORD, ULONG_PTR, ULONG_PTR, std::string> cases[] = {
        {0xC0000005, 0, 0x10, "\nException Code:  C0000005\nRead Address:  00000010\n"},
        {0xC0000005, 1, 0xDEADBEEF, "\nException Code:  C0000005\nWrite Address:  DEADBEEF\n"},
        {0xC0000005, 8, 0x30, "\nException Code:  C0000005\nWrite Address:  00000030\n"},
        {0xC0000094, 0, 0, "\nException Code:  C0000094\n"},
    };
    for (const auto& [code, kind, address, lines] : cases) {
        Fault fault(code_address(), code);
        fault.record.ExceptionInformation[0] = kind;
        fault.record.ExceptionInformation[1] = address;
        const std::string report = fault.report();
        const std::string start = "Process:  " + executable_path() + "\nModule:  " + executable_path();
        EXPECT_TRUE(report.starts_with(start)) << report;
        EXPECT_EQ(count(report, "\nDate Modified:  \\d\\d/\\d\\d/20\\d\\d\n"), 1) << report;
        EXPECT_EQ(count(report, lines + "Instruction: ( [0-9A-F]{2}){16}\nCall Stack:"), 1) << report;
        EXPECT_EQ(count(report, " Address:  "), code == 0xC0000005 ? 1 : 0);
        EXPECT_NE(report.back(), '\n');
    }
}

TEST(ExceptionReport, UnreadableBytesAndAddressesInNoModuleAreShownAsSuch) {
    const std::string unknown = Fault(0x10).report();
    EXPECT_EQ(count(unknown, "\nModule:|\nDate Modified:"), 0) << unknown;
    EXPECT_EQ(count(unknown, "\nException Addr:  00000010\n"), 1) << unknown;
    EXPECT_EQ(count(unknown, "\nInstruction: ( \\?\\?){16}\nCall Stack:$"), 1) << unknown;

    if (!unreadable_pages_are_told) return;
    const auto address = reinterpret_cast<ULONG_PTR>(end_of_memory(2));
    const std::string report = Fault(address).report();
    char shown[32];
    std::snprintf(shown, sizeof shown, "%08" PRIXPTR, std::uintptr_t{address});
    EXPECT_EQ(count(report, "\nInstruction:  00 00( \\?\\?){14}\nCall Stack:\n" + std::string(shown) + "$"),
              1)
        << report;
}

TEST(ExceptionReport, StackEntriesShowModuleOffsetAndArguments) {
    if (!frames_are_chained) GTEST_SKIP() << "frames cannot be made up here";
    FrameRecord caller{nullptr, code_address() + 3, {1, 0xABC, 0, 0xFFFFFFFF, 5}};
    const std::string report = Fault(code_address(), EXCEPTION_INT_DIVIDE_BY_ZERO, &caller).report();
    const std::string stack = report.substr(report.find("\nCall Stack:"));
    const std::string module_line = "\n([0-9A-F]{8,})  " + executable() + "\n  \\+([0-9A-F]{8,})";
    std::smatch match;
    ASSERT_TRUE(std::regex_match(stack, match,
                                 std::regex("\nCall Stack:" + module_line + "  Exception Offset" +
                                            module_line + "  \\(1, ABC, 0, FFFFFFFF, 5\\)")))
        << stack;
    const auto value = [&](int group) {
        return std::stoull(match[static_cast<std::size_t>(group)].str(), nullptr, 16);
    };
    EXPECT_EQ(value(1) + value(2), code_address());
    EXPECT_EQ(value(3) + value(4), code_address() + 3);
}

TEST(ExceptionReport, StackEndsAfterTwentyFramesAndWhereItCannotBeRead) {
    if (!frames_are_chained) GTEST_SKIP() << "frames cannot be made up here";
    FrameRecord loop{&loop, code_address(), {}};
    EXPECT_EQ(count(Fault(code_address(), EXCEPTION_STACK_OVERFLOW, &loop).report(), "\n  \\+"), 20);

    FrameRecord leads_nowhere{nullptr, 0x10, {}};
    EXPECT_EQ(count(Fault(code_address(), EXCEPTION_STACK_OVERFLOW, &leads_nowhere).report(), "\n  \\+"), 1);
    EXPECT_EQ(count(Fault(code_address(), EXCEPTION_STACK_OVERFLOW, nullptr).report(), "\n  \\+"), 1);

    if (!unreadable_pages_are_told) return;
    // A record of which only the two linkage words are readable has no arguments.
    auto* record = static_cast<FrameRecord*>(end_of_memory(2 * sizeof(void*)));
    record->caller = nullptr;
    record->return_address = code_address();
    const std::string report = Fault(code_address(), EXCEPTION_STACK_OVERFLOW, record).report();
    EXPECT_EQ(count(report, "\n  \\+"), 2) << report;
    EXPECT_EQ(count(report, "\\("), 0) << report;
}

TEST(ExceptionReport, TextThatFindsNoRoomIsCutOff) {
    report_text text;
    const std::string long_text(5000, 'x');
    EXPECT_EQ(text.append("%s", long_text.c_str()), 5000);
    EXPECT_EQ(text.append("%s", long_text.c_str()), 2999);
    EXPECT_EQ(text.append("%s", "y"), 0);
    EXPECT_EQ(text.view(), std::string(7999, 'x'));
}

}  // namespace
}  // namespace corrivane::test
