// Jobs as events, and what each view makes of them.
#include "worker/views/job_views.h"

#include "support/test.h"
#include "worker/views/farm_view.h"
#include "worker/views/lines_view.h"
#include "worker/views/reason.h"
#include "worker/views/summary.h"
#include "worker/views/text.h"

#include <ctime>
#include <sstream>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using namespace event;
using Status = FrameOutcome::Status;
using Kind = ImageFile::Kind;
using State = ImageFile::State;

FrameOutcome outcome(int frame, Status status, std::chrono::milliseconds time) {
    FrameOutcome result;
    result.frame = frame;
    result.status = status;
    result.time = time;
    return result;
}

FrameOutcome done(int frame, std::chrono::milliseconds time, const std::string& file) {
    FrameOutcome result = outcome(frame, Status::done, time);
    result.files = {"C:\\" + file};
    result.images = {{"C:\\" + file, "/c/" + file, Kind::output, State::verified, "", 2048},
                     {"C:\\p.jpg", "/c/p.jpg", Kind::preview, State::unchecked, "", 0}};
    return result;
}

FrameOutcome failed(int frame, std::chrono::milliseconds time, const std::string& error) {
    FrameOutcome result = outcome(frame, Status::failed, time);
    result.error = error;
    return result;
}

class JobViewsTest : public testing::Test {
protected:
    JobViewsTest() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        settings.crash_reports = folder / "crashes";
    }

    static Event at(std::chrono::milliseconds time, Anything what, std::optional<std::size_t> host = {},
                    std::optional<int> frame = {}) {
        return {std::chrono::system_clock::time_point(12h + time), host, frame, std::move(what)};
    }

    static JobBegins job(std::vector<int> frames, std::size_t hosts) {
        JobBegins begins;
        begins.scene = "a.gltf";
        begins.frames = std::move(frames);
        begins.hosts = hosts;
        return begins;
    }

    /// A job of two hosts in which much goes wrong.
    static std::vector<Event> eventful_job() {
        JobBegins begins = job({1, 2, 3, 9}, 2);
        begins.name = "x/y";
        begins.camera = "Cam\x1b[2J";
        begins.output = "C:\\a.png";
        begins.threads = 1;
        JobReport report;
        report.left = {9};
        return {
            at(0s, begins),
            at(1s, HostStarts{77, "logs/1"}, 0),
            at(2s, HostReady{"Corrivane 2"}, 0),
            at(2s, FrameBegins{1}, 0, 1),
            at(2s, TitleSet{"Rendering"}, 0, 1),
            at(3s, Progressed{50}, 0, 1),
            at(3050ms, Progressed{60}, 0, 1),
            at(4s, FrameEnds{done(1, 2s, "a1.png")}, 0, 1),
            at(4s, FrameBegins{1}, 1, 2),
            at(5s, CrashReported{"Access Violation\nProcess: p"}, 1, 2),
            at(5s,
               FrameGivenBack{"Trapped SEH Exception in F(): Access Violation\nProcess: p\n[error] R: bad",
                              1},
               1, 2),
            at(5s, HostEnds{"was ended by signal 9\nlog", true}, 1),
            at(6s, FrameBegins{2}, 0, 2),
            at(7s, FrameEnds{failed(2, 1s, "Failed\n[error] Load: a.gltf: width 0")}, 0, 2),
            at(7s, Message{Message::Severity::info, Message::Source::script, "hi\n\x1b[2J"}, 0),
            at(8s,
               Message{Message::Severity::warning, Message::Source::worker, "recv: x: WSAError code 10054"}),
            at(9s, HostQuiet{60s, 10ms, 3 << 20, "Loading", "line", "stopped"}, 0, 3),
            at(9s, FrameGivenBack{""}, 0, 3),
            at(10s, JobEnds{report}),
        };
    }

    std::string shown(ViewSettings::Progress progress, const std::vector<Event>& events) {
        settings.progress = progress;
        std::ostringstream out;
        JobViews views(settings, {out, true, [] { return TerminalSize{44, 24}; }});
        for (const Event& event : events)
            views.take(event);
        summary = views.summary({});
        return out.str();
    }

    test::TemporaryFolder folder;
    ViewSettings settings;
    std::string summary;
};

TEST_F(JobViewsTest, LinesHaveTimeHostAndFrame) {
    const std::string report = folder / "crashes/x_y-frame-0002.txt";
    EXPECT_EQ(
        shown(ViewSettings::Progress::lines, eventful_job()),
        "12:00:00 job: \"x/y\" begins: 4 frames (1-3,9) of a.gltf, camera Cam?[2J, output C:\\a.png, 2 hosts "
        "of "
        "1 thread\n"
        "12:00:01 host 1: starts, process 77, its log is in logs/1\n"
        "12:00:02 host 1: ready: Corrivane 2\n"
        "12:00:02 host 1 frame 1: begins\n"
        "12:00:04 host 1 frame 1: done in 2.00 s (1 of 4, 0:03 left): C:\\a1.png, preview C:\\p.jpg\n"
        "12:00:04 host 2 frame 2: begins\n"
        "12:00:05 host 2 frame 2: its crash report is kept in " +
            report +
            "\n"
            "12:00:05 host 2 frame 2: attempt 1 failed, it is tried again: 3ds Max crashed in F: Access "
            "Violation\n"
            "12:00:05 host 2 frame 2:     [error] R: bad\n"
            "12:00:05 host 2: failed: was ended by signal 9\n"
            "12:00:06 host 1 frame 2: begins, attempt 2\n"
            "12:00:07 host 1 frame 2: failed after 1.00 s (2 of 4, 0:02 left): Failed\n"
            "12:00:07 host 1 frame 2:     [error] Load: a.gltf: width 0\n"
            "12:00:07 host 1: script: hi\n"
            "12:00:07 host 1: script: ?[2J\n"
            "12:00:08 job: warning: connection reset by the host\n"
            "12:00:09 host 1 frame 3: warning: quiet for 60.00 s, with 0.01 s of processor time and 3.0 MiB "
            "of "
            "memory; it is stopped; its last title: Loading\n"
            "12:00:09 host 1 frame 3:     line\n"
            "12:00:09 host 1 frame 3: interrupted\n");
    EXPECT_THAT(test::read_lines(report),
                ElementsAre("Time: 1970-01-01T12:00:05.000Z", "Scene: a.gltf", "Frame: 2", "Host: 2", "",
                            "Access Violation", "Process: p"));
    shown(ViewSettings::Progress::none, eventful_job());  // replaces no report
    EXPECT_TRUE(std::filesystem::exists(folder / "crashes/x_y-frame-0002-2.txt"));
}

TEST_F(JobViewsTest, TheBarHasARowForEachHostBelowWhatGoesWrong) {
    const std::vector<Event> events = eventful_job();
    EXPECT_EQ(
        shown(ViewSettings::Progress::bar,
              {events[0], events[2], events[3], events[4], events[5], events[6]}),
        "[--------------------]   0%  0/4 frames  ti\n  host 1   waiting\n  host 2   waiting"
        "\r\x1b[2A\x1b[J[--------------------]   0%  0/4 frames  ti\n  host 1   loading the scene\n  host 2  "
        " "
        "waiting"
        "\r\x1b[2A\x1b[J[--------------------]   0%  0/4 frames  ti\n  host 1   [----------]   0%  frame 1\n"
        "  host 2   waiting"
        "\r\x1b[2A\x1b[J[##------------------]  12%  0/4 frames  ti\n"
        "  host 1   [#####-----]  50%  frame 1  Rend\n  host 2   waiting");
    const std::string all = shown(ViewSettings::Progress::bar, events);
    EXPECT_THAT(all, HasSubstr("\r\x1b[2A\x1b[J12:00:05 host 2: failed: was ended by signal 9\n[##"));
    EXPECT_THAT(all, EndsWith("ended\r\x1b[2A\x1b[J"));
    EXPECT_THAT(all, Not(HasSubstr("begins")));
    JobProgress progress;
    progress.take(at(0s, job({1}, 9)));
    EXPECT_THAT(bar_rows(progress, {80, 7}),
                ElementsAre(_, _, _, _, "  host 4   waiting", "  and 5 more hosts"));
}

TEST_F(JobViewsTest, TimeLeftFollowsTheLastFramesOfHostsAtWork) {
    JobProgress progress;
    progress.take(at(0s, job({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 2)));
    EXPECT_EQ(progress.time_left(), std::nullopt);
    progress.take(at(0s, FrameEnds{outcome(1, Status::done, 0s)}, {}, 1));  // its files were there
    EXPECT_EQ(progress.time_left(), std::nullopt);
    for (int frame = 2; frame <= 7; ++frame) {
        progress.take(at(0s, FrameBegins{}, 0, frame));
        progress.take(at(0s, FrameEnds{outcome(frame, Status::done, frame == 2 ? 100s : 10s)}, 0, frame));
    }
    // Three frames are left, two at a time. The first time is not among the last five.
    EXPECT_EQ(progress.time_left(), 15s);
    progress.take(at(0s, FrameBegins{}, 1, 8));
    progress.take(at(0s, Progressed{50}, 1, 8));
    EXPECT_EQ(progress.time_left(), 12500ms);
    EXPECT_DOUBLE_EQ(progress.fraction(), 0.75);
}

TEST_F(JobViewsTest, FarmsReadPercentAndImages) {
    std::ostringstream out;
    FarmView view(out);
    for (const Event& event : eventful_job())
        view.take(event);
    EXPECT_EQ(out.str(),
              "PROGRESS: 0%\nALF_PROGRESS 0%\nPROGRESS: 12%\nALF_PROGRESS 12%\nPROGRESS: 15%\n"
              "ALF_PROGRESS 15%\n@IMAGE@/c/a1.png\nPROGRESS: 25%\nALF_PROGRESS 25%\nPROGRESS: 50%\n"
              "ALF_PROGRESS 50%\n");
}

TEST_F(JobViewsTest, EventsAreLinesOfJson) {
    settings.events = folder / "events";
    shown(ViewSettings::Progress::none, eventful_job());
    const std::string time = R"(","time":"1970-01-01T12:00:)";
    const auto lines = test::read_lines(settings.events);
    ASSERT_EQ(lines.size(), 19);
    const std::string violation =
        R"("reason":"3ds Max crashed in F: Access Violation: bad","error":"Trapped)";
    const std::pair<int, std::string> expected[] = {
        {0, R"({"event":"job)" + time +
                R"(00.000Z","version":1,"name":"x/y","scene":"a.gltf","camera":"Cam\u001b[2J",)"
                R"("output":"C:\\a.png","frames":[1,2,3,9],"hosts":2,"threads":1,"worker":""})"},
        {1, R"({"event":"host)" + time +
                R"(01.000Z","host":1,"state":"starts","processId":77,"logFolder":"logs/1"})"},
        {4,
         R"({"event":"frame)" + time +
             R"(03.000Z","host":1,"frame":1,"state":"progress","percent":50.0,"jobPercent":12.5,"title":"Rendering"})"},
        {5, R"({"event":"file)" + time +
                R"(04.000Z","host":1,"frame":1,"name":"C:\\a1.png","path":"/c/a1.png",)"
                R"("kind":"output","state":"verified","bytes":2048})"},
        {7, R"({"event":"frame)" + time +
                R"(04.000Z","host":1,"frame":1,"state":"done","skipped":false,"ms":2000,"attempts":1})"},
        {9, R"({"event":"fault)" + time +
                R"(05.000Z","host":2,"frame":2,"source":"host","text":"Access Violation\n)"
                R"(Process: p","path":")" +
                (folder / "crashes/x_y-frame-0002.txt") + R"("})"},
        {10, R"({"event":"retry)" + time + R"(05.000Z","host":2,"frame":2,"attempt":1,)" + violation},
        {15, R"({"event":"warning)" + time +
                 R"(08.000Z","source":"worker","text":"recv: x: WSAError code 10054"})"},
        {18, R"({"event":"summary)" + time +
                 R"(10.000Z","success":true,"stopped":false,"done":0,"failed":0,)"
                 R"("notRendered":0,"left":[9],"problems":[],"ms":0})"},
    };
    for (const auto& [number, line] : expected)
        EXPECT_THAT(lines[static_cast<std::size_t>(number)], StartsWith(line));
}

TEST_F(JobViewsTest, WhatCanNotBeKeptIsSaidOnceAndEndsNothing) {
    settings.events = "/dev/full";
    settings.crash_reports = "/dev/null/crashes";
    const std::string out = shown(ViewSettings::Progress::lines, eventful_job());
    const std::string events = "events are not written to /dev/full any more: No space left on device\n";
    EXPECT_THAT(out, HasSubstr("12:00:00 job: warning: " + events + "12:00:01 host 1: starts"));
    EXPECT_THAT(out, HasSubstr("host 2 frame 2: Process: p\n"));  // the report stands nowhere else
    EXPECT_THAT(summary, EndsWith("warning: " + events + "warning: crash reports can't be kept in " +
                                  "/dev/null/crashes: Not a directory\n"));
    settings.events = folder.path();
    EXPECT_THROW(shown(ViewSettings::Progress::none, {}), std::runtime_error);
}

TEST(Reason, IsInTheWordsOfThisMachine) {
    const std::pair<const char*, const char*> cases[] = {
        {"the connection to the host failed: recv: error trying to receive data: WSAError code 10054\nmore",
         "the connection to the host failed: connection reset by the host"},
        {"WSAError 10061", "connection refused by the host"},
        {"WSAError code 99", "WSAError code 99"},
        {"Error in bm->Write(): error code 112", "the image could not be written: no space left"},
        {"Error in bm->Write(): error code 112\n[error] Write: C:\\o\\a.png: no space left (code 112)",
         "the image could not be written: no space left on C: (C:\\o\\a.png)"},
        {"Error in bm->OpenOutput(): error code 9999", "the image file could not be opened: error code 9999"},
        {"Failed to load max file: \"a.gltf\"\n[note] x\n[error] LoadFromFile: a.gltf: width 0",
         "Failed to load max file: \"a.gltf\": a.gltf: width 0"},
        {"x\n[error] A: 1\n[error] A: 2\n[error] A: 3\n[error] A: 4", "x: 1; 2; 3; and 1 more"},
        {"Trapped SEH Exception in R(): Access Violation\nProcess: p",
         "3ds Max crashed in R: Access Violation"},
    };
    for (const auto& [error, reason] : cases)
        EXPECT_EQ(short_reason(error), reason);
}

TEST(Summary, CountsNamesAndSaysWhatIsLeft) {
    CrashFiles crashes("", [](const std::string&) {});
    JobReport report;
    report.frames = {done(1, 1s, "a1.png"),        failed(2, 5s, "it broke\nin many lines"),
                     done(3, 2s, "a3.png"),        failed(4, 5s, "it broke"),
                     outcome(5, Status::done, 0s), outcome(6, Status::not_rendered, 0s)};
    report.frames[4].skipped = true;
    report.frames[4].files.emplace();
    report.problems = {"The post script failed: why\nlong"};
    report.stopped = true;
    report.left = {6};
    report.elapsed = 90061s;
    EXPECT_EQ(summary_text(report, crashes),
              "6 frames: 3 done, 2 failed, 1 not rendered; 25:01:01 in all, 1.50 s a frame\n"
              "  frames 2,4 failed: it broke\n"
              "  The post script failed: why\n"
              "  stopped by the user\n"
              "2 files written, 4.0 KiB, verified: C:\\a1.png ... C:\\a3.png\n"
              "2 previews: C:\\p.jpg ... C:\\p.jpg\n"
              "1 frame skipped, their files were there: 5\n"
              "1 frame left: --frames 6, or the same call with --resume\n");
    report = {};
    report.frames.push_back(outcome(5, Status::done, 1s));
    EXPECT_THAT(summary_text(report, crashes),
                HasSubstr("0 files written\nthe files of 1 frame are not known\n"));
    EXPECT_TRUE(report.success());
}

TEST(Text, FramesComeTogether) {
    EXPECT_EQ(frame_ranges({1, 2, 3, 5, 8, 9, -3, INT32_MAX}), "1-3,5,8,9,-3,2147483647");
    EXPECT_EQ(cut("a\xC3\xA9z", 2), "a\xC3\xA9");
}

}  // namespace
}  // namespace corrivane::worker
