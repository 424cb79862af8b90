#include "worker/written_files.h"

#include <system/drive_map.h>

#include <cstdio>
#include <cstdlib>
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
    const long long number = static_cast<long long>(frame) + options.frame_base.value_or(0);
    char digits[32];
    std::snprintf(digits, sizeof digits, "%s%04lld", number < 0 ? "-" : "", std::llabs(number));
    const auto name_begin = output.find_last_of("\\/:") + 1;  // 0 where there is no folder
    const auto dot = output.rfind('.');
    std::string name = output;
    return name.insert(dot == std::string::npos || dot < name_begin ? name.size() : dot, digits);
}

}  // namespace corrivane::worker
