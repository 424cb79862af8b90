// Jobs with real hosts: what becomes of frames, files and processes when something goes wrong.
#include "images/image_module.h"
#include "support/running_program.h"
#include "support/scene_file.h"
#include "support/test.h"
#include "worker/job/frame_list.h"
#include "worker/run/job_run.h"

#include <system/drive_map.h>

#include <csignal>
#include <functional>
#include <map>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using Status = FrameOutcome::Status;
using State = ImageFile::State;

/// Keeps the events, and does what a test wants at some of them.
class Witness : public EventSink {
public:
    void take(const Event& event) override {
        events.push_back(event);
        if (const auto* start = std::get_if<event::HostStarts>(&event.what))
            hosts[*event.host] = start->process_id;
        if (act) act(event);
    }
    template <typename What>
    std::vector<What> all() const {
        std::vector<What> found;
        for (const Event& event : events)
            if (const auto* what = std::get_if<What>(&event.what)) found.push_back(*what);
        return found;
    }

    std::function<void(const Event&)> act;
    std::vector<Event> events;
    std::map<std::size_t, pid_t> hosts;  // the last ones that were started
};

class RealHostTest : public testing::Test {
protected:
    RealHostTest() {
        set_image_module_path(test::built_program("corrivane-imageio.so"));
        std::filesystem::create_directories(drive / "out");
        clear_drive_map();
        map_drive('C', drive);
        settings.host.program = test::built_program("corrivane-host");
        settings.host.drives['C'] = drive;
        settings.retries = 1;
        job.frames = FrameList("1-4").frames();
        test::render_settings(scene)["elements"] = {{{"type", "depth"}, {"output", "C:\\out\\z.exr"}}};
    }

    JobReport run() {
        job.scene = test::save_scene(scene, folder.path());
        witness.events.clear();
        EventStream events({&witness});
        JobReport report = run_job(job, settings, stop, events);
        events.close();
        return report;
    }

    /// A script for each host, before its first frame.
    void use_pre_script(const std::string& text) {
        test::write_file(drive / "pre.ms", text + "\ntrue");
        job.pre_script = "C:\\pre.ms";
    }

    /// A program in the host's place that runs it and then something else.
    void use_wrapper(const std::string& afterwards) {
        test::write_file(folder / "host.sh", "#!/bin/sh\n" + test::built_program("corrivane-host") +
                                                 " \"$@\"\ncd " + (drive / "out").string() + "\n" +
                                                 afterwards);
        std::filesystem::permissions(folder / "host.sh", std::filesystem::perms::owner_all);
        settings.host.program = folder / "host.sh";
    }

    static std::vector<Status> statuses(const JobReport& report) {
        std::vector<Status> result;
        for (const FrameOutcome& outcome : report.frames)
            result.push_back(outcome.status);
        return result;
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(drive / "out"))
            names.push_back(entry.path().filename());
        return names;
    }

    auto count_frames() const { return witness.all<event::FrameBegins>().size(); }

    test::TemporaryFolder folder;
    const std::filesystem::path drive = folder.path() / "c";
    nlohmann::json scene = test::small_scene();
    Job job;
    RunSettings settings;
    StopRequest stop;
    Witness witness;
};

TEST_F(RealHostTest, FaultsOfEveryKindCostAnAttemptAndNoFrame) {
    job.frames = FrameList("1-12").frames();
    settings.hosts = 2;
    // Once each: a processor fault, an error, and the end of the session.
    use_pre_script(R"script(callbacks.addScript #preRenderFrame "(
        local mark = @\"C:\\tried\" + (currentTime.frame as integer) as string
        if not doesFileExist mark do (
            close (createFile mark)
            if currentTime.frame == 3 do standin.crash \"Access Violation\"
            if currentTime.frame == 6 do QuillaneUtil.FailRender \"no licence\"
        )
    )" id:#faults)script");
    std::filesystem::path unfinished;
    witness.act = [&](const Event& event) {
        if (!std::holds_alternative<event::FrameBegins>(event.what) || event.frame != 4 ||
            !unfinished.empty())
            return;
        unfinished = drive / "out" / (".corrivane-" + std::to_string(witness.hosts[*event.host]) + "-0.tmp");
        test::write_file(unfinished, "half an image");
        ::kill(witness.hosts[*event.host], SIGKILL);
    };
    const JobReport report = run();
    EXPECT_THAT(statuses(report), Each(Status::done));
    EXPECT_EQ(files().size(), 24) << PrintToString(files());
    EXPECT_EQ(report.frames[2].attempts, 2);
    EXPECT_EQ(report.frames[5].attempts, 2);
    EXPECT_THAT(count_frames(), AllOf(Ge(14), Le(15)));  // the host may have been killed between two frames
    EXPECT_THAT(witness.all<event::CrashReported>(),
                ElementsAre(Field(&event::CrashReported::text, HasSubstr("Call Stack:"))));
    for (const FrameOutcome& outcome : report.frames) {
        ASSERT_EQ(outcome.images.size(), 2);
        EXPECT_EQ(outcome.images[1].kind, ImageFile::Kind::element);
        EXPECT_THAT(outcome.images, Each(Field(&ImageFile::state, State::verified)));
    }
    settings.retry_errors = false;
    std::filesystem::remove(drive / "tried6");
    EXPECT_THAT(run().frames[5].error, HasSubstr("no licence"));
}

TEST_F(RealHostTest, FilesThatChangeBehindTheWorkersBackAreFoundAndMended) {
    test::render_settings(scene)["width"] = 32;
    job.frames = {9};
    run();
    test::render_settings(scene)["width"] = 64;
    job.frames = FrameList("1-8").frames();
    job.options.jpeg_preview = "C:\\out";
    use_wrapper(
        "rm beauty0002.png z0005.exr beauty0006.jpg; truncate -s 200 beauty0003.png\n"
        "touch -d 2001-01-01 old; mv old beauty0004.png\n"
        "mv beauty0009.png beauty0007.png; mv beauty0008.jpg beauty0008.png; mv z0009.exr z0001.exr\n");
    JobReport report = run();
    EXPECT_THAT(report.left, ElementsAre(1, 2, 3, 4, 5, 7, 8)) << PrintToString(report.problems);
    const std::pair<int, const char*> faults[] = {
        {2, "it is not there"},        {3, "cut short"},
        {4, "an older file"},          {5, "z0005.exr\": it is not there"},
        {1, "an older file"},          {7, "an older file"},
        {8, "3 channels instead of 4"}};
    for (const auto& [frame, fault] : faults)
        EXPECT_THAT(report.frames[frame - 1].error, HasSubstr(fault));
    // Also where the scene leaves frames out whose main image is there.
    test::render_settings(scene)["skipExistingFrames"] = true;
    settings.host.program = test::built_program("corrivane-host");
    settings.resume = true;
    report = run();
    EXPECT_THAT(statuses(report), Each(Status::done)) << PrintToString(report.problems);
    EXPECT_EQ(count_frames(), 7);
    EXPECT_TRUE(report.frames[5].skipped && !report.frames[4].skipped);
    EXPECT_EQ(files().size(), 23);  // but for the preview of frame 6, which is whole without
    run();
    EXPECT_EQ(count_frames(), 0);
}

TEST_F(RealHostTest, AHostThatHangsIsDescribedAndReplaced) {
    settings.limits.quiet = 300ms;
    settings.limits.work = 3s;
    bool is_stopped = false;
    witness.act = [&](const Event& event) {
        if (!std::holds_alternative<event::FrameBegins>(event.what) || event.frame != 2 || is_stopped) return;
        is_stopped = true;
        ::kill(witness.hosts[0], SIGSTOP);
    };
    const JobReport report = run();
    EXPECT_THAT(statuses(report), Each(Status::done)) << PrintToString(report.problems);
    EXPECT_EQ(report.frames[1].attempts, 2);
    const auto quiet = witness.all<event::HostQuiet>();
    // On a busy machine the host may seem quiet before it is stopped.
    const auto stopped = std::ranges::find(quiet, "stopped", &event::HostQuiet::state);
    ASSERT_NE(stopped, quiet.end());
    EXPECT_GE(stopped->quiet_for, 300ms);
    EXPECT_GT(stopped->memory_bytes, 1 << 20);
}

TEST_F(RealHostTest, EachHostHasALogOfItsOwnAndIsReplacedWhenItHasTooMuchMemory) {
    std::filesystem::create_directories(drive / "Quillane/logs");
    settings.hosts = 2;
    settings.host.memory_mib = 1;
    EXPECT_THAT(statuses(run()), Each(Status::done));
    EXPECT_EQ(witness.all<event::HostEnds>().size(), 4);
    for (const char* log : {"host-1/3dsmaxConnect.log", "host-2/3dsmaxConnect.log"})
        EXPECT_THAT(test::read_file(drive / "Quillane/logs" / log), HasSubstr("Renderframe"));
}

}  // namespace
}  // namespace corrivane::worker
