#include "host_session.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace corrivane::test {

namespace {

/// Whether nothing can follow a reply to the command.
bool ends_command(std::string_view command, std::string_view reply) {
    if (reply.starts_with("FUNCTION: ") || reply == "STARTED") return false;
    constexpr std::string_view session_ends[] = {"ERROR: Exception caught in",
                                                 "ERROR: MAXException caught in",
                                                 "ERROR: Maxscript exception:", "ERROR: SEH exception: "};
    const auto begins_reply = [reply](std::string_view start) { return reply.starts_with(start); };
    const bool session_ended = std::any_of(std::begin(session_ends), std::end(session_ends), begins_reply);
    if (session_ended || !reply.starts_with("ERROR: ")) return true;
    // These tell an error first and then end like a success, or with one more error.
    if (command.starts_with("RenderTask"))
        return reply == "ERROR: Failed to save file." || reply.starts_with("ERROR: RenderTask: ");
    if (command.starts_with("StartJob")) return reply.starts_with("ERROR: StartJob: ");
    return !command.starts_with("EndJob");
}

std::string sanitizer_options_without_leaks() {
    const char* given = std::getenv("ASAN_OPTIONS");
    return std::string("ASAN_OPTIONS=") + (given == nullptr ? "" : given) + ":detect_leaks=0";
}

}  // namespace

const HostKind& host_kind() {
    static constexpr HostKind of_this_machine{false, "/", "\n", 1000};
    static constexpr HostKind under_wine{true, "Z:\\", "\r\n", 150};
    return std::getenv("CORRIVANE_WINDOWS_HOST") == nullptr ? of_this_machine : under_wine;
}

std::string host_program() {
    const char* windows_host = std::getenv("CORRIVANE_WINDOWS_HOST");
    return windows_host == nullptr ? built_program("corrivane-host") : windows_host;
}

std::string as_written_by_host(std::string text) {
    const std::string_view line_end = host_kind().line_end;
    for (std::size_t at = text.find('\n'); at != std::string::npos;
         at = text.find('\n', at + line_end.size()))
        text.replace(at, 1, line_end);
    return text;
}

HostSession::HostSession() : HostSession(Options{}) {}

HostSession::HostSession(const Options& options) {
    std::filesystem::create_directories(options.product_log ? log_folder() : drive_c());
    start(options);
    m_peer.accept();
    m_token = receive();
    if (options.handshake.empty()) return;
    send(options.handshake);
    m_greeting = receive();
}

void HostSession::start(const Options& options) {
    const std::string script = "print (QuillaneUtil.RunCorrivaneDaemon " + std::to_string(m_peer.port()) +
                               " \"a token, with \\\"quotes\\\"\")";
    std::vector<std::string> command;
    if (options.ends_by_fault) command = {"/usr/bin/env", sanitizer_options_without_leaks()};
    command.insert(command.end(), {host_program(), "--drive", "C=" + drive_c().string()});
    command.insert(command.end(), {"--execute", script});
    m_host.emplace(command, m_folder.path() / "host-output.txt");
}

std::vector<std::string> HostSession::run(std::string_view command, std::string_view progress_answer) {
    send(command);
    std::vector<std::string> replies;
    do {
        std::string message = receive();
        if (message.starts_with("FUNCTION: PROGRESS ")) send(progress_answer);
        if (message.starts_with("FUNCTION: PROGRESS ") || message.starts_with("FUNCTION: SETTITLE ")) {
            m_progress.push_back(std::move(message));
            continue;
        }
        replies.push_back(std::move(message));
    } while (replies.empty() || !ends_command(command, replies.back()));
    return replies;
}

int HostSession::finish() {
    m_peer.close();
    return m_host->wait();
}

std::vector<std::string> HostSession::log_lines() const {
    const std::string log = read_file(log_folder() / "3dsmaxConnect.log");
    std::vector<std::string> lines;
    const std::string_view line_end = host_kind().line_end;
    for (std::size_t start = 0, end; (end = log.find(line_end, start)) != std::string::npos;
         start = end + line_end.size())
        lines.push_back(log.substr(start, end - start));
    return lines;
}

HostRun::HostRun(const std::filesystem::path& drive_c, const std::vector<std::string>& arguments) {
    std::vector<std::string> command{host_program(), "--drive", "C=" + drive_c.string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    RunningProgram host(command, drive_c / "output.txt");
    exit_code = host.wait();
    output = host.output();
}

std::string field(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"') quoted += '\\';
        quoted += c;
    }
    return quoted += '"';
}

}  // namespace corrivane::test
