#include "worker/views/crash_files.h"

#include "worker/base/file_descriptor.h"
#include "worker/base/printable.h"
#include "worker/views/text.h"
#include "worker/views/whole_write.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace corrivane::worker {
namespace {

/// A job's name as a part of a file name.
std::string file_name_part(const std::string& name) {
    constexpr std::size_t most = 60;
    std::string part;
    for (const char c : name.substr(0, most)) {
        const bool plain = static_cast<unsigned char>(c) > ' ' &&
                           std::string_view("/\\:*?\"<>|\x7f").find(c) == std::string_view::npos;
        part += plain ? c : '_';
    }
    if (part.starts_with('.')) part[0] = '_';
    return part.empty() ? "job" : part;
}

std::string frame_part(std::optional<int> frame) {
    if (!frame) return "";
    char text[24];
    std::snprintf(text, sizeof text, "-frame-%04d", *frame);
    return text;
}

/// A file that was not there before: the name, or the name with a number.
FileDescriptor create_file(const std::string& stem, std::string& path) {
    for (int number = 1;; ++number) {
        path = stem + (number == 1 ? "" : '-' + std::to_string(number)) + ".txt";
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd != -1) return FileDescriptor(fd);
        if (errno != EEXIST) throw std::system_error(errno, std::generic_category(), path);
    }
}

}  // namespace

CrashFiles::CrashFiles(std::string folder, Complain complain)
    : m_folder(std::move(folder)), m_complain(std::move(complain)) {}

void CrashFiles::take(const Event& event) {
    if (const auto* job = std::get_if<event::JobBegins>(&event.what)) {
        m_scene = job->scene;
        m_job_name = job->name.empty() ? std::filesystem::path(job->scene).stem().string() : job->name;
    } else if (const auto* crash = std::get_if<event::CrashReported>(&event.what)) {
        keep(event, crash->text);
    }
}

void CrashFiles::keep(const Event& event, const std::string& report) {
    std::string path;
    try {
        std::filesystem::create_directories(m_folder);
        const FileDescriptor file =
            create_file(m_folder + '/' + file_name_part(m_job_name) + frame_part(event.frame), path);
        const std::string head = "Time: " + utc_time(event.time) + "\nScene: " + printable(m_scene) +
                                 (event.frame ? "\nFrame: " + std::to_string(*event.frame) : "") +
                                 (event.host ? "\nHost: " + std::to_string(*event.host + 1) : "") + "\n\n";
        write_whole(file.get(), head + report + (report.ends_with('\n') ? "" : "\n"));
    } catch (const std::system_error& error) {
        std::error_code ignored;
        if (!path.empty()) std::filesystem::remove(path, ignored);
        if (!m_complained)
            m_complain("crash reports can't be kept in " + m_folder + ": " + error.code().message());
        m_complained = true;
        return;
    }
    if (!event.frame) return;
    m_files[*event.frame].push_back(path);
    // What the host logged is a reason that is told with the error.
    for (std::string& line : printable_lines(report))
        if (!line.starts_with('[')) m_lines[*event.frame].insert(std::move(line));
}

const std::vector<std::string>& CrashFiles::of_frame(int frame) const {
    static const std::vector<std::string> none;
    const auto files = m_files.find(frame);
    return files == m_files.end() ? none : files->second;
}

std::vector<std::string> CrashFiles::without_report(int frame, const std::string& error) const {
    std::vector<std::string> lines = printable_lines(error);
    const auto reported = m_lines.find(frame);
    if (reported != m_lines.end())
        lines.erase(std::remove_if(lines.begin() + 1, lines.end(),
                                   [&](const std::string& line) { return reported->second.contains(line); }),
                    lines.end());
    return lines;
}

}  // namespace corrivane::worker
