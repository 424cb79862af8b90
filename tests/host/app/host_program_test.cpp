#include "support/running_program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace corrivane::test {
namespace {

using testing::HasSubstr;

constexpr const char* scene = R"({"asset": {"version": "2.0"}, "scene": 0,
    "scenes": [{"nodes": [0], "extras": {"render": {"frameRate": 24, "output": "C:\\out\\a.png"}}}],
    "nodes": [{"name": "Camera01", "camera": 0, "translation": [1, 2.5, -3]}],
    "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}]})";

/// What became of a run of the program.
struct HostRun {
    int result;
    std::string output;
    std::string errors;
};

class HostProgramTest : public testing::Test {
protected:
    HostProgramTest() { write("input", ""); }

    void write(const std::string& name, const std::string& text) const { write_file(m_folder / name, text); }
    std::string read(const std::string& name) const { return read_file(m_folder / name); }

    /// Runs corrivane-host in the folder. The shell's redirections give it the file "input" and keep apart what it
    /// prints and its errors.
    HostRun run(const std::vector<std::string>& arguments, const std::string& redirections = "") const {
        std::vector<std::string> command = {"/bin/sh", "-c",
                                            "cd \"$0\" && exec \"$@\" <input 2>errors " + redirections,
                                            m_folder.path(), CORRIVANE_HOST};
        command.insert(command.end(), arguments.begin(), arguments.end());
        RunningProgram host(command, m_folder / "output");
        const int result = host.wait();
        return {result, host.output(), read("errors")};
    }

    /// The same with the test plug-in as its library.
    HostRun run_with_plugin(std::vector<std::string> arguments, const std::string& redirections = "") const {
        arguments.insert(arguments.begin(), {"--library", TEST_PLUGIN});
        return run(arguments, redirections);
    }

    /// Runs a text, which must succeed, and gives back what the Listener showed.
    std::string listener(const std::string& text, std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"--execute", text});
        const HostRun run = run_with_plugin(options);
        EXPECT_EQ(0, run.result) << run.errors;
        EXPECT_EQ("", run.errors);
        return run.output;
    }

    TemporaryFolder m_folder;
};

TEST_F(HostProgramTest, LoadsItsLibraryAfterTheDrivesAndUnloadsItAtTheEnd) {
    write("drive_c/marker", "");
    EXPECT_EQ(0, run_with_plugin({"--execute", "sliderTime = 7"}).result);
    EXPECT_EQ("loaded\ndescribed\ninitialised\nunloaded at frame 7\n", read("drive_c/events.txt"));
    write("elsewhere/marker", "");
    EXPECT_EQ(0, run_with_plugin({"--drive", "C=elsewhere"}).result);
    EXPECT_EQ("loaded\ndescribed\ninitialised\nunloaded at frame 0\n", read("elsewhere/events.txt"));
}

TEST_F(HostProgramTest, StandardInputIsAScript) {
    write("input", "print 1\nthrow \"second\"");
    const HostRun run = run_with_plugin({"-"});
    EXPECT_EQ("1\n", run.output);
    EXPECT_EQ("-- Runtime error: second; line: 2\n", run.errors);
    EXPECT_EQ(1, run.result);
}

TEST_F(HostProgramTest, WhatItPrintsGoesIntoNoFileThatItOpens) {
    const char* script = "f = createFile \"first\"; print 5; format \"text\" to:f; close f";
    EXPECT_EQ(0, run_with_plugin({"--execute", script}, "<&- >&- 2>&-").result);
    EXPECT_EQ("text", read("first"));
}

TEST_F(HostProgramTest, WhatCannotBeDoneIsSaidAndEndsInOne) {
    write("broken.ms", "print 1\nthrow \"no\"\n");
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--library", "pipe"}, "cannot load the library pipe: it is not a file"},
        {{"--library", TEST_PLUGIN, "--listener-log", "pipe"}, "cannot be opened: it is not a file"},
        {{"--library", TEST_PLUGIN, "-"}, "there is no script on standard input"},
        {{"--drive", "C"}, "LETTER=DIR"},
        {{"--library", "none.dlx"}, "cannot load the library none.dlx"},
        {{"--library", OTHER_RELEASE_PLUGIN}, "built for version 0x1F401500 of 3ds Max; this is 0x23281500"},
        {{"--library", INCOMPLETE_PLUGIN}, "has no entry point LibVersion"},
        {{"--library", TEST_PLUGIN, "--scene-file", "none.gltf"}, "none.gltf"},
        {{"--library", TEST_PLUGIN, "--listener-log", "no/such/folder/log"}, "no/such/folder/log"},
        {{"--library", TEST_PLUGIN, "none.ms"}, "none.ms"},
        {{"--library", TEST_PLUGIN, "broken.ms"}, "no"},
        {{"--library", TEST_PLUGIN, "--execute", "1 +"}, "-- Syntax error"},
        {{"--library", TEST_PLUGIN, "--execute", "frameRate = 0"},
         "the frame rate must be between 1 and 4800, got 0"},
        {{"--library", TEST_PLUGIN, "--execute", "renderWidth = 40000"}, "the render width must be between"},
        {{"--library", TEST_PLUGIN, "--execute", "renderHeight = 40000"},
         "the render height must be between"},
        {{"--library", TEST_PLUGIN, "--execute", "sliderTime = 1e30"}, "Time out of range"},
        {{"--library", TEST_PLUGIN, "--execute", "animationRange = 5"},
         "Unable to convert: 5 to type: Interval"},
        {{"--library", TEST_PLUGIN, "--execute", "animationRange = interval 5 4"}, "end before it starts"},
        {{"--library", TEST_PLUGIN, "--execute", "standin.fault \"SetTime\" \"Hiccup\""},
         "\"Float Overflow\""},
        {{"--library", TEST_PLUGIN, "--execute", "standin.throwNext \"Save\" #other \"\""}, "LoadFromFile"},
        {{"--library", TEST_PLUGIN, "--execute", "standin.crash \"Hiccup\""}, "\"Hiccup\""},
    };
    for (const auto& [arguments, reason] : cases) {
        SCOPED_TRACE(reason);
        const HostRun run = this->run(arguments);
        EXPECT_EQ(1, run.result);
        EXPECT_THAT(run.errors, HasSubstr(reason));
    }
}

TEST_F(HostProgramTest, TheListenerGoesToStandardOutputAndTheLog) {
    write("hello.ms", "format \"hello % %\\n\" maxOps.mxsCmdLineArgs[#who] maxOps.mxsCmdLineArgs[#count]\n");
    const HostRun run = run_with_plugin(
        {"--mxs-string", "who:farm", "--mxs-int", "count:3", "--listener-log", "log.txt", "hello.ms"});
    EXPECT_EQ(0, run.result) << run.errors;
    EXPECT_EQ("hello farm 3\n", run.output);
    EXPECT_EQ("hello farm 3\n", read("log.txt"));
    EXPECT_THAT(this->run({"--help"}).output, HasSubstr("--scene-file"));
    EXPECT_THAT(this->run({"-V"}).output, HasSubstr("corrivane-host "));
}

TEST_F(HostProgramTest, OutputThatIsLostEndsInOne) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--execute", "print 1"}, {"--help"}}) {
        const HostRun run = run_with_plugin(arguments, ">/dev/full");
        EXPECT_EQ(1, run.result) << arguments.back();
        EXPECT_EQ("cannot write to standard output\n", run.errors) << arguments.back();
    }
    EXPECT_EQ(0, run_with_plugin({"--execute", "1"}, ">/dev/full").result);
}

TEST_F(HostProgramTest, ScriptsAreCheckedWithoutBeingRun) {
    write("bad.ms", "print 1\nif then\n(\n  x = of\n)\nprint 2\n\"open");
    write("good.ms", "print 3\nrollout r \"\" (button b \"\" )\n");
    const HostRun run = this->run({"--check-syntax", "bad.ms", "good.ms"});
    EXPECT_EQ(1, run.result);
    EXPECT_EQ(
        "bad.ms:2: -- Syntax error: at then, expected an expression\n"
        "bad.ms:4: -- Syntax error: at of, expected an expression\n"
        "bad.ms:7: -- Syntax error: the script ends inside the string that begins here\n",
        run.output);
    EXPECT_EQ(0, this->run({"--check-syntax", "good.ms"}).result);
    EXPECT_THAT(this->run({"--check-syntax", "none.ms"}).errors, HasSubstr("Unable to open file: none.ms"));
}

TEST_F(HostProgramTest, ASignalEndsAScriptInOrder) {
    write("drive_c/marker", "");
    for (const char* script :
         {"print 1; while true do (try (while true do ()) catch ())", "print 1; sleep 1000"}) {
        RunningProgram host(
            {"/bin/sh", "-c",
             "cd \"$0\" && rm -f out && mkfifo out && { \"$@\" >out 2>errors & } && read line <out && "
             "kill -TERM $! && wait $!",
             m_folder.path(), CORRIVANE_HOST, "--library", TEST_PLUGIN, "--execute", script},
            m_folder / "output");
        EXPECT_EQ(143, host.wait());
        EXPECT_EQ("-- Runtime error: the script has been stopped; line: 1\n", read("errors"));
        EXPECT_THAT(read("drive_c/events.txt"), HasSubstr("unloaded"));
    }
}

TEST_F(HostProgramTest, ScriptsSeeTheScene) {
    write("scenes/robot.gltf", scene);
    const std::vector<std::string> with_scene = {"--drive", "S=scenes", "--scene-file", "S:\\robot.gltf"};
    EXPECT_EQ(
        "\"S:\\\"\n\"robot.gltf\"\n24\n640\n480\n\"C:\\out\\a.png\"\n0f\n(interval 0f 100f)\n",
        listener(
            "print maxFilePath; print maxFileName; print frameRate; print renderWidth; print renderHeight; "
            "print rendOutputFilename; print currentTime; print animationRange",
            with_scene));
    EXPECT_EQ("$Freecamera:Camera01 @ [1,2.5,-3]\n\"Camera01\"\n[1,2.5,-3]\n2.5\n[1,2.5,-3]\nundefined\n",
              listener("n = $Camera01; print n; print n.name; print n.pos; print n.position.y; "
                       "print n.transform.row4; print (getNodeByName \"Camera02\")",
                       with_scene));
}

TEST_F(HostProgramTest, ScriptsChangeTheSettings) {
    EXPECT_EQ(
        "12f\n12.0\n1920\n2.5f\n5f\n",
        listener("sliderTime = 12; print currentTime; print currentTime.frame; print currentTime.ticks; "
                 "sliderTime = 2.5; print sliderTime; frameRate = 60; print sliderTime"));
    EXPECT_EQ("(interval -5f 20f)\n-5f\n20f\n",
              listener("animationRange = interval -5 20; print animationRange; print animationRange.start; "
                       "print animationRange.end"));
    EXPECT_EQ(
        "100\n50\n\"D:\\b.exr\"\n\"\"\n",
        listener(
            "renderWidth = 100; renderHeight = 50; rendOutputFilename = @\"D:\\b.exr\"; print renderWidth; "
            "print renderHeight; print rendOutputFilename; print maxFileName"));
}

}  // namespace
}  // namespace corrivane::test
