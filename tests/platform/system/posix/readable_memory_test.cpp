#include <windows.h>

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
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

    void check_what_can_be_read() {
        const struct {
            const void* address;
            SIZE_T count, readable;
        } cases[] = {
            {m_first + 3, 16, 16},
            {m_second - 1, 1, 1},
            {m_second - 6, 16, 6},
            {m_second, 1, 0},
            {nullptr, 1, 0},
            {reinterpret_cast<const void*>(~ULONG_PTR{0}), 16, 0},
            {reinterpret_cast<const void*>(0x8000'0000'0000'0000), 16, 0},
        };
        for (const auto& [address, count, readable] : cases) {
            char bytes[16] = {};
            SIZE_T done = 99;
            EXPECT_EQ(ReadProcessMemory(GetCurrentProcess(), address, bytes, count, &done) != FALSE,
                      readable == count);
            EXPECT_EQ(done, readable);
            EXPECT_EQ(std::string(bytes, readable), std::string(readable, 'x'));
            EXPECT_EQ(IsBadReadPtr(address, count) != FALSE, readable < count);
        }
        EXPECT_TRUE(IsBadCodePtr(reinterpret_cast<FARPROC>(m_second)));
        EXPECT_FALSE(IsBadCodePtr(reinterpret_cast<FARPROC>(m_first)));
    }

    char* m_first = nullptr;
    char* m_second = nullptr;
};

TEST_F(HalfReadable, CanBeReadAsFarAsItIs) {
    check_what_can_be_read();
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

TEST_F(HalfReadable, CanBeReadWithoutTheCallThatSandboxesForbid) {
    const auto check_forbidden = [this] {
        if (forbid_process_vm_readv()) check_what_can_be_read();
        _exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(check_forbidden(), testing::ExitedWithCode(0), "");
}

}  // namespace
