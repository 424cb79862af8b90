#include "worker/views/report/page.h"

#include "worker/views/frame_files.h"
#include "worker/views/reason.h"
#include "worker/views/report/chart.h"
#include "worker/views/report/html.h"
#include "worker/views/report/style.h"
#include "worker/views/text.h"

#include <algorithm>
#include <string_view>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;

std::size_t count_of(const ReportData& data, std::string_view css) {
    return static_cast<std::size_t>(std::ranges::count_if(
        data.report.frames, [&](const FrameOutcome& outcome) { return frame_class(outcome) == css; }));
}

std::string section(const std::string& id, const std::string& title, const std::string& content) {
    return "<section id=\"" + id + "\">\n<h2>" + title + "</h2>\n" + content + "</section>\n";
}

std::string card(const std::string& content) {
    return "<div class=\"card\">\n" + content + "</div>\n";
}

std::string details(const std::string& title, const std::string& text) {
    return "<details><summary>" + title + "</summary><pre>" + escaped(text) + "</pre></details>\n";
}

std::string frame_link(int frame) {
    const std::string number = std::to_string(frame);
    return "<a href=\"#frame-" + number + "\">" + number + "</a>";
}

std::string where(const std::optional<std::size_t>& host, const std::optional<int>& frame) {
    std::string text = host ? "host " + std::to_string(*host + 1) : "";
    if (frame) text += (text.empty() ? "frame " : ", frame ") + frame_link(*frame);
    return text;
}

std::string job_title(const ReportData& data) {
    if (!data.job.name.empty()) return data.job.name;
    const auto name_begins = data.job.scene.find_last_of("\\/") + 1;  // 0 where there is none
    return data.job.scene.substr(name_begins);
}

std::string state_mark(const ReportData& data) {
    const auto mark = [](const char* css, const std::string& text) {
        return std::string("<span class=\"state ") + css + "\">" + text + "</span>";
    };
    const std::size_t failed = count_of(data, "failed");
    if (data.report.stopped) return mark("halted", "Stopped by the user");
    if (failed > 0) return mark("bad", counted(failed, "frame") + " failed");
    return data.report.success() ? mark("good", "Done") : mark("bad", "Failed");
}

std::string header(const ReportData& data) {
    std::string html = "<header>\n" + state_mark(data) + "\n<h1>" + escaped(job_title(data)) + "</h1>\n";
    html += "<p class=\"quiet path\">" + escaped(data.job.scene);
    if (!data.job.camera.empty()) html += " · camera " + escaped(data.job.camera);
    if (!data.job.output.empty()) html += " · " + escaped(data.job.output);
    return html + "</p>\n</header>\n";
}

std::string fact(const std::string& name, const std::string& value, const std::string& more,
                 const char* css = "") {
    return "<div><dt>" + name + "</dt><dd class=\"" + css + "\">" + value + "</dd>" +
           (more.empty() ? "" : "<dd class=\"more\">" + more + "</dd>") + "</div>\n";
}

std::string time_facts(const ReportData& data) {
    std::chrono::milliseconds sum{0};
    for (const FrameOutcome& outcome : data.report.frames)
        sum += outcome.time;
    const std::string hosts = counted(data.job.hosts, "host") +
                              (data.job.threads > 0 ? " of " + counted(data.job.threads, "thread") : "");
    return fact("Time", format_duration(data.report.elapsed), hosts) +
           fact("Per frame", format_seconds(median_time(data.report)),
                "median; " + format_duration(sum) + " of all frames");
}

std::string file_facts(const ReportData& data) {
    std::size_t files = 0;
    std::size_t verified = 0;
    std::uint64_t bytes = 0;
    for (const FrameOutcome& outcome : data.report.frames)
        for (const ImageFile& file : frame_files(outcome)) {
            ++files;
            bytes += file.bytes;
            if (file.state == ImageFile::State::verified) ++verified;
        }
    std::string more = std::to_string(verified) + " verified";
    if (bytes > 0) more += ", " + format_bytes(bytes);
    return fact("Files", std::to_string(files), more);
}

std::string facts(const ReportData& data) {
    const std::size_t failed = count_of(data, "failed");
    const std::size_t left = count_of(data, "left");
    const std::size_t skipped = count_of(data, "skipped");
    const std::size_t done = count_of(data, "done") + skipped;
    return "<dl class=\"facts\">\n" +
           fact("Frames done", std::to_string(done) + " of " + std::to_string(data.report.frames.size()),
                skipped > 0 ? std::to_string(skipped) + " skipped" : "") +
           fact("Failed", std::to_string(failed),
                data.retries.empty() ? "" : counted(data.retries.size(), "attempt") + " made again",
                failed > 0 ? "bad" : "") +
           (left > 0 ? fact("Not rendered", std::to_string(left), "") : "") + time_facts(data) +
           file_facts(data) + "</dl>\n";
}

std::string crash_details(const ReportData& data, int frame) {
    std::string html;
    const auto reports = data.crash_reports.find(frame);
    if (reports == data.crash_reports.end()) return html;
    for (const ReportData::CrashReport& report : reports->second) {
        html += details("Crash report of frame " + std::to_string(frame), report.text);
        if (!report.file.empty())
            html += "<p class=\"quiet path\">kept in " + file_link(report.file, report.file) + "</p>\n";
    }
    return html;
}

/// The frame's error but for what stands in its crash reports.
std::string without_crash_reports(const ReportData& data, const FrameOutcome& outcome) {
    std::string error = outcome.error;
    const auto reports = data.crash_reports.find(outcome.frame);
    if (reports == data.crash_reports.end()) return error;
    for (const ReportData::CrashReport& report : reports->second)
        if (const auto at = error.find(report.text); at != std::string::npos)
            error.erase(at, report.text.size());
    error.erase(error.find_last_not_of('\n') + 1);
    return error;
}

/// The frames that failed for one reason; the full error and the crash report are those of the first of them.
std::string failure(const ReportData& data, const std::string& reason,
                    const std::vector<const FrameOutcome*>& frames) {
    std::string html = "<div class=\"card problem\">\n<h3>" + escaped(reason) + "</h3>\n<p>Frame" +
                       (frames.size() == 1 ? " " : "s ");
    for (const FrameOutcome* const outcome : frames)
        html += (outcome == frames.front() ? "" : ", ") + frame_link(outcome->frame);
    html += "</p>\n";
    const std::string said = without_crash_reports(data, *frames[0]);
    // One line stands in the heading.
    if (said.find('\n') != std::string::npos)
        html +=
            details(frames.size() == 1 ? "What the host said"
                                       : "What the host said of frame " + std::to_string(frames[0]->frame),
                    said);
    for (const FrameOutcome* const outcome : frames)
        html += crash_details(data, outcome->frame);
    return html + "</div>\n";
}

std::string problems(const ReportData& data) {
    std::string html;
    for (const std::string& problem : data.report.problems)
        html += "<div class=\"card problem\">\n<h3>" + escaped(short_reason(problem)) + "</h3>\n" +
                (problem.find('\n') == std::string::npos ? "" : details("In full", problem)) + "</div>\n";
    std::vector<std::pair<std::string, std::vector<const FrameOutcome*>>> reasons;
    for (const FrameOutcome& outcome : data.report.frames) {
        if (outcome.status != Status::failed) continue;
        const std::string reason = short_reason(outcome.error);
        auto known = std::ranges::find(reasons, reason, [](const auto& entry) { return entry.first; });
        if (known == reasons.end()) known = reasons.insert(known, {reason, {}});
        known->second.push_back(&outcome);
    }
    for (const auto& [reason, frames] : reasons)
        html += failure(data, reason, frames);
    return html.empty() ? "" : section("problems", "What went wrong", html);
}

std::string legend(const ReportData& data) {
    std::string html;
    const std::pair<const char*, const char*> kinds[] = {
        {"done", "done"}, {"failed", "failed"}, {"skipped", "skipped"}, {"left", "not rendered"}};
    for (const auto& [css, name] : kinds)
        if (count_of(data, css) > 0)
            html += "<span style=\"--color:var(--" +
                    std::string(css == std::string_view("left") ? "line" : css) + ")\">" + name + "</span>";
    return "<p class=\"legend\">" + html + "</p>\n";
}

std::string times(const ReportData& data) {
    if (data.report.frames.empty()) return "";
    return section("times", "Time per frame", card(time_chart(data.report) + legend(data)));
}

std::string slowest(const ReportData& data) {
    constexpr std::size_t most = 8;
    std::vector<const FrameOutcome*> frames;
    for (const FrameOutcome& outcome : data.report.frames)
        if (outcome.status != Status::not_rendered && outcome.time.count() > 0) frames.push_back(&outcome);
    if (frames.size() < 2) return "";
    std::ranges::stable_sort(frames, std::greater<>(), [](const FrameOutcome* one) { return one->time; });
    frames.resize(std::min(frames.size(), most));
    std::string html = "<ol class=\"slow\">\n";
    for (const FrameOutcome* const outcome : frames) {
        const auto percent = outcome->time * 100 / frames.front()->time;
        html += std::string("<li class=\"") + frame_class(*outcome) + "\"><span>Frame " +
                frame_link(outcome->frame) + "</span><i style=\"width:" + std::to_string(percent) +
                "%\"></i><b>" + format_seconds(outcome->time) + "</b></li>\n";
    }
    return section("slowest", "Slowest frames", card(html + "</ol>\n"));
}

std::string first_image_path(const FrameOutcome& outcome) {
    for (const ImageFile& file : outcome.images)
        if (file.kind == ImageFile::Kind::output) return file.path;
    return "";
}

std::string tile(const ReportData& data, const FrameOutcome& outcome) {
    const std::string number = std::to_string(outcome.frame);
    const std::string css = frame_class(outcome);
    const auto picture = data.pictures.find(outcome.frame);
    std::string image = css == "left" ? "not rendered" : css == "done" ? "no picture" : css;
    if (picture != data.pictures.end())
        image = "<img decoding=\"async\" alt=\"frame " + number + "\" src=\"" +
                jpeg_address(picture->second) + "\">";
    const std::string path = css == "done" || css == "skipped" ? first_image_path(outcome) : "";
    std::string html = "<figure id=\"frame-" + number + "\" class=\"" + css + "\">";
    html += "<div class=\"image\">" + image + "</div>";
    html += "<figcaption><b>" + (path.empty() ? number : file_link(path, number)) +
            "</b><span class=\"quiet\">" +
            (css == "left"      ? ""
             : css == "skipped" ? css
                                : format_seconds(outcome.time)) +
            "</span></figcaption>";
    return html + "</figure>\n";
}

std::string filter(const ReportData& data) {
    std::string html = "<label><input type=\"radio\" name=\"only\" checked>all</label>";
    const std::pair<const char*, const char*> kinds[] = {
        {"failed", "failed"}, {"skipped", "skipped"}, {"left", "not rendered"}};
    bool is_of_use = false;
    for (const auto& [css, name] : kinds) {
        const std::size_t count = count_of(data, css);
        if (count == 0) continue;
        is_of_use = true;
        html += std::string("<label><input type=\"radio\" name=\"only\" id=\"only-") + css + "\">" + name +
                " (" + std::to_string(count) + ")</label>";
    }
    return is_of_use ? "<div class=\"filter\">" + html + "</div>\n" : "";
}

std::string sheet(const ReportData& data) {
    std::string html = filter(data) + "<div class=\"tiles\">\n";
    for (const FrameOutcome& outcome : data.report.frames)
        html += tile(data, outcome);
    return section("sheet", "Contact sheet", html + "</div>\n");
}

std::string file_entry(const ImageFile& file) {
    std::string html = "<div>" + file_link(file.path, file.name) + " <span class=\"quiet\">" +
                       name_of(file.kind) + ", " + name_of(file.state);
    if (file.bytes > 0) html += ", " + format_bytes(file.bytes);
    html += "</span>";
    if (!file.problem.empty()) html += " <b class=\"bad\">" + escaped(file.problem) + "</b>";
    return html + "</div>";
}

std::string frame_row(const FrameOutcome& outcome) {
    const std::string css = frame_class(outcome);
    std::string html = "<tr><td class=\"number\">" + frame_link(outcome.frame) + "</td><td class=\"" +
                       (css == "failed" ? "bad" : "") + "\">" + (css == "left" ? "not rendered" : css) +
                       "</td>";
    const bool was_tried = outcome.status != Status::not_rendered;
    html += "<td class=\"number\">" + (was_tried ? format_seconds(outcome.time) : "") + "</td>";
    html += "<td class=\"number\">" + (was_tried ? std::to_string(outcome.attempts) : "") + "</td>";
    html += "<td class=\"number\">" + (outcome.host ? std::to_string(*outcome.host + 1) : "") +
            "</td><td class=\"files\">";
    for (const ImageFile& file : frame_files(outcome))
        html += file_entry(file);
    return html + "</td></tr>\n";
}

std::string frames(const ReportData& data) {
    std::string html =
        "<details><summary>Every frame with its files</summary>\n<div "
        "class=\"scroll\"><table>\n<tr><th class=\"number\">Frame</th>"
        "<th>State</th><th class=\"number\">Time</th><th class=\"number\">Attempts</th>"
        "<th class=\"number\">Host</th><th>Files</th></tr>\n";
    for (const FrameOutcome& outcome : data.report.frames)
        html += frame_row(outcome);
    return section("frames", "Frames and files", card(html + "</table></div></details>\n"));
}

std::string note_row(std::chrono::system_clock::time_point time, const std::string& place, const char* css,
                     const std::string& text) {
    const std::string first = in_words(text.substr(0, text.find('\n')));
    const bool has_more = text.find('\n') != std::string::npos;
    return "<tr><td class=\"number\">" + clock_time(time) + "</td><td>" + place + "</td><td class=\"text " +
           css + "\">" + escaped(first) + (has_more ? details("in full", text) : "") + "</td></tr>\n";
}

std::string notes(const ReportData& data) {
    std::vector<std::pair<std::chrono::system_clock::time_point, std::string>> rows;
    for (const ReportData::Retry& retry : data.retries)
        rows.emplace_back(retry.time,
                          note_row(retry.time, where(retry.host, retry.frame), "",
                                   "attempt " + std::to_string(retry.attempt) + " failed: " + retry.reason));
    for (const ReportData::Note& note : data.notes)
        rows.emplace_back(note.time, note_row(note.time, where(note.host, note.frame),
                                              note.is_error ? "bad" : "", note.text));
    if (rows.empty()) return "";
    std::ranges::stable_sort(rows, {}, [](const auto& row) { return row.first; });
    std::string html;
    for (const auto& [time, row] : rows)
        html += row;
    return section("notes", "On the way",
                   card("<div class=\"scroll\"><table>\n" + html + "</table></div>\n"));
}

std::string about(const ReportData& data) {
    std::string html = "<dl class=\"about\">\n";
    const auto add = [&](const std::string& name, const std::string& value) {
        if (!value.empty()) html += "<dt>" + name + "</dt><dd>" + escaped(value) + "</dd>\n";
    };
    add("Began", utc_time(data.began));
    add("Ended", utc_time(data.ended));
    add("Worker", data.job.worker_version);
    for (const std::string& greeting : data.greetings)
        add("Plug-in", greeting);
    for (const auto& [name, value] : data.machine)
        add(escaped(name), value);
    return section("about", "Versions and machine", card(html + "</dl>\n"));
}

/// The shape of the frames, so that nothing moves while pictures are decoded: from the size that a JPEG states.
std::string picture_shape(const ReportData& data) {
    if (data.pictures.empty()) return "";
    const std::vector<unsigned char>& jpeg = data.pictures.begin()->second;
    for (std::size_t at = 2; at + 9 < jpeg.size() && jpeg[at] == 0xFF;) {
        const bool is_size = jpeg[at + 1] >= 0xC0 && jpeg[at + 1] <= 0xC2;
        const auto word = [&](std::size_t place) {
            return std::to_string(jpeg[place] * 256 + jpeg[place + 1]);
        };
        if (is_size) return " style=\"--shape:" + word(at + 7) + " / " + word(at + 5) + '"';
        at += 2 + static_cast<std::size_t>(jpeg[at + 2]) * 256 + jpeg[at + 3];
    }
    return "";
}

}  // namespace

std::string report_page(const ReportData& data) {
    // The policy makes a promise of what the page does anyway: nothing is loaded, no script runs.
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
           "style-src 'unsafe-inline'; img-src data:\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"referrer\" content=\"no-referrer\">\n<title>" +
           escaped(job_title(data)) + "</title>\n<style>" + report_style + "</style>\n</head>\n<body" +
           picture_shape(data) + ">\n" + header(data) + facts(data) + problems(data) + times(data) +
           slowest(data) + sheet(data) + frames(data) + notes(data) + about(data) +
           "<footer>Written by corrivane-worker at the end of the job.</footer>\n</body>\n</html>\n";
}

}  // namespace corrivane::worker
