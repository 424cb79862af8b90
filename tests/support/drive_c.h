#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace corrivane::test {

/// An empty drive C for the time of a test. On Windows, whose folder of that name stays, only under Wine: there the
/// drive is the test's own, and what the test left on it is taken away.
class DriveC {
public:
    DriveC();
    ~DriveC();
    DriveC(const DriveC&) = delete;
    DriveC& operator=(const DriveC&) = delete;

    /// By this machine's name.
    const std::filesystem::path& path() const;

private:
    struct Folder;
    std::unique_ptr<Folder> m_folder;
};

}  // namespace corrivane::test
