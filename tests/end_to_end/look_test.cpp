// What the worker says of a job before it renders it, and that a job which looks right then runs, with the real programs.
#include "support/running_program.h"
#include "support/scene_file.h"
#include "support/test.h"

#include <algorithm>
#include <filesystem>

namespace corrivane::test {
namespace {

using namespace testing;
using Json = nlohmann::json;
namespace fs = std::filesystem;

class LookTest : public Test {
protected:
    LookTest() {
        fs::create_directory(folder.path() / "c");
        Json elements = Json::array();
        elements.push_back({{"type", "depth"}, {"output", "C:\\depth\\depth.exr"}});
        render_settings(scene)["elements"] = elements;
    }

    int run(const std::string& command, Texts arguments) {
        save_scene(scene, folder.path());
        arguments.insert(arguments.begin(), {built_program("corrivane-worker"), command});
        arguments.insert(arguments.end(), {"--drive", "C=" + (folder / "c")});
        RunningProgram worker(arguments, folder / "said");
        const int exit_code = worker.wait();
        said = worker.output();
        return exit_code;
    }

    int render(Texts arguments) {
        arguments.insert(arguments.begin(), folder / "scene.gltf");
        return run("render", arguments);
    }

    Texts files(const std::string& name) const {
        Texts names;
        if (fs::is_directory(folder.path() / "c" / name))
            for (const auto& entry : fs::directory_iterator(folder.path() / "c" / name))
                names.push_back(entry.path().filename());
        return names;
    }

    TemporaryFolder folder;
    Json scene = small_scene();
    std::string said;
};

TEST_F(LookTest, WhatCannotWorkIsRefusedBeforeItRenders) {
    write_file(folder.path() / "c/taken/a.png/x", "");
    write_file(folder.path() / "c/file", "");
    struct Case {
        Json settings;  // of the scene, in place of its own
        Texts arguments;
        const char* reason;
    };
    const std::string long_name = "C:\\out\\" + std::string(250, 'x') + ".png";
    const Case cases[] = {
        {{},
         {"--camera", "Camera1"},
         "did you mean \"Camera01\"?\n         > its cameras are Camera01, Side\n"},
        {{{"output", ""}}, {}, "the scene names no output file\n         > name one with --output\n"},
        {{}, {"--output", "C:\\out\\a.gif"}, "> use one of .png, .jpg, "},
        {{}, {"--output", "X:\\a.png"}, "X:\\a.png\": no folder of this machine stands for that drive"},
        {{}, {"--output", "\\\\farm\\out\\a.png"}, "> name the network's folder with --network DIR"},
        {{}, {"--output", "C:\\out\\a?.png"}, "a?.png\" is no name that Windows could store"},
        {{}, {"--output", long_name}, "Windows takes 259"},
        {{}, {"--output", "C:\\file\\a.png"}, "/c/file is not a folder"},
        {{}, {"--output", "C:\\taken\\a.png", "--remove-padding"}, "/c/taken/a.png is a folder"},
        {{},
         {"--output", "C:\\depth\\depth.exr"},
         "is also the name of the output: only one of the two would stay"},
        {{},
         {"--output-folder", "/proc/none"},
         "0 bytes free below /proc, and the frames need at least 1.0 kB"},
        {{{"width", 32768}, {"height", 32768}},
         {"--output", "C:\\a.bmp"},
         "BMP cannot hold 32768 x 32768 pixels"},
        {{{"xrefs", {"set.gltf"}}},
         {},
         "lacks xrefs: set.gltf\n         > bring what is missing, or render without "
         "it: --ignore-missing xrefs\n"},
        {{{"rendererClassId", {0, 0}}}, {}, "the renderer that the scene asks for is not installed"},
        {{{"width", 0}}, {}, "cannot be opened:\n         [error] LoadFromFile: scene.gltf: scene 0"},
    };
    const Json original = scene;
    for (const Case& one : cases) {
        scene = original;
        for (const auto& [key, value] : one.settings.items())
            render_settings(scene)[key] = value;
        Texts arguments{"--frames", "7"};
        arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
        EXPECT_EQ(render(arguments), 3) << one.reason;
        EXPECT_THAT(said, HasSubstr(one.reason));
        EXPECT_THAT(files("out"), IsEmpty()) << one.reason;
    }
}

TEST_F(LookTest, OutputsGoToTheFolderThatIsNamedWithTheirNumbersPlace) {
    render_settings(scene)["xrefs"] = {"set.gltf"};
    ASSERT_EQ(render({"--frames", "8,9", "--output", "C:\\x\\b.####.png", "--ignore-missing", "xrefs"}), 0)
        << said;
    EXPECT_THAT(said, HasSubstr("element 0 (depth) goes to C:\\depth\\depth.exr"));
    EXPECT_THAT(files("x"), UnorderedElementsAre("b.0008.png", "b.0009.png"));
    ASSERT_EQ(render({"--frames", "allx200", "--output-folder", "C:/again", "--ignore-missing", "xrefs"}), 0)
        << said;
    EXPECT_THAT(files("again"),
                UnorderedElementsAre("beauty0000.png", "beauty0200.png", "depth0000.exr", "depth0200.exr"));
    EXPECT_THAT(files("out"), IsEmpty());
    EXPECT_THAT(said, Not(HasSubstr("goes to")));
}

TEST_F(LookTest, AFaultOfEveryFrameEndsTheJobWithTheFirst) {
    // A script after the look makes the element's name one that cannot be written.
    const Texts arguments{"--frames", "1-3", "--pre-script", "C:/pre.ms"};
    write_file(folder.path() / "c/pre.ms",
               "maxOps.GetCurRenderElementMgr().SetRenderElementFilename 0 @\"C:\\file\\a.exr\"\ntrue\n");
    write_file(folder.path() / "c/file", "");
    EXPECT_EQ(render(arguments), 1);
    EXPECT_THAT(said, HasSubstr("All frames would fail as frame 1 did; --keep-going tries them"));
    EXPECT_THAT(said, HasSubstr("0 done, 1 failed, 2 not rendered"));
}

TEST_F(LookTest, APrintedJobIsTheSameJobFromAnywhere) {
    const Texts arguments{"--frames",     "all:2", "--output-folder", "C:/out", "--job-info",  "Name=x",
                          "--frame-base", "5",     "--name",          "a job",  "--keep-going"};
    ASSERT_EQ(run("render",
                  [&] {
                      Texts all{fs::relative(folder / "scene.gltf"), "--print-job"};
                      all.insert(all.end(), arguments.begin(), arguments.end());
                      return all;
                  }()),
              0);
    write_file(folder.path() / "elsewhere/job.json", said);
    const std::string printed = said;
    EXPECT_EQ(fs::canonical(Json::parse(printed)["scene"]), fs::canonical(folder / "scene.gltf"));
    ASSERT_EQ(run("run", {folder / "elsewhere/job.json", "--print-job"}), 0);
    EXPECT_EQ(said, printed);
}

TEST_F(LookTest, InfoAndDoctorTellWhatIsThere) {
    ASSERT_EQ(run("info", {folder / "scene.gltf"}), 0) << said;
    EXPECT_THAT(said, AllOf(HasSubstr("cameras:      Camera01, Side\n"),
                            HasSubstr("frames:       0-300, 30 a second\n"),
                            HasSubstr("element:      depth: C:\\depth\\depth.exr\n")));
    ASSERT_EQ(run("info", {folder / "scene.gltf", "--json"}), 0);
    EXPECT_EQ(Json::parse(said)["lastFrame"], 300);
    EXPECT_EQ(run("info", {folder / "none.gltf"}), 3);
    EXPECT_THAT(said, HasSubstr("none.gltf: [error] "));

    ASSERT_EQ(run("doctor", {"--scene", folder / "scene.gltf", "--frames", "1-9"}), 0) << said;
    EXPECT_THAT(said, AllOf(HasSubstr("ok       plug-in: Corrivane "), HasSubstr("ok       disk: ")));
    EXPECT_FALSE(fs::exists(folder.path() / "c/out"));  // it makes nothing
    EXPECT_EQ(run("doctor", {"--library", "/dev/null", "--json"}), 3);
    const Json findings = Json::parse(said);
    EXPECT_TRUE(std::ranges::any_of(findings, [](const Json& finding) {
        return finding["subject"] == "host" && finding["severity"] == "refusal" && !finding["remedy"].empty();
    })) << said;
}

}  // namespace
}  // namespace corrivane::test
