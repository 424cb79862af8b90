#include "support/drive_c.h"

#include <windows.h>

#include <stdexcept>

namespace corrivane::test {

struct DriveC::Folder {
    std::filesystem::path path = "C:/";
};

DriveC::DriveC() : m_folder(std::make_unique<Folder>()) {
    if (GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr)
        throw std::runtime_error("tests use a drive C of Wine's, not one with a Windows on it");
}

DriveC::~DriveC() {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(path(), ignored))
        if (entry.path().filename() != "windows") std::filesystem::remove_all(entry.path(), ignored);
}

const std::filesystem::path& DriveC::path() const {
    return m_folder->path;
}

}  // namespace corrivane::test
