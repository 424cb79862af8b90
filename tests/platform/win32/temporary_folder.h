#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

// An empty folder that goes with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "win32-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        m_path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::string string() const { return m_path.string(); }

    void add_folder(const std::string& name) const { std::filesystem::create_directories(m_path / name); }
    void add_file(const std::string& name, const std::string& content = "text") const {
        std::ofstream(m_path / name, std::ios::binary) << content;
    }

private:
    std::filesystem::path m_path;
};
