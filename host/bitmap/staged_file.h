#pragma once

#include <span>
#include <string>

namespace corrivane::host {

/// A file that comes to its place whole or not at all: written under a temporary name in the same folder,
/// then renamed over what was there. Destroyed before publish, it leaves nothing behind.
class StagedFile {
public:
    /// Writes `bytes` beside `path`, a path of this machine, whose folder must exist. Throws
    /// std::system_error with the errno value of the call that failed; SIGXFSZ must be ignored, else the size
    /// limit ends the process.
    StagedFile(const std::string& path, std::span<const unsigned char> bytes);
    ~StagedFile();
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;

    /// Puts the file in its place. Throws std::system_error; the old file then remains.
    void publish();

private:
    std::string m_path;
    std::string m_temporary;
};

}  // namespace corrivane::host
