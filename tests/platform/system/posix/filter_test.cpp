// What a filter may ask the system for while the faulting code holds whatever it holds.
#include "faults.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <thread>
#include <tuple>

namespace {

// The offset of local time in hours.
int local_offset() {
    const FILETIME utc{0, 0x01C00000};
    FILETIME local;
    FileTimeToLocalFileTime(&utc, &local);
    const auto ticks = [](const FILETIME& time) {
        return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    };
    return static_cast<int>((ticks(local) - ticks(utc)) / 36'000'000'000);
}

void set_time_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

TEST(Filter, LocalTimeInAFilterIsThatOfTheGuardsEntry) {
    if (under_tsan) GTEST_SKIP() << "ThreadSanitizer defers a fault inside a handler";
    const auto note_offset = [](DWORD, EXCEPTION_POINTERS*, void* offset) {
        *static_cast<int*>(offset) = local_offset();
        return EXCEPTION_EXECUTE_HANDLER;
    };
    const auto faulting_filter = [](DWORD, EXCEPTION_POINTERS*, void*) {
        read_address_16();
        return EXCEPTION_EXECUTE_HANDLER;
    };
    const auto move_and_fault = [&] {
        set_time_zone("WEST+3");
        guarded(read_address_16, faulting_filter, nullptr);
    };
    int offset = 0;
    set_time_zone("EAST-5");
    EXPECT_NE(guarded(move_and_fault, note_offset, &offset), 0u);
    EXPECT_EQ(offset, 5);
    EXPECT_EQ(local_offset(), -3);  // outside the filter it is the present one
    unsetenv("TZ");
    tzset();
}

// Makes the allocator fault in the middle of its work: the list of free blocks leads to address 16.
void fault_inside_malloc() {
    constexpr std::size_t beyond_the_thread_cache = 5000;
    // volatile: the compiler must neither leave out an allocation nor see that a block is used after it
    // was freed
    void* volatile* volatile block = static_cast<void**>(std::malloc(beyond_the_thread_cache));
    void* volatile barrier = std::malloc(beyond_the_thread_cache);
    std::free(const_cast<void**>(block));
    block[1] = reinterpret_cast<void*>(16);  // NOLINT(clang-analyzer-unix.Malloc)
    void* volatile result = std::malloc(2 * beyond_the_thread_cache);
    std::free(result);
    std::free(barrier);
}

// Asks for all that a crash report does, and says so when it got it for an address in the C library.
int report_and_say_so(DWORD, EXCEPTION_POINTERS* information, void*) {
    const void* address = information->ExceptionRecord->ExceptionAddress;
    char executable[MAX_PATH];
    MODULEENTRY32 module;
    bool complete = GetModuleFileNameA(nullptr, executable, MAX_PATH) > 0;
    complete &= find_module(address, module);
    const HANDLE file = CreateFileA(module.szExePath, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    FILETIME utc, local;
    SYSTEMTIME modified;
    complete &= GetFileTime(file, nullptr, nullptr, &utc) && FileTimeToLocalFileTime(&utc, &local) &&
                FileTimeToSystemTime(&local, &modified) && modified.wYear >= 2000;
    complete &= CloseHandle(file) != FALSE;
    BYTE instruction[16];
    complete &= ReadProcessMemory(GetCurrentProcess(), address, instruction, sizeof(instruction), nullptr) &&
                walk_goes_on(*information);
    constexpr std::string_view done = "report is complete";
    if (complete && std::strstr(module.szExePath, "libc") != nullptr)
        std::ignore = write(STDERR_FILENO, done.data(), done.size());
    return EXCEPTION_EXECUTE_HANDLER;
}

// The report is gathered all the same. The thread could never allocate again, so then the process ends.
TEST(FilterDeathTest, AFaultThatKeepsTheAllocatorsLockEndsTheProcessAfterItsReport) {
    if (under_asan || under_tsan) GTEST_SKIP() << "the sanitizer has an allocator of its own";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            alarm(20);
            std::thread([] { pause(); }).detach();  // alone, a thread's allocator takes no lock
            guarded(fault_inside_malloc, report_and_say_so, nullptr);
            _exit(1);
        },
        testing::KilledBySignal(SIGSEGV), "report is complete");
}

}  // namespace
