#pragma once

#include "support/temporary_folder.h"

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::test {

/// Where a built program is.
std::string built_program(const std::string& name);

/// A program that runs with its output in a file. Killed at the end if it still runs.
class RunningProgram {
public:
    RunningProgram(const std::vector<std::string>& command, const std::filesystem::path& output_file);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// Waits for the end: the exit code, or minus the signal that ended it. Throws when it does not end
    /// in time.
    int wait();
    void send_signal(int signal) const;
    pid_t pid() const { return m_pid; }
    std::string output() const { return read_file(m_output_file); }

private:
    pid_t m_pid = -1;
    int m_pid_handle = -1;
    std::optional<int> m_exit;
    std::filesystem::path m_output_file;
};

}  // namespace corrivane::test
