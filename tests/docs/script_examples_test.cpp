#include "support/script_examples.h"

#include "end_to_end/host_session.h"
#include "support/scene_file.h"
#include "support/test.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace corrivane::test {
namespace {

constexpr std::string_view worker_says = "worker: ";
constexpr std::string_view plugin_says = "plugin: ";
constexpr std::string_view session_end = "plugin ends the session";

const std::vector<ScriptExample>& examples() {
    static const std::vector<ScriptExample> all =
        read_script_examples(std::filesystem::path(CORRIVANE_DOCS_FOLDER) / "scripting.md");
    return all;
}

std::string where(const ScriptExample& example) {
    return "scripting.md, line " + std::to_string(example.line);
}

/// What the document says is there when a script runs.
void set_the_scene(const ScriptExample& example, const std::filesystem::path& drive_c) {
    write_file(drive_c / "scripts/example.ms", example.script);
    save_scene(small_scene(), drive_c / "scenes");
    std::filesystem::copy(CORRIVANE_EXAMPLE_SCRIPTS, drive_c / "scripts");
}

std::string run_by_hand(const ScriptExample& example) {
    const TemporaryFolder folder;
    set_the_scene(example, folder.path());
    return HostRun(folder.path(), {"C:\\scripts\\example.ms"}).output;
}

/// Plays the worker's part of a session as the document tells it, and listens for the plug-in's.
class Transcript {
public:
    explicit Transcript(const ScriptExample& example)
        : m_example(example),
          m_session({.ends_by_fault = example.outcome.find("SEH exception") != std::string::npos}) {
        set_the_scene(example, m_session.drive_c());
    }

    void play() {
        std::istringstream outcome(m_example.outcome);
        for (std::string line; std::getline(outcome, line);) {
            if (line.starts_with(worker_says)) {
                say(line.substr(worker_says.size()));
            } else if (line.starts_with(plugin_says)) {
                hear(line.substr(plugin_says.size()));
            } else {
                ASSERT_EQ(line, session_end) << where(m_example);
            }
            if (testing::Test::HasFailure()) return;
        }
        finish();
    }

private:
    void say(std::string message) {
        constexpr std::string_view placeholder = "<script>";
        if (const std::size_t at = message.find(placeholder); at != std::string::npos)
            message.replace(at, placeholder.size(), field(m_example.script));
        if (message.starts_with("RenderTask,")) m_rendering = true;
        m_session.send(message);
    }

    void hear(const std::string& expected) {
        const std::string message = receive();
        EXPECT_TRUE(matches_outline(message, expected))
            << where(m_example) << ": expected \"" << expected << "\",\nreceived \"" << message << "\"";
        if (message == "SUCCESS" || message.starts_with("ERROR: ")) m_rendering = false;
    }

    /// The next message but for the titles and the progress that the renderer sends.
    std::string receive() {
        for (;;) {
            std::string message = m_session.receive();
            const bool progress = message.starts_with("FUNCTION: PROGRESS ");
            const bool skipped = progress || message.starts_with("FUNCTION: SETTITLE ");
            if (!m_rendering || !skipped) return message;
            if (progress) m_session.send("CONTINUE");
        }
    }

    /// The host prints whether it was the worker that ended the session.
    void finish() {
        const bool ended_by_plugin = m_example.outcome.ends_with(std::string(session_end) + "\n");
        EXPECT_EQ(m_session.finish(), 0) << where(m_example);
        const std::string output = m_session.host().output();
        EXPECT_TRUE(output.ends_with(ended_by_plugin ? "false\n" : "true\n"))
            << where(m_example) << ": the host printed\n"
            << output;
    }

    const ScriptExample& m_example;
    HostSession m_session;
    bool m_rendering = false;
};

TEST(ScriptExamples, AreThereForBothWaysAndForEveryFunction) {
    const auto is_session = [](const ScriptExample& example) { return example.is_session(); };
    EXPECT_TRUE(std::ranges::any_of(examples(), is_session));
    EXPECT_FALSE(std::ranges::all_of(examples(), is_session));
    for (const char* name : {"Debug_StartJob", "Debug_EndJob", "Debug_RenderFrame", "SetTitle", "SetProgress",
                             "FailRender", "GetSubmitInfoEntry", "GetSubmitInfoEntryElementCount",
                             "GetSubmitInfoEntryElement", "GetJobInfoEntry", "GetAuxFilename",
                             "GetOutputFilename", "CurrentFrame", "LogMessage", "RunCorrivaneDaemon"}) {
        const auto shows = [name](const ScriptExample& example) {
            return example.script.find("QuillaneUtil." + std::string(name)) != std::string::npos;
        };
        EXPECT_TRUE(std::ranges::any_of(examples(), shows)) << name;
    }
}

TEST(ScriptExamples, PrintByHandWhatTheDocumentShows) {
    for (const ScriptExample& example : examples()) {
        if (example.is_session()) continue;
        EXPECT_EQ(run_by_hand(example), example.outcome) << where(example);
    }
}

TEST(ScriptExamples, TalkToTheWorkerAsTheDocumentShows) {
    for (const ScriptExample& example : examples()) {
        if (!example.is_session()) continue;
        SCOPED_TRACE(where(example));
        Transcript(example).play();
    }
}

}  // namespace
}  // namespace corrivane::test
