#include "worker/views/report/machine.h"

#include "worker/views/text.h"

#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include <fstream>
#include <string_view>
#include <thread>

namespace corrivane::worker {
namespace {

/// What stands behind the first line that begins with `key` and `sign`, without blanks and quotes around it.
std::string value_in(const char* file, std::string_view key, char sign) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        const auto at = line.find(sign);
        if (!line.starts_with(key) || at == std::string::npos) continue;
        constexpr const char* around = " \t\"";
        const auto begin = line.find_first_not_of(around, at + 1);
        if (begin == std::string::npos) return "";
        return line.substr(begin, line.find_last_not_of(around) - begin + 1);
    }
    return "";
}

}  // namespace

MachineFacts machine_facts() {
    MachineFacts facts;
    const auto add = [&](const char* name, const std::string& value) {
        if (!value.empty()) facts.emplace_back(name, value);
    };
    utsname system{};
    if (::uname(&system) == 0) add("Machine", system.nodename);
    add("System", value_in("/etc/os-release", "PRETTY_NAME", '='));
    add("Kernel", std::string(system.sysname) + ' ' + system.release + ' ' + system.machine);
    const std::string cores = counted(std::thread::hardware_concurrency(), "core");
    const std::string model = value_in("/proc/cpuinfo", "model name", ':');
    add("Processor", model.empty() ? cores : model + ", " + cores);
    struct sysinfo memory {};
    if (::sysinfo(&memory) == 0)
        add("Memory", format_bytes(static_cast<std::uint64_t>(memory.totalram) * memory.mem_unit));
    return facts;
}

}  // namespace corrivane::worker
