#include "worker/run/host_files.h"

#include <system/drive_map.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

namespace corrivane::worker {
namespace {

namespace fs = std::filesystem;

constexpr const char* log_folder = "C:\\Quillane\\logs";
constexpr const char* log_file = "3dsmaxConnect.log";
constexpr const char* previous_log_file = "3dsmaxConnect.previous.log";

fs::path folder_of(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    return folder.empty() ? "." : folder;
}

/// As the host's writer names them until they are whole.
bool is_unfinished_file(const std::string& name, const std::vector<pid_t>& processes) {
    return name.ends_with(".tmp") && std::ranges::any_of(processes, [&](pid_t process) {
               return name.starts_with(".corrivane-" + std::to_string(process) + '-');
           });
}

}  // namespace

std::string log_folder_of(std::size_t host) {
    std::error_code error;
    const fs::path base = native_path(log_folder).path;
    if (!fs::is_directory(base, error)) return "";
    const fs::path folder = base / ("host-" + std::to_string(host + 1));
    fs::create_directory(folder, error);
    fs::rename(folder / log_file, folder / previous_log_file, error);
    return fs::is_directory(folder, error) ? folder.string() : "";
}

void remove_unfinished_files(const std::vector<pid_t>& processes, const std::vector<ImageFile>& beside) {
    std::set<fs::path> folders;
    for (const ImageFile& file : beside)
        if (!file.path.empty()) folders.insert(folder_of(file.path));
    std::error_code error;
    for (const fs::path& folder : folders)
        for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
             entry.increment(error))
            if (is_unfinished_file(entry->path().filename().string(), processes)) {
                std::error_code ignored;
                fs::remove(entry->path(), ignored);
            }
}

SetAside::SetAside(const std::string& path)
    : m_path(path),
      m_aside((folder_of(path) / ".corrivane-aside-").string() + fs::path(path).filename().string()) {
    std::rename(m_path.c_str(), m_aside.c_str());
}

SetAside::~SetAside() {
    std::error_code ignored;
    if (fs::exists(m_path, ignored))
        fs::remove(m_aside, ignored);
    else
        std::rename(m_aside.c_str(), m_path.c_str());
}

}  // namespace corrivane::worker
