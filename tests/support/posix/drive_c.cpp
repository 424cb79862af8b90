#include "support/drive_c.h"

#include "support/temporary_folder.h"

#include <system/drive_map.h>

namespace corrivane::test {

struct DriveC::Folder {
    TemporaryFolder folder;
};

DriveC::DriveC() : m_folder(std::make_unique<Folder>()) {
    map_drive('C', path().string());
}

DriveC::~DriveC() {
    clear_drive_map();
}

const std::filesystem::path& DriveC::path() const {
    return m_folder->folder.path();
}

}  // namespace corrivane::test
