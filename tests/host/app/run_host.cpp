#include "run_host.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace corrivane::host::test {

namespace {

void redirect(const char* file, int descriptor) {
    const int opened = open(file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (opened < 0 || dup2(opened, descriptor) < 0) {
        _exit(126);
    }
}

/// In the child process.
[[noreturn]] void become_host(const std::filesystem::path& folder, std::vector<char*>& arguments,
                              const char* output) {
    const rlimit no_core_file{0, 0};
    setrlimit(RLIMIT_CORE, &no_core_file);
    if (chdir(folder.c_str()) != 0) {
        _exit(126);
    }
    if (output == nullptr) {
        close_range(STDIN_FILENO, STDERR_FILENO, 0);
    } else {
        const int input = open("input", O_RDONLY | O_CLOEXEC);
        dup2(input < 0 ? open("/dev/null", O_RDONLY | O_CLOEXEC) : input, STDIN_FILENO);
        redirect(output, STDOUT_FILENO);
        redirect("errors", STDERR_FILENO);
    }
    execv(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

HostFolder::HostFolder() {
    std::string pattern = testing::TempDir() + "corrivane_host_XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make " + pattern);
    }
    m_path = pattern;
}

HostFolder::~HostFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

void HostFolder::write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories((m_path / name).parent_path());
    std::ofstream(m_path / name) << text;
}

std::string HostFolder::read(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(m_path / name).rdbuf();
    return text.str();
}

HostRun HostFolder::run(const std::vector<std::string>& arguments, const char* output) const {
    std::vector<std::string> all = {CORRIVANE_HOST};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& argument : all) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        become_host(m_path, pointers, output);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        throw std::runtime_error("cannot run the host");
    }
    HostRun result;
    result.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.output = read("output");
    result.errors = read("errors");
    return result;
}

HostRun HostFolder::run_with_plugin(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--library", TEST_PLUGIN});
    return run(arguments);
}

}  // namespace corrivane::host::test
