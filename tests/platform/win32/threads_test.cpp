#include <windows.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

TEST(ThreadLocalSlots, HoldOneValueAThread) {
    const DWORD index = TlsAlloc();
    ASSERT_NE(index, TLS_OUT_OF_INDEXES);
    int mine = 0, other = 0;
    EXPECT_TRUE(TlsSetValue(index, &mine));
    std::thread([&] {
        SetLastError(ERROR_ACCESS_DENIED);
        EXPECT_EQ(TlsGetValue(index), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS);  // null is a value
        EXPECT_TRUE(TlsSetValue(index, &other));
        EXPECT_EQ(TlsGetValue(index), &other);
    }).join();
    EXPECT_EQ(TlsGetValue(index), &mine);
    EXPECT_TRUE(TlsFree(index));
}

TEST(ThreadLocalSlots, AreRefusedOnceFreedAndStartOutNullAgain) {
    const DWORD freed = TlsAlloc();
    int value = 0;
    TlsSetValue(freed, &value);
    TlsFree(freed);
    for (const DWORD index : {freed, TLS_MINIMUM_AVAILABLE, TLS_OUT_OF_INDEXES}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(TlsGetValue(index), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
        EXPECT_FALSE(TlsSetValue(index, nullptr));
        EXPECT_FALSE(TlsFree(index));
    }
    ASSERT_EQ(TlsAlloc(), freed);
    EXPECT_EQ(TlsGetValue(freed), nullptr);
    TlsFree(freed);
}

TEST(ThreadLocalSlots, RunOut) {
    std::vector<DWORD> indexes;
    for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc())
        indexes.push_back(index);
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(indexes.size(), TLS_MINIMUM_AVAILABLE);
    for (const DWORD index : indexes)
        EXPECT_TRUE(TlsFree(index));
}

TEST(Threads, HaveTheirOwnIdentifierAndLastError) {
    SetLastError(ERROR_ACCESS_DENIED);
    std::thread([first = GetCurrentThreadId()] {
        EXPECT_NE(GetCurrentThreadId(), first);
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
        SetLastError(ERROR_DISK_FULL);
    }).join();
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

TEST(CriticalSection, IsExclusiveAndItsOwnerMayEnterAgain) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    int counter = 0;
    const auto count = [&] {
        for (int i = 0; i < 5000; ++i) {
            EnterCriticalSection(&section);
            EnterCriticalSection(&section);
            ++counter;
            LeaveCriticalSection(&section);
            LeaveCriticalSection(&section);
        }
    };
    std::thread other(count);
    count();
    other.join();
    EXPECT_EQ(counter, 10'000);
    DeleteCriticalSection(&section);
}

TEST(Time, SleepLastsAtLeastItsTimeOnTheTickCount) {
    const DWORD start = GetTickCount();
    Sleep(30);
    EXPECT_GE(GetTickCount() - start, 30u);
}

}  // namespace
