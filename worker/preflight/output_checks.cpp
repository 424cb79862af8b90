#include "worker/preflight/output_checks.h"

#include "images/image_formats.h"
#include "worker/job/output_names.h"
#include "worker/preflight/disk_space.h"

#include <system/drive_map.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>

namespace corrivane::worker {
namespace {

namespace fs = std::filesystem;
using Severity = Finding::Severity;

constexpr std::size_t longest_windows_path = 259;  // that the plug-in can number

std::string format_list() {
    std::string list;
    for (const ImageFormat& format : image_formats())
        list += (list.empty() ? "" : ", ") + std::string(format.endings[0]);
    return list;
}

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

/// The name of the frame whose number is the longest.
std::string longest_name(const PlannedOutput& output, const Job& job) {
    std::string longest;
    for (const int frame : job.frames)
        if (std::string name = frame_file_name(output.name, frame, job.options); name.size() > longest.size())
            longest = std::move(name);
    return longest;
}

Finding drive_fault(const std::string& what, const std::string& name, DWORD error) {
    Finding finding{Severity::refusal, what, quoted(name) + ": " + std::string(path_fault(name, error)), ""};
    if (error == ERROR_PATH_NOT_FOUND) finding.remedy = "name the drive's folder with --drive LETTER=DIR";
    if (error == ERROR_BAD_NETPATH) finding.remedy = "name the network's folder with --network DIR";
    if (error == ERROR_INVALID_NAME) finding.text = quoted(name) + " is no name that Windows could store";
    if (error == ERROR_FILENAME_EXCED_RANGE) finding.text = quoted(name) + " is too long";
    return finding;
}

Findings check_format(const PlannedOutput& output) {
    const ImageFormat* format = find_image_format(output.name);
    if (format == nullptr)
        return {{Severity::refusal, output.what, quoted(output.name) + " has no extension of an image format",
                 "use one of " + format_list()}};
    const int side = std::max(output.width, output.height);
    if (side > format->largest_side || uncompressed_bytes(output) > format->largest_bytes)
        return {{Severity::refusal, output.what,
                 std::string(format->name) + " cannot hold " + std::to_string(output.width) + " x " +
                     std::to_string(output.height) + " pixels",
                 "use another format, such as .exr"}};
    return {};
}

/// What keeps files from being made in a folder that is there.
std::string writing_fault(const fs::path& folder) {
    if (::access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0) return "";
    return folder.string() + ": " + std::strerror(errno);
}

/// The folder, or the nearest one around it that is there.
fs::path nearest_place(fs::path folder) {
    std::error_code error;
    while (!folder.empty() && folder != folder.parent_path() && !fs::exists(folder, error))
        folder = folder.parent_path();
    return folder;
}

/// Whether files can come into the folder, which is made if that is wanted and it lies on a drive or share.
Findings check_folder(const std::string& what, const fs::path& folder, const std::string& root,
                      MissingFolders missing) {
    std::error_code error;
    const std::string name = folder.empty() ? "." : folder.string();
    const auto refuse = [&](const std::string& text, const std::string& remedy) {
        return Findings{{Severity::refusal, what, text, remedy}};
    };
    if (!root.empty() && !fs::is_directory(root, error))
        return refuse("the drive's folder " + root + " is not there",
                      "make it, or name another with --drive LETTER=DIR");
    if (missing == MissingFolders::make && !root.empty()) fs::create_directories(folder, error);
    const fs::path place = nearest_place(folder);
    if (!place.empty() && fs::exists(place, error) && !fs::is_directory(place, error))
        return refuse(place.string() + " is not a folder", "move it away, or write elsewhere");
    if (const std::string fault = writing_fault(place); !fault.empty())
        return refuse("nothing can be written in " + name + " (" + fault + ')',
                      "allow this user to write there, or write elsewhere with --output-folder");
    const bool is_there = place == folder;
    return {{Severity::good, what, name + (is_there ? " can be written to" : " will be made"), ""}};
}

Findings check_place(const PlannedOutput& output, const Job& job, MissingFolders missing) {
    const std::string name = longest_name(output, job);
    if (name.size() > longest_windows_path)
        return {{Severity::refusal, output.what,
                 quoted(output.name) + ": with the frame's number the name has " +
                     std::to_string(name.size()) + " characters, Windows takes " +
                     std::to_string(longest_windows_path),
                 "choose a shorter one"}};
    const NativePath path = native_output_path(name);
    if (path.error != ERROR_SUCCESS) return {drive_fault(output.what, output.name, path.error)};
    std::error_code error;
    if (fs::is_directory(path.path, error))
        return {{Severity::refusal, output.what, path.path + " is a folder",
                 "move it away, or choose another name"}};
    return check_folder(output.what, fs::path(path.path).parent_path(), path.root, missing);
}

Findings check_names_differ(const std::vector<PlannedOutput>& outputs) {
    Findings findings;
    std::map<std::string, std::string> owners;
    for (const PlannedOutput& output : outputs) {
        const auto [owner, is_new] = owners.emplace(native_path(output.name).path, output.what);
        if (!is_new)
            findings.push_back({Severity::refusal, output.what,
                                quoted(output.name) + " is also the name of the " + owner->second +
                                    ": only one of the two would stay",
                                "give them different names in the scene, or another --output"});
    }
    return findings;
}

void add(Findings& findings, Findings more) {
    findings.insert(findings.end(), more.begin(), more.end());
}

}  // namespace

Findings check_outputs(const std::vector<PlannedOutput>& outputs, const Job& job, MissingFolders missing) {
    Findings findings;
    for (const PlannedOutput& output : outputs) {
        add(findings, check_format(output));
        add(findings, check_place(output, job, missing));
    }
    add(findings, check_names_differ(outputs));
    return findings;
}

Findings check_previews(const Job& job, MissingFolders missing) {
    if (!job.options.jpeg_preview) return {};
    const std::string& folder = *job.options.jpeg_preview;
    const NativePath path = native_path(folder);
    Findings findings = path.error != ERROR_SUCCESS ? Findings{drive_fault("previews", folder, path.error)}
                                                    : check_folder("previews", path.path, path.root, missing);
    for (Finding& finding : findings)
        if (finding.severity == Severity::refusal) finding.severity = Severity::warning;
    return findings;
}

}  // namespace corrivane::worker
