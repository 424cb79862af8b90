#include "worker/run/written_files.h"

#include "images/numbered_name.h"

#include <system/drive_map.h>

#include <filesystem>

namespace corrivane::worker {
namespace {

std::string check_file(const std::string& file) {
    const NativePath native = native_path(file);
    if (native.error != ERROR_SUCCESS) return "\"" + file + "\" is on no drive or share of this machine";
    std::error_code error;
    const auto size = std::filesystem::file_size(native.path, error);
    if (error) return "\"" + file + "\" is not there (" + native.path + ": " + error.message() + ")";
    return size == 0 ? "\"" + file + "\" is empty" : "";
}

}  // namespace

std::string check_written_files(const std::optional<std::vector<std::string>>& files) {
    if (!files) return "The frame was rendered, but its files can't be checked: their names are not known.";
    std::string faults;
    for (const std::string& file : *files) {
        const std::string fault = check_file(file);
        if (!fault.empty()) faults += (faults.empty() ? "" : "\n") + ("The output file " + fault);
    }
    return faults;
}

std::string check_skipped_file(const std::string& file) {
    std::error_code error;
    const bool is_empty = std::filesystem::file_size(native_path(file).path, error) == 0;
    return is_empty ? "The frame wrote no file, and its output file \"" + file + "\" is empty" : "";
}

std::string frame_file_name(const std::string& output, int frame, const JobOptions& options) {
    if (options.remove_padding) return output;
    // The sum wraps as 32-bit numbers do.
    return numbered_name(output, static_cast<int>(static_cast<unsigned>(frame) +
                                                  static_cast<unsigned>(options.frame_base.value_or(0))));
}

}  // namespace corrivane::worker
