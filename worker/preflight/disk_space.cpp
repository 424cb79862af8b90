#include "worker/preflight/disk_space.h"

#include "images/image_formats.h"
#include "worker/job/output_names.h"

#include <system/drive_map.h>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>

namespace corrivane::worker {
namespace {

namespace fs = std::filesystem;

/// Images that are one colour become about so much smaller, and nothing is smaller than a block.
constexpr std::uint64_t best_compression = 200;
/// What rendered images usually become.
constexpr std::uint64_t usual_compression = 2;
constexpr std::uint64_t smallest_file = 512;

std::uint64_t bytes_per_sample(SampleDepth depth) {
    switch (depth) {
        case SampleDepth::bits8:
            return 1;
        case SampleDepth::bits16:
        case SampleDepth::half:
            return 2;
        case SampleDepth::float32:
            return 4;
    }
    return 0;
}

bool is_compressed(const ImageFormat& format) {
    return format.largest_bytes ==
           static_cast<std::uint64_t>(-1);  // those that count bytes store them as they are
}

/// What is needed on one disk and what is there.
struct Disk {
    std::string folder;  // one that lies on it
    std::uint64_t free = 0;
    std::uint64_t least = 0;
    std::uint64_t likely = 0;
};

/// The folder that is there and that this one will be made in; nothing when there is none.
std::optional<fs::path> existing_folder(fs::path folder) {
    std::error_code error;
    if (folder.empty()) folder = ".";
    while (!fs::is_directory(folder, error)) {
        if (folder == folder.parent_path()) return std::nullopt;
        folder = folder.parent_path();
        if (folder.empty()) folder = ".";
    }
    return folder;
}

/// Disks by their device number.
class Disks {
public:
    /// Null where there is no telling.
    Disk* of(const std::string& path) {
        const auto folder = existing_folder(fs::path(path).parent_path());
        struct stat facts {};
        struct statvfs space {};
        if (!folder || ::stat(folder->c_str(), &facts) != 0 || ::statvfs(folder->c_str(), &space) != 0)
            return nullptr;
        const auto [place, is_new] = m_disks.try_emplace(facts.st_dev);
        if (is_new) place->second = {folder->string(), space.f_bavail * space.f_frsize, 0, 0};
        return &place->second;
    }

    const std::map<dev_t, Disk>& all() const { return m_disks; }

private:
    std::map<dev_t, Disk> m_disks;
};

std::uint64_t size_of_file(const std::string& path) {
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return error ? 0 : size;
}

std::string path_of_frame(const PlannedOutput& output, int frame, const Job& job) {
    return native_path(frame_file_name(output.name, frame, job.options)).path;
}

}  // namespace

std::uint64_t uncompressed_bytes(const PlannedOutput& output) {
    const ImageFormat* format = find_image_format(output.name);
    if (format == nullptr || output.width <= 0 || output.height <= 0) return 0;
    const std::uint64_t sample = bytes_per_sample(output.is_deep ? format->floating : format->deep);
    return std::uint64_t(output.width) * std::uint64_t(output.height) * (format->has_alpha ? 4 : 3) * sample;
}

Findings check_disk_space(const std::vector<PlannedOutput>& outputs, const Job& job) {
    Disks disks;
    for (const PlannedOutput& output : outputs) {
        const std::uint64_t bytes = uncompressed_bytes(output);
        Disk* disk = job.frames.empty() ? nullptr : disks.of(path_of_frame(output, job.frames.front(), job));
        if (disk == nullptr || bytes == 0) continue;
        const bool compressed = is_compressed(*find_image_format(output.name));
        const std::uint64_t least = compressed ? std::max(bytes / best_compression, smallest_file) : bytes;
        const std::uint64_t likely = compressed ? bytes / usual_compression : bytes;
        for (const int frame : job.frames) {
            const std::uint64_t there = size_of_file(path_of_frame(output, frame, job));
            disk->least += least > there ? least - there : 0;
            disk->likely += likely > there ? likely - there : 0;
        }
    }
    Findings findings;
    for (const auto& [device, disk] : disks.all()) {
        const std::string free = bytes_text(disk.free) + " free below " + disk.folder;
        if (disk.least > disk.free)
            findings.push_back({Finding::Severity::refusal, "disk",
                                free + ", and the frames need at least " + bytes_text(disk.least),
                                "make room, render fewer frames, or write elsewhere with --output-folder"});
        else if (disk.likely > disk.free)
            findings.push_back({Finding::Severity::warning, "disk",
                                free + ", and such frames often take " + bytes_text(disk.likely),
                                "watch the first frames, or make room"});
        else
            findings.push_back({Finding::Severity::good, "disk", free, ""});
    }
    return findings;
}

std::string space_lacking_after(int frame, const std::vector<PlannedOutput>& outputs, const Job& job) {
    Disks disks;
    for (const PlannedOutput& output : outputs) {
        const std::string path = path_of_frame(output, frame, job);
        const std::uint64_t bytes = size_of_file(path);
        Disk* disk = bytes == 0 ? nullptr : disks.of(path);
        if (disk == nullptr) continue;
        for (const int other : job.frames) {
            if (other == frame) continue;
            const std::uint64_t there = size_of_file(path_of_frame(output, other, job));
            disk->likely += bytes > there ? bytes - there : 0;
        }
    }
    for (const auto& [device, disk] : disks.all())
        if (disk.likely > disk.free)
            return "The frames do not fit on the disk: after frame " + std::to_string(frame) +
                   " the others need " + bytes_text(disk.likely) + ", and " + bytes_text(disk.free) +
                   " are free below " + disk.folder;
    return "";
}

std::string bytes_text(std::uint64_t bytes) {
    constexpr std::array units{"bytes", "kB", "MB", "GB", "TB", "PB"};
    auto number = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; number >= 1000 && unit + 1 < units.size(); ++unit)
        number /= 1000;
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 || number >= 100 ? "%.0f %s" : "%.1f %s", number, units[unit]);
    return text;
}

}  // namespace corrivane::worker
