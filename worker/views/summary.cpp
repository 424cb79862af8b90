#include "worker/views/summary.h"

#include "worker/base/printable.h"
#include "worker/views/frame_files.h"
#include "worker/views/reason.h"
#include "worker/views/text.h"

#include <algorithm>
#include <map>

namespace corrivane::worker {
namespace {

using Status = FrameOutcome::Status;

/// Of many reasons the first ones show what is wrong.
constexpr std::size_t most_reasons = 20;

std::string frame_counts(const JobReport& report) {
    std::map<Status, std::size_t> counts;
    std::size_t rendered = 0;
    std::chrono::milliseconds time_of_rendered{0};
    for (const FrameOutcome& outcome : report.frames) {
        ++counts[outcome.status];
        if (outcome.status != Status::done || outcome.skipped) continue;
        ++rendered;
        time_of_rendered += outcome.time;
    }
    std::string text = counted(report.frames.size(), "frame") + ": " + std::to_string(counts[Status::done]) +
                       " done, " + std::to_string(counts[Status::failed]) + " failed, " +
                       std::to_string(counts[Status::not_rendered]) + " not rendered; " +
                       format_duration(report.elapsed) + " in all";
    if (rendered > 0) text += ", " + format_seconds(time_of_rendered / rendered) + " a frame";
    return text + '\n';
}

/// The frames that failed for one and the same reason.
struct Failure {
    std::string reason;
    std::vector<int> frames;
    std::vector<std::string> crash_reports;
};

std::vector<Failure> failures(const JobReport& report, const CrashFiles& crashes) {
    std::vector<Failure> found;
    std::map<std::string, std::size_t> known;
    for (const FrameOutcome& outcome : report.frames) {
        if (outcome.status != Status::failed) continue;
        const std::string reason = short_reason(outcome.error);
        const auto [entry, is_new] = known.emplace(reason, found.size());
        if (is_new) found.push_back({reason, {}, {}});
        Failure& failure = found[entry->second];
        failure.frames.push_back(outcome.frame);
        const auto& files = crashes.of_frame(outcome.frame);
        failure.crash_reports.insert(failure.crash_reports.end(), files.begin(), files.end());
    }
    return found;
}

/// The first and the last of many names.
std::string from_to(const std::vector<std::string>& names) {
    std::string text = printable(names.front());
    if (names.size() > 1) text += " ... " + printable(names.back());
    return text;
}

std::string failure_lines(const JobReport& report, const CrashFiles& crashes) {
    const std::vector<Failure> all = failures(report, crashes);
    std::string text;
    for (std::size_t i = 0; i < std::min(all.size(), most_reasons); ++i) {
        const bool one = all[i].frames.size() == 1;
        text += std::string("  frame") + (one ? " " : "s ") + frame_ranges(all[i].frames) +
                " failed: " + all[i].reason + '\n';
        if (!all[i].crash_reports.empty())
            text += "    " + counted(all[i].crash_reports.size(), "crash report") + ": " +
                    from_to(all[i].crash_reports) + '\n';
    }
    if (all.size() > most_reasons)
        text += "  and " + counted(all.size() - most_reasons, "more reason") + '\n';
    return text;
}

/// Crash reports of attempts that were made good by a later one.
std::string survived_crashes(const JobReport& report, const CrashFiles& crashes) {
    std::vector<std::string> files;
    for (const FrameOutcome& outcome : report.frames) {
        const auto& reports = crashes.of_frame(outcome.frame);
        if (outcome.status != Status::failed) files.insert(files.end(), reports.begin(), reports.end());
    }
    if (files.empty()) return "";
    return counted(files.size(), "crash report") + " of attempts that others made good: " + from_to(files) +
           '\n';
}

/// Names and size of the files of one sort.
struct FileSum {
    std::vector<std::string> names;
    std::size_t verified = 0;
    std::uint64_t bytes = 0;

    void add(const ImageFile& file) {
        names.push_back(file.name);
        bytes += file.bytes;
        if (file.state == ImageFile::State::verified) ++verified;
    }

    std::string text(const std::string& noun, const std::string& verb) const {
        std::string sum = counted(names.size(), noun) + verb;
        if (bytes > 0) sum += ", " + format_bytes(bytes);
        if (verified > 0)
            sum += ", " + (verified == names.size() ? "" : std::to_string(verified) + ' ') +
                   std::string("verified");
        return sum + (names.empty() ? "" : ": " + from_to(names)) + '\n';
    }
};

std::string file_lines(const JobReport& report) {
    FileSum images;
    FileSum previews;
    std::vector<int> skipped;
    std::size_t of_unknown_files = 0;
    for (const FrameOutcome& outcome : report.frames) {
        if (outcome.skipped) skipped.push_back(outcome.frame);
        if (outcome.status != Status::done || outcome.skipped) continue;
        const std::vector<ImageFile> files = frame_files(outcome);
        if (files.empty() && !outcome.files) ++of_unknown_files;
        for (const ImageFile& file : files)
            (file.kind == ImageFile::Kind::preview ? previews : images).add(file);
    }
    std::string text = images.text("file", " written");
    if (!previews.names.empty()) text += previews.text("preview", "");
    if (of_unknown_files > 0)
        text += "the files of " + counted(of_unknown_files, "frame") + " are not known\n";
    if (!skipped.empty())
        text += counted(skipped.size(), "frame") +
                " skipped, their files were there: " + frame_ranges(skipped) + '\n';
    return text;
}

std::string problem_lines(const JobReport& report) {
    std::string text;
    for (const std::string& problem : report.problems)
        text += "  " + short_reason(problem) + '\n';
    if (report.stopped) text += "  stopped by the user\n";
    return text;
}

}  // namespace

std::string summary_text(const JobReport& report, const CrashFiles& crashes) {
    std::string text = frame_counts(report) + failure_lines(report, crashes) + problem_lines(report) +
                       file_lines(report) + survived_crashes(report, crashes);
    if (!report.left.empty())
        text += counted(report.left.size(), "frame") + " left: --frames " + frame_ranges(report.left) +
                ", or the same call with --resume\n";
    return text;
}

}  // namespace corrivane::worker
