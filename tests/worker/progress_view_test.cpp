#include "worker/progress_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace corrivane::worker {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
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
    progress.finished = 10;
    EXPECT_EQ(progress_line(progress, 200), "[####################] 100%  10/10  0:00 left");
}

TEST(ProgressText, OneHostOnTheLastFrameIsNotTwo) {
    JobProgress progress(3, 2);
    progress.finished = 2;
    progress.time_of_finished = 20s;
    EXPECT_EQ(progress.time_left(), 10s);
}

TEST(ProgressText, Durations) {
    EXPECT_EQ(format_duration(0ms), "0:00");
    EXPECT_EQ(format_duration(6600ms), "0:07");
    EXPECT_EQ(format_duration(754s), "12:34");
    EXPECT_EQ(format_duration(3599600ms), "1:00:00");
    EXPECT_EQ(format_duration(90061s), "25:01:01");
    EXPECT_EQ(format_seconds(1234ms), "1.23 s");
}

TEST(ProgressView, PlainOutputHasOneLineAFrameAndErrorsInFull) {
    std::ostringstream out;
    ProgressView view(out, ProgressView::Style::Plain, 2, 1);
    view.begin_frame(0, 1);
    view.set_title(0, "Rendering");
    view.set_percent(0, 50);
    view.finish_frame(0, {1, Status::Done, "", Files{"C:\\out\\a.png", "C:\\out\\b.png"}, 1500ms});
    view.log("script: ", "a\n\x1b[2Jb\tc\r\n");
    view.begin_frame(0, 2);
    view.finish_frame(0, {2, Status::Failed, "trapped\nreport", {}, 500ms});
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
    ProgressView view(out, ProgressView::Style::Terminal, 2, 1, [] { return std::size_t{32}; });
    view.begin_frame(0, 1);
    view.set_title(0, "\x1b]evil\a");
    view.set_percent(0, 50);
    const std::string bar = "\r[#####---------------]  25%  0/\x1b[K";
    EXPECT_THAT(out.str(), testing::EndsWith(bar));
    out.str("");
    view.log("", "hello");
    EXPECT_EQ(out.str(), "\r\x1b[Khello\n" + bar);
    out.str("");
    view.finish_frame(0, {1, Status::Done, "", {}, 1s});
    EXPECT_EQ(out.str(), "\r\x1b[K\r[##########----------]  50%  1/\x1b[K");
    out.str("");
    view.close();
    view.set_percent(0, 70);
    EXPECT_EQ(out.str(), "\r\x1b[K");
}

TEST(JobReport, SummaryCountsAndNames) {
    JobReport report;
    report.frames = {{1, Status::Done, "", Files{"a1.png"}, 1s},
                     {2, Status::Failed, "it broke\nin many lines", {}, 5s},
                     {3, Status::Done, "", Files{"a3.png"}, 2s},
                     {4, Status::NotRendered, "", {}, 0s}};
    report.elapsed = 75s;
    EXPECT_FALSE(report.success());
    EXPECT_EQ(summary_text(report),
              "4 frames: 2 done, 1 failed, 1 not rendered; 1:15 in all, 1.50 s a frame\n"
              "  frame 2 failed: it broke\n"
              "2 files written: a1.png ... a3.png\n");
    report.frames.resize(1);
    EXPECT_TRUE(report.success());
    report.problems = {"The post script failed: why\nlong"};
    report.stopped = true;
    EXPECT_FALSE(report.success());
    EXPECT_THAT(summary_text(report),
                HasSubstr("  The post script failed: why\n  stopped by the user\n1 file written: a1.png\n"));
    report.frames.push_back({5, Status::Done, "", std::nullopt, 1s});
    EXPECT_THAT(summary_text(report),
                HasSubstr("1 file written: a1.png; the files of 1 frame are not known\n"));
    EXPECT_THAT(summary_text({}), HasSubstr("0 frames: 0 done"));
}

}  // namespace
}  // namespace corrivane::worker
