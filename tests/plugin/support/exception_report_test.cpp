#include "support/exception_report.h"

#include "support/guarded_call.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

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
        context.Rbp = reinterpret_cast<ULONG_PTR>(frame);
    }

    std::string report() { return std::string(build_exception_report({&record, &context})); }
};

/// Some code of this program.
ULONG_PTR code_address() {
    return reinterpret_cast<ULONG_PTR>(&build_exception_report);
}

std::string executable() {
    char path[MAX_PATH] = "";
    return {path, static_cast<std::size_t>(readlink("/proc/self/exe", path, sizeof path))};
}

std::string matched(const std::string& text, const std::string& pattern) {
    std::smatch match;
    return std::regex_search(text, match, std::regex(pattern)) ? match[0].str() : "nothing in " + text;
}

std::ptrdiff_t count(const std::string& text, const std::string& pattern) {
    const std::regex wanted(pattern);
    return std::distance(std::sregex_iterator(text.begin(), text.end(), wanted), std::sregex_iterator());
}

TEST(ExceptionNames, GuardsTakeExactlyTheNamedCodes) {
    const struct {
        DWORD code;
        const char* name;
    } handled[] = {
        {0x80000002, "Datatype Misalignment"},   {0xC0000005, "Access Violation"},
        {0xC0000006, "In Page Error"},           {0xC000001D, "Illegal Instruction"},
        {0xC000008C, "Array Bounds Exceeded"},   {0xC000008D, "Float Denormal Operand"},
        {0xC000008E, "Float Divide By Zero"},    {0xC000008F, "Float Inexact Result"},
        {0xC0000090, "Float Invalid Operation"}, {0xC0000091, "Float Overflow"},
        {0xC0000092, "Float Stack Check"},       {0xC0000094, "Integer Divide By Zero"},
        {0xC0000095, "Integer Overflow"},        {0xC0000096, "Privileged Instruction"},
        {0xC00000FD, "Stack Overflow"},
    };
    for (const auto& [code, name] : handled) {
        EXPECT_STREQ(seh_exception_name(code), name);
        EXPECT_TRUE(is_handled_seh_exception(code)) << name;
    }
    // Underflow lies between two that are taken; guard page, breakpoint, nothing, a C++ exception.
    for (const DWORD code : {0xC0000093U, 0x80000001U, 0x80000003U, 0U, 0xC0000097U, 0xE06D7363U}) {
        EXPECT_STREQ(seh_exception_name(code), "Unknown SEH Exception Code") << code;
        EXPECT_FALSE(is_handled_seh_exception(code)) << code;
    }
}

TEST(ExceptionReport, HeaderNamesProcessModuleDateCodeAndAccess) {
    const struct {
        DWORD code;
        ULONG_PTR kind;
        ULONG_PTR address;
        std::string lines;
    } cases[] = {
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
        const std::string start =
            "Process:  " + executable() + "\nModule:  " + executable() + "\nDate Modified:  ";
        EXPECT_TRUE(report.starts_with(start)) << report;
        EXPECT_TRUE(std::regex_search(report, std::regex("\nDate Modified:  \\d\\d/\\d\\d/20\\d\\d\n")))
            << report;
        EXPECT_NE(report.find(lines + "Instruction:  "), std::string::npos) << report;
        EXPECT_EQ(count(report, " Address:  "), code == 0xC0000005 ? 1 : 0);
        EXPECT_NE(report.back(), '\n');
    }
}

TEST(ExceptionReport, InstructionBytesAreTheOnesAtTheAddress) {
    const std::string report = Fault(code_address()).report();
    std::string bytes = "\nInstruction: ";
    for (int i = 0; i < 16; ++i) {
        char byte[8];
        std::snprintf(byte, sizeof byte, " %02X", reinterpret_cast<const unsigned char*>(code_address())[i]);
        bytes += byte;
    }
    EXPECT_NE(report.find(bytes + "\nCall Stack:"), std::string::npos) << report;
}

TEST(ExceptionReport, UnreadableBytesAndAddressesInNoModuleAreShownAsSuch) {
    const std::string unknown = Fault(0x10).report();
    EXPECT_EQ(count(unknown, "\nModule:|\nDate Modified:"), 0) << unknown;
    EXPECT_NE(unknown.find("\nException Addr:  00000010\n"), std::string::npos) << unknown;
    EXPECT_TRUE(
        unknown.ends_with("\nInstruction:  ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ?? ??\nCall Stack:"))
        << unknown;

    // Readable memory up to the end of a page, in no module.
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* memory = mmap(nullptr, 2 * page, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_EQ(munmap(static_cast<char*>(memory) + page, page), 0);
    const ULONG_PTR address = reinterpret_cast<ULONG_PTR>(memory) + page - 2;
    const std::string report = Fault(address).report();
    munmap(memory, page);
    EXPECT_NE(matched(report, "\nInstruction:  00 00 \\?\\?( \\?\\?){13}\nCall Stack:\n[0-9A-F]{8,}$"), "")
        << report;
    char shown[32];
    std::snprintf(shown, sizeof shown, "%08lX", address);
    EXPECT_TRUE(report.ends_with(std::string("\nCall Stack:\n") + shown)) << report;
}

TEST(ExceptionReport, StackEntriesShowModuleOffsetAndArguments) {
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
    FrameRecord loop{&loop, code_address(), {}};
    EXPECT_EQ(count(Fault(code_address(), EXCEPTION_STACK_OVERFLOW, &loop).report(), "\n  \\+"), 20);

    FrameRecord leads_nowhere{nullptr, 0x10, {}};
    EXPECT_EQ(count(Fault(code_address(), EXCEPTION_STACK_OVERFLOW, &leads_nowhere).report(), "\n  \\+"), 1);
    EXPECT_EQ(count(Fault(code_address(), EXCEPTION_STACK_OVERFLOW, nullptr).report(), "\n  \\+"), 1);

    // A record of which only the two linkage words are readable has no arguments.
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* memory = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_EQ(munmap(static_cast<char*>(memory) + page, page), 0);
    auto* record = reinterpret_cast<FrameRecord*>(static_cast<char*>(memory) + page - 2 * sizeof(void*));
    record->caller = nullptr;
    record->return_address = code_address();
    const std::string report = Fault(code_address(), EXCEPTION_STACK_OVERFLOW, record).report();
    munmap(memory, page);
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

TEST(GuardedCall, ReportsTheFrameThatFaulted) {
    struct Owner {
        std::string report;
        int FilterSehException(DWORD, EXCEPTION_POINTERS* information) {
            report = build_exception_report(*information);
            return EXCEPTION_EXECUTE_HANDLER;
        }
    } owner;
    auto fault = [] { asm volatile("ud2"); };
    EXPECT_EQ(guarded_call(owner, fault), EXCEPTION_ILLEGAL_INSTRUCTION);
    const std::string& report = owner.report;
    EXPECT_NE(report.find("\nInstruction:  0F 0B "), std::string::npos) << report;
    EXPECT_GT(count(report, "\n  \\+"), 2) << report;
    EXPECT_LE(count(report, "\n  \\+"), 20) << report;
}

}  // namespace
}  // namespace corrivane::test
