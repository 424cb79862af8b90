#include <seh_guard.h>
#include <windows.h>

#include <gnu/libc-version.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>

namespace {

// Two pages, of which only the first may be read.
class HalfReadable : public testing::Test {
protected:
    static constexpr std::size_t page_size = 4096;

    void SetUp() override {
        void* mapped =
            mmap(nullptr, 2 * page_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(mapped, MAP_FAILED);
        m_first = static_cast<char*>(mapped);
        std::memset(m_first, 'x', 2 * page_size);
        m_second = m_first + page_size;
        mprotect(m_second, page_size, PROT_NONE);
    }
    void TearDown() override { munmap(m_first, 2 * page_size); }

    char* m_first = nullptr;
    char* m_second = nullptr;
};

TEST_F(HalfReadable, ProbesTellReadableMemory) {
    EXPECT_FALSE(IsBadReadPtr(m_first, page_size));
    EXPECT_FALSE(IsBadReadPtr(m_second - 1, 1));
    EXPECT_FALSE(IsBadReadPtr(m_second, 0));
    EXPECT_TRUE(IsBadReadPtr(m_second - 1, 2));
    EXPECT_TRUE(IsBadReadPtr(m_second, 1));
    EXPECT_TRUE(IsBadReadPtr(nullptr, 1));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(~ULONG_PTR{0}), 16));
    EXPECT_TRUE(IsBadReadPtr(reinterpret_cast<const void*>(0x8000'0000'0000'0000), 16));
    EXPECT_FALSE(IsBadCodePtr(reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&std::abort))));
    EXPECT_TRUE(IsBadCodePtr(reinterpret_cast<FARPROC>(m_second)));
}

TEST_F(HalfReadable, ReadingStopsWhereTheMemoryDoes) {
    char bytes[16] = {};
    SIZE_T done = 0;
    EXPECT_FALSE(ReadProcessMemory(GetCurrentProcess(), m_second - 6, bytes, sizeof(bytes), &done));
    EXPECT_EQ(GetLastError(), ERROR_PARTIAL_COPY);
    EXPECT_EQ(done, 6u);
    EXPECT_EQ(std::string(bytes, 6), "xxxxxx");
    EXPECT_TRUE(ReadProcessMemory(GetCurrentProcess(), m_first, bytes, sizeof(bytes), nullptr));
    EXPECT_FALSE(ReadProcessMemory(nullptr, m_first, bytes, sizeof(bytes), nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

// Makes process_vm_readv fail with EPERM from now on, as some sandboxes do.
bool forbid_process_vm_readv() {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_process_vm_readv, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{std::size(program), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

using HalfReadableDeathTest = HalfReadable;

TEST_F(HalfReadableDeathTest, ProbesDoWithoutTheCallThatSandboxesForbid) {
    const auto probe = [this] {
        if (!forbid_process_vm_readv()) _exit(0);  // nothing to be learnt here
        char bytes[16] = {};
        SIZE_T done = 0;
        const bool is_cut =
            !ReadProcessMemory(GetCurrentProcess(), m_second - 7, bytes, sizeof(bytes), &done);
        const bool is_whole =
            ReadProcessMemory(GetCurrentProcess(), m_first + 3, bytes, sizeof(bytes), nullptr);
        _exit(is_cut && done == 7 && is_whole && bytes[15] == 'x' && IsBadReadPtr(nullptr, 1) ? 0 : 1);
    };
    EXPECT_EXIT(probe(), testing::ExitedWithCode(0), "");
}

TEST(Modules, AnAddressNamesItsModule) {
    MODULEENTRY32 program, library;
    ASSERT_TRUE(find_loaded_module(reinterpret_cast<const void*>(&find_loaded_module), &program));
    EXPECT_EQ(program.szExePath, std::filesystem::read_symlink("/proc/self/exe").string());
    EXPECT_EQ(program.szModule, std::filesystem::path(program.szExePath).filename().string());
    EXPECT_EQ(reinterpret_cast<ULONG_PTR>(program.modBaseAddr) % 4096, 0u);
    const auto offset =
        reinterpret_cast<ULONG_PTR>(&find_loaded_module) - reinterpret_cast<ULONG_PTR>(program.modBaseAddr);
    EXPECT_LT(offset, program.modBaseSize);

    ASSERT_TRUE(find_loaded_module(reinterpret_cast<const void*>(&gnu_get_libc_version), &library));
    EXPECT_STREQ(library.szModule, "libc.so.6");

    const int on_the_stack = 0;
    EXPECT_FALSE(find_loaded_module(&on_the_stack, &library));
    EXPECT_FALSE(find_loaded_module(nullptr, &library));
    EXPECT_STREQ(library.szExePath, "");
}

TEST(Modules, FileNameIsCutOffToFit) {
    char path[MAX_PATH];
    const std::string executable = std::filesystem::read_symlink("/proc/self/exe").string();
    EXPECT_EQ(GetModuleFileNameA(nullptr, path, sizeof(path)), executable.size());
    EXPECT_EQ(path, executable);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(GetModuleFileNameA(nullptr, path, 5), 5u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(path, executable.substr(0, 4));

    MODULEENTRY32 library;
    ASSERT_TRUE(find_loaded_module(reinterpret_cast<const void*>(&gnu_get_libc_version), &library));
    EXPECT_EQ(GetModuleFileNameA(library.hModule, path, sizeof(path)), std::strlen(library.szExePath));
    EXPECT_EQ(GetModuleFileNameA(path, path, sizeof(path)), 0u);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}

TEST(CopyString, LeavesRoomForTheTerminator) {
    char text[4];
    EXPECT_STREQ(lstrcpynA(text, "abcdef", sizeof(text)), "abc");
    EXPECT_STREQ(lstrcpynA(text, "", sizeof(text)), "");
    EXPECT_EQ(lstrcpynA(nullptr, "abc", 4), nullptr);
}

}  // namespace
