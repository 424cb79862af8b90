#include "render/progress_callback.h"

#include "plugin/plugin_test.h"

#include <windows.h>

#include <atomic>
#include <thread>

namespace corrivane::test {
namespace {

constexpr int go_on = 1;
constexpr int stop = 0;
constexpr const char* unknown = "FUNCTION: PROGRESS -1";

class ProgressCallback : public PluginTest {
protected:
    /// One call that is due, answered in advance. Returns what it sent.
    Texts report(CorrivaneRenderCallback& callback, int done, int total,
                 const std::string& answer = "CONTINUE") {
        Sleep(101);
        m_link.worker.send(answer);
        EXPECT_EQ(callback.Progress(done, total), answer == "CONTINUE" ? go_on : stop) << answer;
        return m_link.sent();
    }

    Link m_link;
    CorrivaneRenderCallback m_callback{m_link.socket, ""};
};

TEST_F(ProgressCallback, TitlesAndNumbersFollowTheWork) {
    const struct {
        const char* title;
        int done, total;
        const char* shown;  ///< null: no title
        const char* progress;
        int pass = 0, passes = 0;
    } cases[] = {
        {"Rendering Image", 0, 100, nullptr, "-1"},
        {"Rendering Image", 45, 100, "Rendering Image - 45.0%", "45"},
        {"rendering\r\n\n", 1, 3, "rendering - 33.3%", "33.33333"},
        {"Pass 1: 50%  Rendering", 150, 100, "Pass 1: 50%  Rendering - 100.0%", "100"},
        {"Preparing Objects", 1, 2, "Preparing Objects - 50.0%", "-1"},
        {"Rendering shadows", 1, 2, "Rendering shadows - 50.0%", "-1"},
        {"50% Rendering", 1, 2, "50% Rendering - 50.0%", "-1"},
        {"Initializing Ray Server 2", 1, 2, "Initializing Ray Server 2 - 50.0%", "-1"},
        {"Rendering", 7, 0, nullptr, "-1"},
        {"Rendering", -1, 100, nullptr, "-1"},
        {"\r\n", 1, 2, " - 50.0%", "-1"},
        {"Rendering", 5, 10, "Pass 1 of 3 - Rendering - 50.0%", "16.66667", 1, 3},
        {"Rendering", 5, 10, "Pass 2 of 3 - Rendering - 50.0%", "50", 2, 3},
        {"Rendering", 5, 10, "Pass 1 of 1 - Rendering - 50.0%", "50", 1, 1},
    };
    for (const auto& [title, done, total, shown, progress, pass, passes] : cases) {
        if (passes != 0) m_callback.SetPass(pass, passes);
        m_callback.SetTitle(title);
        Texts expected{std::string("FUNCTION: PROGRESS ") + progress};
        if (shown != nullptr) expected.insert(expected.begin(), std::string("FUNCTION: SETTITLE ") + shown);
        EXPECT_EQ(report(m_callback, done, total), expected) << title << ' ' << done << '/' << total;
    }
    m_callback.SetTitle("Initializing Ray Server\r\n");
    EXPECT_EQ(m_callback.Progress(2, 2), go_on);
    EXPECT_THAT(m_link.sent(), IsEmpty()) << "not to be held up";
    m_callback.SetTitle("Rendering");
    report(m_callback, 1, 2, "CONTINUE ");
    EXPECT_THAT(log(), EndsWith("response: CONTINUE \n"));
}

TEST_F(ProgressCallback, OneCallInEachTenthOfASecondReportsButTheLastOneAlways) {
    // All calls of a round must fall into one interval; on a loaded machine that may need several rounds.
    for (bool quick = false; !quick;) {
        report(m_callback, 0, 0);
        const DWORD start = GetTickCount();
        const auto sent = [&](int done, int total, bool answered) {
            if (answered) m_link.worker.send("CONTINUE");
            EXPECT_EQ(m_callback.Progress(done, total), go_on);
            return m_link.sent().size();
        };
        const std::vector requests{sent(1, 0, false), sent(1, 100, true), sent(2, 100, false),
                                   sent(100, 100, true), sent(3, 100, false)};
        quick = GetTickCount() - start < 100;
        EXPECT_TRUE(!quick || requests == std::vector<std::size_t>({0, 2, 0, 2, 0}))
            << testing::PrintToString(requests);
    }
}

TEST_F(ProgressCallback, SixMissingAnswersInARowAreToleratedAndThenItGivesUp) {
    const auto missing = [](int count) {
        return "caught simple socket excetion when handling progress: simple_socket: Timed out waiting for "
               "header packet to arrive. (timeout count = " +
               std::to_string(count) + ")\n";
    };
    EXPECT_EQ(m_callback.Progress(1, 1), go_on);
    EXPECT_EQ(log(), missing(1));
    report(m_callback, 1, 1);
    for (int count = 1; count <= 6; ++count) {
        EXPECT_EQ(m_callback.Progress(1, 1), go_on);
        EXPECT_THAT(log(), EndsWith(missing(count)));
    }
    m_link.sent();
    m_link.worker.send("CONTINUE");
    EXPECT_EQ(m_callback.Progress(1, 1), stop);
    EXPECT_THAT(log(), EndsWith("\ntimed out, aborting\n"));
    EXPECT_THAT(m_link.sent(), IsEmpty());

    CorrivaneRenderCallback next_render(m_link.socket, "");
    EXPECT_EQ(next_render.Progress(1, 1), go_on);
}

TEST_F(ProgressCallback, AnAnswerThatMayStillComeIsNotMissed) {
    for (int count = 1; count <= 5; ++count)
        EXPECT_EQ(m_callback.Progress(1, 1), go_on);
    m_link.sent();
    std::thread waiting([&] { EXPECT_EQ(m_callback.Progress(1, 1), go_on); });
    EXPECT_EQ(m_link.worker.receive(), "FUNCTION: SETTITLE  - 100.0%");
    EXPECT_EQ(m_link.worker.receive(), unknown);
    EXPECT_EQ(m_callback.Progress(1, 2), go_on) << "another thread, while the sixth answer is awaited";
    m_link.worker.send("CONTINUE");
    waiting.join();
}

TEST_F(ProgressCallback, BrokenConnectionDoesNotStopTheRender) {
    m_link.worker.close();
    EXPECT_EQ(m_callback.Progress(1, 1), go_on);
    quorvel::win32::simple_socket nobody;
    CorrivaneRenderCallback callback(nobody, "");
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(callback.Progress(1, 1), go_on);
    const std::string failed_send =
        "caught simple socket excetion when handling progress: simple_socket: send called while not "
        "connected. (timeout count = 0)\n";
    EXPECT_THAT(log(), EndsWith(failed_send + failed_send));
}

TEST_F(ProgressCallback, RequestsOfSeveralThreadsDoNotInterleave) {
    constexpr int threads = 4;
    constexpr int calls = 100;
    std::thread worker([&] {
        for (int i = 0; i < threads * calls; ++i) {
            const std::string title = m_link.worker.receive();
            EXPECT_TRUE(title.starts_with("FUNCTION: SETTITLE Rendering by ")) << title;
            EXPECT_TRUE(m_link.worker.receive().starts_with("FUNCTION: PROGRESS "));
            m_link.worker.send("CONTINUE");
        }
    });
    std::vector<std::jthread> renderers;
    std::atomic<int> stopped = 0;
    for (int number = 0; number < threads; ++number) {
        renderers.emplace_back([&, number] {
            for (int i = 0; i < calls; ++i) {
                m_callback.SetTitle(("Rendering by " + std::to_string(number)).c_str());
                if (m_callback.Progress(1, 1) == stop) ++stopped;
            }
        });
    }
    renderers.clear();  // waits for them
    worker.join();
    EXPECT_EQ(stopped, 0);
    EXPECT_THAT(m_link.sent(), IsEmpty());
}

}  // namespace
}  // namespace corrivane::test
