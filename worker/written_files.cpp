#include "worker/written_files.h"

#include <drive_map.h>

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

std::string check_written_files(const std::vector<std::string>& files) {
    if (files.empty()) return "The frame was rendered without an error, but wrote no file.";
    std::string faults;
    for (const std::string& file : files) {
        const std::string fault = check_file(file);
        if (!fault.empty()) faults += (faults.empty() ? "" : "\n") + ("The output file " + fault);
    }
    return faults;
}

}  // namespace corrivane::worker
