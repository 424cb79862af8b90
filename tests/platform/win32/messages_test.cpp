#include <windows.h>

#include <gtest/gtest.h>
#include <message_window.h>

#include <future>
#include <thread>
#include <vector>

namespace {

std::vector<MSG> drain() {
    std::vector<MSG> messages;
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        messages.push_back(message);
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return messages;
}

LRESULT add_parameters(HWND, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_USER) *reinterpret_cast<LPARAM*>(lParam) += static_cast<LPARAM>(wParam);
    return 5;
}

class Messages : public testing::Test {
protected:
    void TearDown() override { drain(); }
};

TEST_F(Messages, DispatchingRunsTheWindowsProcedure) {
    const HWND window = create_message_window(add_parameters);
    LPARAM sum = 0;
    for (WPARAM number : {1, 2, 3})
        EXPECT_TRUE(PostMessageA(window, WM_USER, number, reinterpret_cast<LPARAM>(&sum)));
    EXPECT_EQ(sum, 0);  // posted, not yet dispatched
    EXPECT_EQ(drain().size(), 3u);
    EXPECT_EQ(sum, 6);

    const MSG message{window, WM_USER, 4, reinterpret_cast<LPARAM>(&sum), 0, {}};
    EXPECT_EQ(DispatchMessageA(&message), 5);
    EXPECT_TRUE(PostMessageA(window, WM_USER, 1, 0));
    EXPECT_TRUE(destroy_message_window(window));
    EXPECT_TRUE(drain().empty());
    EXPECT_EQ(DispatchMessageA(&message), 0);
    EXPECT_FALSE(PostMessageA(window, WM_USER, 1, 0));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
    EXPECT_FALSE(destroy_message_window(window));
}

TEST_F(Messages, OtherThreadsPostInOrder) {
    MSG message;
    PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);  // makes the queue
    const DWORD receiver = GetCurrentThreadId();
    std::thread([&] {
        for (WPARAM number = 0; number < 100; ++number)
            EXPECT_TRUE(PostThreadMessageA(receiver, WM_APP, number, -1));
        EXPECT_TRUE(drain().empty());  // the sender's own queue
    }).join();
    const std::vector<MSG> messages = drain();
    ASSERT_EQ(messages.size(), 100u);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i].wParam, i);
        EXPECT_EQ(messages[i].hwnd, nullptr);
    }
}

TEST_F(Messages, ThreadsWithoutAQueueAreUnknown) {
    std::promise<DWORD> thread_id;
    std::promise<void> make_queue, made, finish;
    std::thread other([&] {
        thread_id.set_value(GetCurrentThreadId());
        make_queue.get_future().wait();
        drain();
        made.set_value();
        finish.get_future().wait();
    });
    const DWORD thread = thread_id.get_future().get();
    EXPECT_FALSE(PostThreadMessageA(thread, WM_APP, 0, 0));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_THREAD_ID);
    make_queue.set_value();
    made.get_future().wait();
    EXPECT_TRUE(PostThreadMessageA(thread, WM_APP, 0, 0));
    finish.set_value();
    other.join();
    EXPECT_FALSE(PostThreadMessageA(thread, WM_APP, 0, 0));
}

TEST_F(Messages, PeekingFiltersAndMayLeaveTheMessage) {
    const HWND window = create_message_window(add_parameters);
    MSG message;
    PostMessageA(nullptr, WM_USER + 1, 0, 0);
    PostMessageA(window, WM_USER + 2, 0, 0);
    PostMessageA(nullptr, WM_QUIT, 0, 0);
    EXPECT_FALSE(PeekMessageA(&message, window, WM_USER + 7, WM_USER + 9, PM_REMOVE) &&
                 message.message != WM_QUIT);
    PostMessageA(nullptr, WM_QUIT, 0, 0);
    EXPECT_TRUE(PeekMessageA(&message, window, 0, 0, PM_NOREMOVE));
    EXPECT_EQ(message.message, WM_USER + 2);
    EXPECT_TRUE(PeekMessageA(&message, nullptr, WM_USER + 2, WM_USER + 2, PM_REMOVE));
    EXPECT_EQ(message.hwnd, window);
    EXPECT_TRUE(PeekMessageA(&message, window, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, WM_QUIT);
    EXPECT_EQ(drain().size(), 1u);
    destroy_message_window(window);
}

TEST_F(Messages, FullQueueRefuses) {
    int posted = 0;
    while (posted < 20'000 && PostMessageA(nullptr, WM_NULL, 0, 0))
        ++posted;
    EXPECT_EQ(posted, 10'000);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_QUOTA);
}

}  // namespace
