#include "worker/views/progress_view.h"

#include "support/test.h"
#include "worker/views/summary.h"

#include <sstream>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using Status = FrameOutcome::Status;
using Files = std::vector<std::string>;

TEST(ProgressText, ShowsBarFramesTitlesAndTimeLeft) {
    JobProgress progress(10, 2);
    EXPECT_EQ(progress_line(progress, 200), "[--------------------]   0%  0/10  time left unknown");
    progress.finished = 2;
    progress.time_of_finished = 20s;
    progress.lanes[0] = {7, "Rendering Image - 50.0%", 50};
    progress.lanes[1] = {8, "", 0};
    // 7.5 frames are left, 10 s each, two at a time
    EXPECT_EQ(progress_line(progress, 200),
              "[#####---------------]  25%  2/10  0:38 left  frame 7: Rendering Image - 50.0%  frame 8");
    EXPECT_EQ(progress_line(progress, 26), "[#####---------------]  25");
    progress.lanes = {{}, {}};
    progress.finished = 9;  // one host has nothing more to do
    progress.time_of_finished = 9 * 754s;
    EXPECT_EQ(progress_line(progress, 200), "[##################--]  90%  9/10  12:34 left");
    progress.finished = 10;
    EXPECT_EQ(progress_line(progress, 200), "[####################] 100%  10/10  0:00 left");
}

TEST(ProgressView, PlainOutputHasOneLineAFrameAndErrorsInFull) {
    std::ostringstream out;
    ProgressView view(out, ProgressView::Style::plain, 2, 1);
    view.begin_frame(0, 1);
    view.set_title(0, "Rendering");
    view.set_percent(0, 50);
    view.finish_frame(0, {1, Status::done, "", Files{"C:\\out\\a.png", "C:\\out\\b.png"}, 1500ms});
    view.log("script: ", "a\n\x1b[2Jb\tc\r\n");
    view.begin_frame(0, 2);
    view.finish_frame(0, {2, Status::failed, "trapped\nreport", {}, 500ms});
    view.close();
    EXPECT_EQ(out.str(),
              "[1/2, 0:02 left] frame 1 done in 1.50 s: C:\\out\\a.png, C:\\out\\b.png\n"
              "script: a\n"
              "script: ?[2Jb c\n"
              "[2/2, 0:00 left] frame 2 failed after 0.50 s\n"
              "    trapped\n"
              "    report\n");
}

TEST(ProgressView, OnATerminalLinesNeverMixWithTheBar) {
    std::ostringstream out;
    ProgressView view(out, ProgressView::Style::terminal, 2, 1, [] { return std::size_t{32}; });
    view.begin_frame(0, 1);
    view.set_title(0, "\x1b]evil\a");
    view.set_percent(0, 50);
    const std::string bar = "\r[#####---------------]  25%  0/\x1b[K";
    EXPECT_THAT(out.str(), EndsWith(bar));
    out.str("");
    view.log("", "hello");
    EXPECT_EQ(out.str(), "\r\x1b[Khello\n" + bar);
    out.str("");
    view.finish_frame(0, {1, Status::done, "", {}, 1s});
    EXPECT_EQ(out.str(), "\r\x1b[K\r[##########----------]  50%  1/\x1b[K");
    out.str("");
    view.close();
    view.set_percent(0, 70);
    EXPECT_EQ(out.str(), "\r\x1b[K");
}

TEST(JobReport, SummaryCountsAndNames) {
    JobReport report;
    report.frames = {{1, Status::done, "", Files{"a1.png"}, 1s},
                     {2, Status::failed, "it broke\nin many lines", {}, 5s},
                     {3, Status::done, "", Files{"a3.png"}, 2s},
                     {4, Status::not_rendered, "", {}, 0s}};
    report.elapsed = 90061s;
    EXPECT_FALSE(report.success());
    EXPECT_EQ(summary_text(report),
              "4 frames: 2 done, 1 failed, 1 not rendered; 25:01:01 in all, 1.50 s a frame\n"
              "  frame 2 failed: it broke\n"
              "2 files written: a1.png ... a3.png\n");
    report.frames.resize(1);
    EXPECT_TRUE(report.success());
    report.problems = {"The post script failed: why\nlong"};
    report.stopped = true;
    EXPECT_FALSE(report.success());
    EXPECT_THAT(summary_text(report),
                HasSubstr("  The post script failed: why\n  stopped by the user\n1 file written: a1.png\n"));
    report.frames.push_back({5, Status::done, "", std::nullopt, 1s});
    EXPECT_THAT(summary_text(report),
                HasSubstr("1 file written: a1.png; the files of 1 frame are not known\n"));
    EXPECT_THAT(summary_text({}), HasSubstr("0 frames: 0 done"));
}

}  // namespace
}  // namespace corrivane::worker
