#include "worker/preflight/machine_checks.h"

#include "images/image_module.h"
#include "net/farm_protocol.h"
#include "worker/base/failures.h"
#include "worker/base/stop_request.h"
#include "worker/hosts/running_host.h"
#include "worker/preflight/disk_space.h"

#include <system/drive_map.h>

#include <corrivane_version.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <thread>

namespace corrivane::worker {
namespace {

namespace fs = std::filesystem;
using Severity = Finding::Severity;

constexpr const char* log_folder = "C:\\Quillane\\logs";

/// A host that only greets has nothing to tell.
class SilentObserver : public SessionObserver {
public:
    void on_title(std::string_view /*title*/) override {}
    void on_progress(double /*percent*/) override {}
    void on_log(std::string_view /*text*/) override {}
};

Finding program_finding(const HostSettings& host) {
    std::error_code error;
    if (!fs::exists(host.program, error))
        return {Severity::refusal, "host program", host.program + " is not there",
                "install corrivane-host beside corrivane-worker, or name one with --host"};
    if (::access(host.program.c_str(), X_OK) != 0)
        return {Severity::refusal, "host program", host.program + ": " + std::strerror(errno),
                "make it a program that this user may run (chmod +x)"};
    return {Severity::good, "host program", host.program, ""};
}

Finding version_finding(const std::string& greeting) {
    const std::string expected = std::string(greeting_prefix) + CORRIVANE_VERSION + ' ';
    if (greeting.starts_with(expected)) return {Severity::good, "plug-in", greeting, ""};
    return {Severity::warning, "plug-in",
            "the host's plug-in is \"" + greeting + "\", the worker is version " + CORRIVANE_VERSION,
            "install worker, host and library of one version"};
}

/// Starts a host, which tries the program, its library, the port and the greeting at once.
Finding host_finding(const RunSettings& settings) {
    const Job no_job;
    const StopRequest no_stop;
    SilentObserver observer;
    try {
        RunningHost host(settings.host, no_job, observer, no_stop, settings.limits, [](std::string_view) {});
        const std::string greeting = host.greeting();
        host.end();
        return version_finding(greeting);
    } catch (const std::exception& error) {
        return {Severity::refusal, "host", std::string("no host comes up: ") + error.what(),
                "the lines above say why; --library names another plug-in library, --start-timeout gives it "
                "longer"};
    }
}

Finding drive_finding(const std::string& subject, const std::string& folder, const char* option) {
    std::error_code error;
    if (!fs::is_directory(folder, error))
        return {Severity::warning, subject, "its folder " + folder + " is not there",
                "make it, or name another with " + std::string(option)};
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return {Severity::warning, subject, folder + ": " + std::strerror(errno),
                "allow this user to write there, if jobs are to write on it"};
    const fs::space_info space = fs::space(folder, error);
    return {Severity::good, subject, folder + (error ? "" : ", " + bytes_text(space.available) + " free"),
            ""};
}

Findings drive_findings(const HostSettings& host) {
    Findings findings;
    if (!host.drives.contains('C')) findings.push_back(drive_finding("drive C", "drive_c", "--drive C=DIR"));
    for (const auto& [letter, folder] : host.drives)
        findings.push_back(drive_finding(std::string("drive ") + letter, folder, "--drive LETTER=DIR"));
    if (!host.network.empty()) findings.push_back(drive_finding("network", host.network, "--network DIR"));
    return findings;
}

Finding log_finding() {
    const std::string folder = native_path(log_folder).path;
    std::error_code error;
    if (!fs::is_directory(folder, error))
        return {Severity::good, "plug-in's log", "not written: there is no folder " + folder,
                "make it if you want the log"};
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return {Severity::warning, "plug-in's log", folder + ": " + std::strerror(errno),
                "allow this user to write there"};
    return {Severity::good, "plug-in's log", folder, ""};
}

Finding format_finding() {
    try {
        image_module();
        return {Severity::good, "image formats", "the image library loads", ""};
    } catch (const std::exception& error) {
        return {Severity::refusal, "image formats", error.what(),
                "install corrivane-imageio.so beside the programs, and the OpenImageIO library"};
    }
}

Findings limit_findings(const RunSettings& settings) {
    struct Limit {
        int resource;
        const char* name;
        const char* option;  // of ulimit
        rlim_t least;
    };
    constexpr rlim_t gigabyte = 1 << 30;
    const auto hosts = static_cast<rlim_t>(settings.hosts);
    const Limit limits[] = {{RLIMIT_NOFILE, "open files", "-n", 64 + 16 * hosts},
                            {RLIMIT_FSIZE, "a file's size", "-f", gigabyte},
                            {RLIMIT_AS, "a program's memory", "-v", 2 * gigabyte}};
    Findings findings;
    for (const Limit& limit : limits) {
        rlimit values{};
        if (::getrlimit(static_cast<__rlimit_resource_t>(limit.resource), &values) != 0) continue;
        if (values.rlim_cur < limit.least)
            findings.push_back(
                {Severity::warning, "limits",
                 std::string(limit.name) + " are limited to " + std::to_string(values.rlim_cur),
                 std::string("raise it with ulimit ") + limit.option});
    }
    const unsigned cores = std::thread::hardware_concurrency();
    if (cores != 0 && static_cast<unsigned>(settings.hosts) > cores)
        findings.push_back(
            {Severity::warning, "hosts",
             std::to_string(settings.hosts) + " hosts share " + std::to_string(cores) + " cores",
             "--hosts " + std::to_string(cores) + " is as fast and takes less memory"});
    if (findings.empty())
        findings.push_back(
            {Severity::good, "limits", std::to_string(cores) + " cores, no limit in the way", ""});
    return findings;
}

}  // namespace

Findings check_machine(const RunSettings& settings) {
    Findings findings{program_finding(settings.host)};
    if (!has_refusal(findings)) findings.push_back(host_finding(settings));
    const auto add = [&findings](const Findings& more) {
        findings.insert(findings.end(), more.begin(), more.end());
    };
    add(drive_findings(settings.host));
    findings.push_back(log_finding());
    findings.push_back(format_finding());
    add(limit_findings(settings));
    return findings;
}

}  // namespace corrivane::worker
