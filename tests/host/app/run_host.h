#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace corrivane::host::test {

/// What became of a run of the program.
struct HostRun {
    int exit_code = -1;  ///< -1 when a signal ended it
    int signal = 0;
    std::string output;
    std::string errors;
};

/// A folder in which the program runs, gone at the end.
class HostFolder {
public:
    HostFolder();
    ~HostFolder();
    HostFolder(const HostFolder&) = delete;
    HostFolder& operator=(const HostFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    /// Writes a file, with its folders.
    void write(const std::string& name, const std::string& text) const;
    /// The text of a file, "" when it is not there.
    std::string read(const std::string& name) const;

    /// Runs corrivane-host here, to its end, with the file "input" on its standard input if there is one. Another
    /// file for its standard output is not read; null starts it without standard input, output and error.
    HostRun run(const std::vector<std::string>& arguments, const char* output = "output") const;
    /// The same with the test plug-in as its library.
    HostRun run_with_plugin(std::vector<std::string> arguments) const;

private:
    std::filesystem::path m_path;
};

}  // namespace corrivane::host::test
