#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace corrivane::worker {

/// A new folder that goes away with the object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "corrivane-worker-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        m_path = name;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path() const { return m_path.string(); }
    std::string file(const std::string& name) const { return (m_path / name).string(); }

    /// The lines of the fake hosts' trace.
    std::vector<std::string> trace() const {
        std::vector<std::string> lines;
        std::ifstream file(m_path / "trace");
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

private:
    std::filesystem::path m_path;
};

}  // namespace corrivane::worker
