// The page about a job, as a browser shows it.
#include "images/image_module.h"
#include "support/running_program.h"
#include "support/test.h"
#include "worker/views/report/page.h"
#include "worker/views/report/report_view.h"

#include <nlohmann/json.hpp>

namespace corrivane::worker {
namespace {

using namespace testing;
using namespace std::chrono_literals;
using nlohmann::json;
using Status = FrameOutcome::Status;

/// The tests do not lie beside the module, as the programs do.
const bool module_chosen = (set_image_module_path(CORRIVANE_IMAGE_MODULE), true);

/// What the page would do with a text that it doesn't escape.
const std::string hostile =
    R"(</title></script></style><script>document.body.id="ran"</script>"'><img id="in" src="http://127.0.0.1:9/x">)";

/// Answers what a browser has made of the page, in place of the page.
const std::string probe = R"(<script>addEventListener("load", () => {
    const all = (what, of) => [...document.querySelectorAll(what)].map(of);
    const page = document.documentElement;
    document.body.textContent = JSON.stringify({
        frames: all("figure", f => f.id + " " + f.className),
        named: all("#frames tr td:first-child", f => f.textContent),
        bars: all("rect", f => f.textContent),
        images: all("img", i => i.complete ? i.naturalWidth : 0),
        title: document.title, heading: document.querySelector("h1").textContent,
        problems: all("#problems h3", h => h.textContent), crash: all("#problems pre", p => p.textContent),
        links: all("a[href^=file]", a => a.href),
        ids: document.querySelectorAll("#ran, #in").length,
        wide: page.scrollWidth > innerWidth, width: innerWidth,
        dark: getComputedStyle(document.body).backgroundColor.match(/\d+/g)[0] < 128});
})</script>)";

class ReportPageTest : public testing::Test {
protected:
    static FrameOutcome outcome(int frame, Status status, const std::string& error = "") {
        FrameOutcome result;
        result.frame = frame;
        result.status = status;
        result.error = error;
        result.time = std::chrono::seconds(frame);
        return result;
    }

    static ReportData eventful_job() {
        ReportData data;
        data.job.name = hostile;
        data.job.scene = hostile;
        data.report.frames = {outcome(1, Status::done), outcome(2, Status::failed, hostile + "\nmore"),
                              outcome(3, Status::done), outcome(-4, Status::not_rendered),
                              outcome(5, Status::failed, "crashed\nCall Stack: " + hostile)};
        data.report.frames[0].images = {
            {hostile, "/tmp/" + hostile, ImageFile::Kind::output, ImageFile::State::failed, hostile, 5}};
        data.report.frames[2].skipped = true;
        data.report.problems = {hostile};
        data.crash_reports[5] = {{"/tmp/" + hostile, "Call Stack: " + hostile}};
        data.notes = {{{}, 0, 1, true, hostile + '\n' + hostile}};
        data.retries = {{{}, 0, 1, 1, hostile}};
        data.greetings = {hostile};
        data.machine = {{"Name", hostile}};
        data.pictures[1] = picture();
        return data;
    }

    static std::vector<unsigned char> picture() {
        const std::vector<float> pixels(std::size_t{4} * 64 * 32, 0.5F);
        std::vector<unsigned char> jpeg;
        image_module().encode({.rgba = pixels.data(),
                               .width = 64,
                               .height = 32,
                               .format = find_image_format(".jpg"),
                               .channels = ImageChannels::rgb},
                              jpeg);
        return jpeg;
    }

    /// What the browser writes about a page.
    std::string browse(const std::string& page, const std::vector<std::string>& options) const {
        test::write_file(folder / "page.html", page);
        std::vector<std::string> command{"/bin/sh",
                                         "-c",
                                         R"("$0" "$@" 2> /dev/null)",
                                         "chromium-headless-shell",
                                         "--no-sandbox",
                                         "--disable-gpu",
                                         "--dump-dom",
                                         "--user-data-dir=" + (folder / "browser")};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back("file://" + (folder / "page.html"));
        test::RunningProgram browser(command, folder / "dom");
        EXPECT_EQ(browser.wait(), 0) << browser.output();
        return browser.output();
    }

    json measure(std::string page, const std::vector<std::string>& options) const {
        const auto policy = page.find("<meta http-equiv");
        page.replace(policy, page.find('>', policy) + 1 - policy, probe);
        const std::string dom = browse(page, options);
        const auto begin = dom.find('{', dom.find("<body"));  // not those of the styles
        std::string answer = dom.substr(begin, dom.rfind('}') + 1 - begin);
        for (const auto& [code, letter] : {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}})
            for (std::size_t at = 0; (at = answer.find(code, at)) != std::string::npos; ++at)
                answer.replace(at, std::string_view(code).size(), letter);
        return json::parse(answer);
    }

    test::TemporaryFolder folder;
};

TEST_F(ReportPageTest, ShowsEveryFrameAndLetsNoTextOut) {
    const json seen = measure(report_page(eventful_job()), {"--window-size=1280,900"});
    EXPECT_EQ(seen["frames"],
              json({"frame-1 done", "frame-2 failed", "frame-3 skipped", "frame--4 left", "frame-5 failed"}));
    EXPECT_EQ(seen["named"], json({"1", "2", "3", "-4", "5"}));
    EXPECT_EQ(seen["bars"], json({"frame 1: 1.00 s", "frame 2: 2.00 s, failed", "frame 3: 3.00 s, skipped",
                                  "frame -4: not rendered", "frame 5: 5.00 s, failed"}));
    EXPECT_EQ(seen["images"], json({64}));
    EXPECT_EQ(seen["title"], hostile);
    EXPECT_EQ(seen["heading"], hostile);
    EXPECT_EQ(seen["problems"], json({hostile, hostile, "crashed"}));
    EXPECT_EQ(seen["crash"], json({hostile + "\nmore", "Call Stack: " + hostile}));
    EXPECT_THAT(seen["links"][0], HasSubstr("/%3C/title%3E%3C/script%3E%3C/style%3E%3Cscript%3E"));
    EXPECT_EQ(seen["ids"], 0);
}

TEST_F(ReportPageTest, SuitsLightAndDarkAndFitsAPhone) {
    const std::string page = report_page(eventful_job());
    for (const int width : {1280, 390})
        for (const bool dark : {false, true}) {
            const json seen =
                measure(page, {"--window-size=" + std::to_string(width) + ",900",
                               std::string("--blink-settings=preferredColorScheme=") + (dark ? "0" : "1")});
            EXPECT_EQ(seen["width"], width);
            EXPECT_EQ(seen["wide"], false) << width;
            EXPECT_EQ(seen["dark"], dark);
        }
}

TEST_F(ReportPageTest, AsksForNothing) {
    const std::string page = report_page(eventful_job());
    const std::string log = folder / "log";
    browse(page, {"--log-net-log=" + log});
    EXPECT_THAT(test::read_file(log), AllOf(HasSubstr("logEventTypes"), Not(HasSubstr("127.0.0.1:9"))));
    // Not even for what would have got past the escaping.
    browse(page + R"(<img src="http://127.0.0.1:9/x">)", {"--log-net-log=" + log});
    EXPECT_THAT(test::read_file(log), Not(HasSubstr("\"http://127.0.0.1:9")));
}

TEST_F(ReportPageTest, IsWrittenAtTheEndWithPicturesOfTheFrames) {
    const std::vector<unsigned char> jpeg = picture();
    test::write_file(folder / "a.jpg", std::string(jpeg.begin(), jpeg.end()));
    FrameOutcome done = outcome(1, Status::done);
    for (const char* const name : {"none.png", "a.jpg"})
        done.images.emplace_back().path = folder / name;
    JobReport report;
    report.frames = {done};
    std::string complaint;
    CrashFiles crashes("", [](const std::string&) {});
    for (const bool can_be_written : {true, false}) {
        ReportView view(folder / "new/report", crashes,
                        [&](const std::string& problem) { complaint = problem; });
        view.take({{}, {}, {}, event::JobBegins{}});
        view.take({{}, 0, 1, event::FrameEnds{done}});
        if (!can_be_written) std::filesystem::remove_all(folder / "new");
        view.take({{}, {}, {}, event::JobEnds{report}});
        EXPECT_EQ(view.written_file().empty(), !can_be_written);
        if (can_be_written) {
            EXPECT_EQ(measure(test::read_file(view.written_file()), {})["images"], json({64}));
        }
    }
    EXPECT_THAT(complaint, HasSubstr("the report can't be written to "));
}

}  // namespace
}  // namespace corrivane::worker
