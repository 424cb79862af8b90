// A host without 3ds Max or a plug-in: it connects as the plug-in does and answers every command, except
// where it is told to misbehave. It takes the real host's arguments and reads them its own way:
//   --library BEHAVIOUR     how it misbehaves, optionally @FRAME (see misbehave and main)
//   --network DIR           a folder for what outlives one host: "trace", a line for each command and event
//   -                       the script on standard input: print (QuillaneUtil.RunCorrivaneDaemon PORT "TOKEN")
#include "support/wire_peer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

namespace {

struct Call {
    std::string behaviour, bad_frame;
    std::string folder;
    int port = 0;
    std::string token;
};

Call parse_call(int argument_count, char** arguments) {
    std::map<std::string, std::string> options;
    for (int i = 1; i + 1 < argument_count; i += 2)
        options[arguments[i]] = arguments[i + 1];
    Call call;
    const std::string library = options["--library"];
    const auto at = library.find('@');
    call.behaviour = library.substr(0, at);
    if (at != std::string::npos) call.bad_frame = library.substr(at + 1);
    call.folder = options["--network"];
    char token[64] = "";
    const char* form = "print (QuillaneUtil.RunCorrivaneDaemon %d \"%63[^\"]\")";
    const bool reads_script = std::string(arguments[argument_count - 1]) == "-";
    if (!reads_script || std::scanf(form, &call.port, token) != 2) std::exit(64);
    call.token = token;
    return call;
}

class FakeHost {
public:
    explicit FakeHost(Call call) : m_call(std::move(call)) {}

    void trace(const std::string& line) const {
        if (!m_call.folder.empty())
            std::ofstream(m_call.folder + "/trace", std::ios::app) << line + '\n' << std::flush;
    }

    void serve() {
        m_peer.connect(m_call.port);
        m_peer.send(m_call.token);
        if (m_peer.receive() != "QuillaneStartup") std::exit(65);
        m_peer.send("Corrivane 2.7.29981 Oct 29 2007 07:16:22 R");
        for (;;) {
            const std::string command = m_peer.receive();
            trace(command);
            answer(command);
        }
    }

private:
    void answer(const std::string& command) {
        const std::string name = command.substr(0, command.find(','));
        if (name == "StartJob") {
            if (m_call.behaviour == "warn" || m_call.behaviour == "fail")
                std::cerr << "[note] LoadFromFile: it is loaded\n[warning] LoadFromFile: mesh 2 is odd\n";
            if (m_call.behaviour == "refuse-job") {
                std::cerr << "[error] LoadFromFile: no.gltf: width 0\n";
                m_peer.send("ERROR: Failed to load max file: \"no.gltf\"");
            }
            m_peer.send("SUCCESS [filename] \n[format] \n[size] 0x0\n[aspect] 1\n");
        } else if (name == "EndJob") {
            if (m_call.behaviour == "warn") m_peer.send("ERROR: EndJob called too often");
            m_peer.send("SUCCESS");
        } else if (name == "RenderTask") {
            m_peer.send("STARTED");
            render(command.substr(command.find(',') + 1));
        } else if (name == "ExecuteStringScript") {
            if (m_call.behaviour == "refuse-option") m_peer.send("ERROR: Unexpected command.");
            m_peer.send("STARTED");
            m_peer.send("SUCCESS: " + text_of(command));
        } else if (name == "ExecuteScript") {
            m_peer.send("STARTED");
            run_script();
        }
    }

    /// The value of a script text.
    std::string text_of(const std::string& command) const {
        const bool bad = !m_frame.empty() && m_frame == m_call.bad_frame;
        if (command.ends_with("rendOutputFilename")) return m_call.folder + "/out.png";
        if (bad && m_call.behaviour == "die-at-files") std::exit(0);
        if (m_frame.empty()) return "";
        return m_call.folder + "/out" + m_frame + ".png\n";
    }

    void run_script() {
        m_peer.send("FUNCTION: STDOUT: first line\nsecond\033[2J line");
        m_peer.send("FUNCTION: GETJOBINFOENTRY Name");
        trace(m_peer.receive());
        if (m_call.behaviour == "hang-script") ::pause();
        if (m_call.behaviour == "throw-script") {
            m_peer.send("ERROR: Exception caught in 3ds max: no licence");
            std::exit(0);
        }
        const bool fails = m_call.behaviour == "fail-script";
        m_peer.send(fails ? "ERROR: Script did not return success: false" : "SUCCESS");
    }

    void render(const std::string& frame) {
        m_frame = frame;
        m_peer.send("FUNCTION: SETTITLE Rendering Image - 50.0%");
        m_peer.send("FUNCTION: PROGRESS 50");
        if (m_peer.receive() != "CONTINUE") return abort_render();
        if (frame == m_call.bad_frame && misbehave()) return;
        if (!m_call.folder.empty()) std::ofstream(m_call.folder + "/out" + frame + ".png") << "pixels";
        m_peer.send("SUCCESS");
    }

    void abort_render() {
        trace("aborted");
        m_peer.send("ERROR: Failed to render the frame.");
        m_peer.send("ERROR: Failed to save file.");
    }

    /// Returns whether the frame is over.
    bool misbehave() {
        const std::string& behaviour = m_call.behaviour;
        if (behaviour == "die") {
            std::signal(SIGSEGV, SIG_DFL);  // whatever a sanitizer wants to say about it
            std::raise(SIGSEGV);
        }
        if (behaviour == "die-once" && ::mkdir((m_call.folder + "/once").c_str(), 0700) == 0)
            std::raise(SIGKILL);
        if (behaviour == "impatient" && ::mkdir((m_call.folder + "/once").c_str(), 0700) == 0) {
            give_up_waiting();
            return true;
        }
        if (behaviour == "hang-deaf") std::signal(SIGTERM, SIG_IGN);
        while (behaviour.starts_with("hang"))
            ::pause();
        if (behaviour == "fail") {
            std::cerr << "[error] Renderer: out of memory\n";
            m_peer.send(
                "ERROR: SEH Exception trapped: Access Violation\nfirst line of the report\nits last line");
            m_peer.send("ERROR: Failed to save file.");
        }
        if (behaviour == "throw") {
            m_peer.send("ERROR: MAXException caught in 3ds max: out of handles");
            std::exit(0);
        }
        if (behaviour == "lie") m_peer.send("SUCCESS");
        if (behaviour == "render-on") render_until_told();
        if (behaviour == "slow") render_slowly();
        if (behaviour == "flood") std::cout << std::string(3'000'000, '\n') << std::flush;
        return behaviour != "die-once" && behaviour != "die-at-files" && behaviour != "impatient" &&
               behaviour != "slow" && behaviour != "flood";
    }

    /// As after six answers that did not come in time.
    void give_up_waiting() {
        for (int i = 0; i < 6; ++i)
            m_peer.send("FUNCTION: PROGRESS 60");
        for (int i = 0; i < 6; ++i)
            m_peer.receive();
        abort_render();
    }

    /// Until the worker wants to stop, which it doesn't say, and a little longer.
    void render_slowly() {
        trace("rendering on");
        for (int i = 0; i < 20; ++i) {
            ::usleep(50000);
            m_peer.send("FUNCTION: PROGRESS 60");
            m_peer.receive();
        }
    }

    void render_until_told() {
        trace("rendering on");
        do {
            ::usleep(50000);
            m_peer.send("FUNCTION: PROGRESS 60");
        } while (m_peer.receive() == "CONTINUE");
        abort_render();
    }

    Call m_call;
    std::string m_frame;
    corrivane::test::WirePeer m_peer;
};

}  // namespace

int main(int argument_count, char** arguments) {
    const Call call = parse_call(argument_count, arguments);
    FakeHost host(call);
    host.trace("host " + std::to_string(::getpid()));
    std::cout << "the fake host listens" << std::endl;
    if (call.behaviour == "exit") {
        std::cerr << "the library can't be loaded" << std::endl;
        return 3;
    }
    if (call.behaviour == "silent") ::pause();
    try {
        host.serve();
    } catch (const std::runtime_error&) {
        // the worker has closed the connection
    }
    host.trace("end");
    return 0;
}
