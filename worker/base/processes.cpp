#include "worker/base/processes.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace corrivane::worker {
namespace {

// Not asked for on first use: there are callers that may not wait for another thread's first use.
const long tick_ms = 1000 / ::sysconf(_SC_CLK_TCK);
const long page_bytes = ::sysconf(_SC_PAGESIZE);

/// The system's own record of a folder's entry.
struct Entry {
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

/// Appends to a path without allocating.
char* append(char* end, const char* text) {
    const std::size_t length = std::strlen(text);
    std::memcpy(end, text, length + 1);
    return end + length;
}

/// The field so many blanks behind the program's name, which may itself hold anything.
std::uint64_t number_at(const char* fields, int index) {
    for (; index > 0 && *fields != '\0'; --index)
        fields = std::strchr(fields, ' ') != nullptr ? std::strchr(fields, ' ') + 1 : "";
    return std::strtoull(fields, nullptr, 10);
}

/// False where the process is gone.
bool read_facts(const char* name, ProcessFacts& facts) {
    char path[64];
    append(append(append(path, "/proc/"), name), "/stat");
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    if (file == -1) return false;
    char text[1024];
    const auto length = ::read(file, text, sizeof text - 1);
    ::close(file);
    if (length <= 0) return false;
    text[length] = '\0';
    const char* const program_end = std::strrchr(text, ')');
    if (program_end == nullptr || program_end[1] == '\0') return false;
    const char* const fields = program_end + 2;
    facts.pid = std::atoi(name);
    facts.state = *fields;
    facts.parent = static_cast<pid_t>(number_at(fields, 1));
    facts.cpu_time = std::chrono::milliseconds((number_at(fields, 11) + number_at(fields, 12)) * tick_ms);
    facts.memory_bytes = number_at(fields, 21) * page_bytes;
    return true;
}

/// Calls `use` with the facts of one process after the other until it returns true.
template <typename Use>
void visit_processes(Use use) {
    const int folder = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder == -1) return;
    alignas(Entry) char entries[8192];
    bool found = false;
    for (long length = 0;
         !found && (length = ::syscall(SYS_getdents64, folder, entries, sizeof entries)) > 0;)
        for (long at = 0; !found && at < length;) {
            const auto* entry = reinterpret_cast<const Entry*>(entries + at);
            const char* const name = entries + at + offsetof(Entry, name);
            ProcessFacts facts;
            if (*name >= '1' && *name <= '9' && read_facts(name, facts)) found = use(facts);
            at += entry->length;
        }
    ::close(folder);
}

}  // namespace

pid_t find_child(pid_t parent) {
    pid_t child = 0;
    visit_processes([&](const ProcessFacts& facts) {
        if (facts.parent == parent && facts.state != 'Z') child = facts.pid;
        return child != 0;
    });
    return child;
}

ProcessTree descendants_of(pid_t root) {
    std::vector<ProcessFacts> all;
    visit_processes([&](const ProcessFacts& facts) {
        all.push_back(facts);
        return false;
    });
    ProcessTree tree;
    std::string_view states = "TDR";
    tree.state = 'S';
    std::vector<pid_t> parents{root};
    while (!parents.empty()) {
        const pid_t parent = parents.back();
        parents.pop_back();
        for (const ProcessFacts& facts : all) {
            if (facts.parent != parent) continue;
            parents.push_back(facts.pid);
            tree.pids.push_back(facts.pid);
            tree.cpu_time += facts.cpu_time;
            tree.memory_bytes += facts.memory_bytes;
            if (states.find(facts.state) < states.find(tree.state)) tree.state = facts.state;
        }
    }
    return tree;
}

}  // namespace corrivane::worker
