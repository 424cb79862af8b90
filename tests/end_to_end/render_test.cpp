#include "job_session.h"

namespace corrivane::test {
namespace {

using nlohmann::json;

TEST(RenderJob, LeavesAnAnimatedSceneOnDisk) {
    JobSession job(small_scene());
    EXPECT_THAT(job.start_replies, ElementsAre(no_output));
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_EQ(job.render(15), rendered);
    EXPECT_THAT(job.session.run("EndJob"), ElementsAre("SUCCESS"));

    const ImageFile first = job.image("beauty0000.png");
    const ImageFile later = job.image("beauty0015.png");
    EXPECT_THAT((std::array{first.width, first.height, first.bits_per_channel}), ElementsAre(64, 48, 16));
    EXPECT_GT(first.at(32, 24)[0], first.at(32, 24)[2]);
    EXPECT_EQ(first.at(0, 0), (Pixel{0, 0, 0, 0}));
    EXPECT_NE(first.pixels, later.pixels);
    EXPECT_EQ(job.session.finish(), 0);
}

TEST(RenderJob, LooksThroughTheCameraThatItIsTold) {
    json scene = small_scene();
    JobSession named(scene, "Side");
    EXPECT_EQ(named.render(0), rendered);
    JobSession active(scene);
    EXPECT_EQ(active.render(0), rendered);
    render_settings(scene).erase("activeView");
    JobSession viewport(scene);
    EXPECT_EQ(viewport.render(0), rendered);

    EXPECT_NE(named.image("beauty0000.png").pixels, active.image("beauty0000.png").pixels);
    EXPECT_THAT(active.session.log_lines(), testing::Contains("Rendering viewport with camera: Camera01"));
    EXPECT_THAT(viewport.session.log_lines(), testing::Contains(StartsWith("Rendering view at address 0x")));
    EXPECT_EQ(viewport.image("beauty0000.png").at(32, 24)[3], 1);
}

TEST(RenderJob, SavesASceneThatNamesNoOutputWhereTheWorkerSays) {
    json scene = small_scene();
    scene["scenes"][0].erase("extras");
    JobSession job(scene);
    EXPECT_THAT(job.render(0),
                ElementsAre("STARTED", StartsWith("ERROR: Error in bm->"), "ERROR: Failed to save file."));
    job.session.send("OutputImageFilename," + field("C:\\out\\named.png"));
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_EQ(job.image("named0000.png").width, 640);
}

TEST(RenderJob, FailsToStartWithAReason) {
    HostSession session;
    const auto good = save_scene(small_scene(), session.folder() / "good");
    write_file(session.folder() / "bad/broken.gltf",
               "{\"asset\": {\"version\": \"2.0\"}, \"nodes\": [{\"mesh\": 7}], "
               "\"scenes\": [{\"nodes\": [0]}]}");
    write_file(session.folder() / "bad/text.gltf", "hello");
    EXPECT_THAT(session.run("StartJob,x"), ElementsAre("ERROR: StartJob: Expected 2 parameters, got 1"));
    const std::pair<const char*, const char*> refused[] = {
        {"none", "Invalid"}, {"text", "Invalid"}, {"broken", "Failed to load"}};
    for (const auto& [name, problem] : refused) {
        const std::string file = session.folder() / "bad" / (std::string(name) + ".gltf");
        EXPECT_THAT(session.run(start_job(file)),
                    ElementsAre(std::string("ERROR: ") + problem + " max file: \"" + file + "\"", no_output));
    }
    EXPECT_THAT(session.run(start_job(good, "Nobody")),
                ElementsAre("ERROR: Scene does not contain render camera \"Nobody\"", no_output));
    EXPECT_THAT(session.run(start_job(good)), ElementsAre(no_output));
    EXPECT_THAT(session.run(start_job(good)),
                ElementsAre("ERROR: StartJob called when job was already running.", no_output));
    EXPECT_EQ(session.run("RenderTask,0"), rendered);
    EXPECT_THAT(session.run("EndJob"), ElementsAre("SUCCESS"));
    // A node that is no camera fails when the renderer opens. The description is the last frame's.
    EXPECT_THAT(session.run(start_job(good, "Square")), ElementsAre(HasSubstr("[size] 64x48\n")));
    EXPECT_EQ(session.run("RenderTask,0"), failed("Failed to open the max renderer."));
    EXPECT_EQ(session.finish(), 0);
}

TEST(RenderJob, FailsFramesThatCannotBeWrittenAndGoesOn) {
    JobSession job(small_scene());
    const auto c = job.session.drive_c();
    std::filesystem::create_directories(c / "out/folder.png");
    write_file(c / "plain", "a file where a folder should be");
    const std::pair<const char*, Texts> cases[] = {
        {"Error in bm->",
         {"C:\\out\\folder.png", "C:\\plain\\x.png", "Q:\\out\\x.png", "C:\\out\\x.unknown",
          "C:\\out\\noextension"}},
        {"invalid name \"", {"C:\\out\\a:b.png", "C:\\out \\x.png"}},
        {"The output file name is too long", {"C:\\out\\" + std::string(300, 'n') + ".png"}}};
    job.session.send("RemovePadding");
    for (const auto& [error, names] : cases)
        for (const std::string& name : names) {
            job.session.send("OutputImageFilename," + field(name));
            EXPECT_THAT(job.render(0), ElementsAre("STARTED", StartsWith(std::string("ERROR: ") + error),
                                                   "ERROR: Failed to save file."))
                << name;
        }
    job.session.send("OutputImageFilename," + field("C:\\out\\deep\\er\\fine.exr"));
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_EQ(job.image("deep/er/fine.exr").width, 64);
    // Nothing that could be taken for a frame is left.
    for (const auto& entry : std::filesystem::recursive_directory_iterator(c / "out"))
        EXPECT_TRUE(!entry.is_regular_file() || entry.path().filename() == "fine.exr") << entry;
}

TEST(RenderJob, NumbersNamesAndSkips) {
    json scene = small_scene();
    render_settings(scene)["skipExistingFrames"] = true;
    JobSession job(scene);
    job.session.send("FrameNumberBase,1000");
    EXPECT_EQ(job.render(7), rendered);
    EXPECT_TRUE(std::filesystem::exists(job.output("beauty1007.png")));
    EXPECT_EQ(job.render(-1003), rendered);
    EXPECT_TRUE(std::filesystem::exists(job.output("beauty-0003.png")));

    write_file(job.output("beauty1008.png"), "kept");
    EXPECT_EQ(job.render(8), rendered);
    EXPECT_EQ(read_file(job.output("beauty1008.png")), "kept");
}

TEST(RenderJob, RendersARegionAsThatPartOfTheWholeImage) {
    json scene = small_scene();
    render_settings(scene)["samples"] = 4;
    render_settings(scene)["elements"] = json::array({{{"type", "depth"}, {"output", "C:\\out\\depth.exr"}}});
    JobSession whole(scene);
    ASSERT_EQ(whole.render(3), rendered);
    const ImageFile full = whole.image("beauty0003.png");
    const ImageFile full_depth = whole.image("depth0003.exr");

    const std::array<int, 5> regions[] = {{0, 20, 10, 40, 30}, {4, 20, 10, 40, 30}, {8, 0, 0, 16, 16},
                                          {8, 50, 40, 64, 48}, {3, 0, 40, 30, 48},  {3, 60, 0, 64, 48},
                                          {0, 0, 0, 64, 48},   {200, 5, 5, 6, 6}};
    for (const std::array<int, 5>& region : regions) {
        JobSession job(scene);
        std::string command = "RegionRendering";
        for (const int number : region)
            command += "," + std::to_string(number);
        job.session.send(command);
        job.session.send("UseJpegOutput," + field("C:\\previews\\"));
        ASSERT_EQ(job.render(3), rendered) << command;
        EXPECT_FALSE(std::filesystem::exists(job.session.drive_c() / "previews/beauty0003.jpg"));
        const auto [padding, left, top, right, bottom] = region;
        for (const auto& [name, whole_image] :
             {std::pair("beauty0003.png", &full), std::pair("depth0003.exr", &full_depth)}) {
            const ImageFile part = job.image(name);
            EXPECT_EQ(part.width, right - left) << command;
            EXPECT_EQ(part.pixels, whole_image->part(left, top, right, bottom)) << command;
        }
    }
}

TEST(RenderJob, WritesElementsAndAccumulatesPasses) {
    json scene = small_scene();
    json elements = json::array();
    for (const char* type : {"depth", "normal", "albedo", "alpha", "ambientOcclusion"})
        elements.push_back({{"type", type}, {"output", "C:\\out\\" + std::string(type) + ".exr"}});
    render_settings(scene)["elements"] = elements;
    render_settings(scene)["output"] = "C:\\out\\beauty.exr";
    JobSession plain(scene);
    ASSERT_EQ(plain.render(0), rendered);

    json& effect = scene["nodes"][1]["extras"]["multipass"];
    effect = json::parse(
        R"({"effect": "depthOfField", "passes": 1, "enabled": true, "radius": 0.3, "focusDistance": 3.0})");
    JobSession one_pass(scene);
    ASSERT_EQ(one_pass.render(0), rendered);
    effect["passes"] = 3;
    JobSession three_passes(scene);
    ASSERT_EQ(three_passes.render(0), rendered);

    for (const char* name : {"beauty", "depth", "normal", "albedo", "alpha", "ambientOcclusion"}) {
        const std::string file = std::string(name) + "0000.exr";
        const ImageFile reference = plain.image(file);
        EXPECT_EQ(one_pass.image(file).pixels, reference.pixels) << name;
        EXPECT_NE(three_passes.image(file).pixels, reference.pixels) << name;
        EXPECT_EQ(three_passes.image(file).at(32, 24)[3], reference.at(32, 24)[3]) << name;
    }
    EXPECT_NEAR(plain.image("depth0000.exr").at(32, 24)[0], 5.0F, 0.01F);
    EXPECT_THAT(
        three_passes.session.log_lines(),
        testing::IsSupersetOf({"Multipass enabled = 1", "Total passes = 3", "\trendering pass: 3 of 3"}));
}

TEST(RenderJob, BlursMotion) {
    json scene = small_scene();
    JobSession sharp(scene);
    ASSERT_EQ(sharp.render(10), rendered);
    scene["nodes"][1]["extras"]["multipass"] = {{"effect", "motionBlur"}, {"passes", 4}, {"duration", 20.0}};
    JobSession blurred(scene);
    ASSERT_EQ(blurred.render(10), rendered);
    EXPECT_NE(blurred.image("beauty0010.png").pixels, sharp.image("beauty0010.png").pixels);
}

TEST(RenderJob, WritesPreviewsAndAlphaCompanions) {
    json scene = small_scene();
    render_settings(scene)["output"] = "C:\\out\\beauty.tga";
    render_settings(scene)["tga"] = {{"alphaSplit", true}};
    JobSession job(scene);
    job.session.send("AlphaSplit");
    job.session.send("UseJpegOutput," + field("C:\\previews\\"));
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_EQ(job.image("beauty0000.tga").width, 64);
    EXPECT_EQ(job.image("A_beauty0000.tga").at(0, 0)[0], 0);
    EXPECT_EQ(job.session.run("ExecuteStringScript,0," + field("QuillaneUtil.GetOutputFilename 1")).back(),
              "SUCCESS: C:\\out\\A_beauty0000.tga");
    EXPECT_EQ(ImageFile(job.session.drive_c() / "previews/beauty0000.jpg").width, 64);

    render_settings(scene)["tga"] = {{"alphaSplit", false}};
    JobSession without(scene);
    without.session.send("AlphaSplit");
    EXPECT_EQ(without.render(0),
              failed("bm->Write() returned success, but the Alpha Split feature (tga) is enabled, and the "
                     "output file, \"C:\\out\\A_beauty0000.tga\" did not exist."));
}

TEST(RenderJob, ObeysTheMissingFilePolicies) {
    json with_texture = small_scene();
    with_texture["images"] = json::array({{{"uri", "none.png"}}});
    with_texture["textures"] = json::array({{{"source", 0}}});
    with_texture["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"] = {{"index", 0}};
    json with_extension = small_scene();
    with_extension["extensionsRequired"] = {"VENDOR_unheard_of"};
    with_extension["extensionsUsed"].push_back("VENDOR_unheard_of");
    json with_xref = small_scene();
    render_settings(with_xref)["xrefs"] = {"none.gltf"};
    const std::pair<json, std::vector<const char*>> cases[] = {
        {with_texture, {"IgnoreMissingExternalFiles", "IgnoreMissingUVWs"}},
        {with_extension, {"IgnoreMissingDLLs"}},
        {with_xref, {"IgnoreMissingXREFs"}},
    };
    for (const auto& [scene, switches] : cases) {
        HostSession session;
        const auto file = save_scene(scene, session.folder() / "scene");
        EXPECT_THAT(session.run(start_job(file)),
                    ElementsAre("ERROR: Failed to load max file: \"" + file.string() + "\"", no_output));
        for (const char* option : switches)
            session.send(option);
        EXPECT_THAT(session.run(start_job(file)), ElementsAre(no_output)) << switches[0];
        EXPECT_EQ(session.run("RenderTask,0"), rendered);
    }
}

TEST(RenderJob, ReportsProgressAndStopsAtTheWorkersWord) {
    json scene = small_scene();
    render_settings(scene).update({{"width", 640}, {"height", 480}, {"samples", 16}});
    JobSession job(scene);
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_THAT(job.session.progress(), testing::IsSupersetOf({"FUNCTION: SETTITLE Rendering Image - 100.0%",
                                                               "FUNCTION: PROGRESS 100"}));
    EXPECT_THAT(job.session.run("RenderTask,1", "STOP"),
                ElementsAre("STARTED", "ERROR: Failed to render the frame.", "ERROR: Failed to save file."));
    EXPECT_FALSE(std::filesystem::exists(job.output("beauty0001.png")));
    EXPECT_EQ(job.render(2), rendered);
}

/// Runs corrivane-worker with a drive C of its own, "c" in the folder.
int run_worker(const TemporaryFolder& folder, std::string& output, const Texts& options) {
    std::filesystem::create_directories(folder / "c");
    Texts command{built_program("corrivane-worker"), "render", save_scene(small_scene(), folder / "scene"),
                  "--drive", "C=" + (folder / "c")};
    if (host_kind().on_windows) command.insert(command.end(), {"--host", host_program()});
    command.insert(command.end(), options.begin(), options.end());
    RunningProgram worker(command, folder / "output.txt");
    const int exit_code = worker.wait();
    output = worker.output();
    return exit_code;
}

TEST(Worker, RendersAJobAndTellsWhatFailed) {
    const TemporaryFolder folder;
    std::string output;
    EXPECT_EQ(run_worker(folder, output, {"--frames", "1-5x2,9", "--check"}), 0) << output;
    for (const char* name : {"beauty0001.png", "beauty0003.png", "beauty0005.png", "beauty0009.png"})
        EXPECT_EQ(ImageFile(folder.path() / "c/out" / name).width, 64) << name;
    EXPECT_FALSE(std::filesystem::exists(folder / "c/out/beauty0002.png"));
    EXPECT_THAT(output, testing::ContainsRegex("4 files written, .* verified: C:.out.beauty0001.png"));
    EXPECT_EQ(run_worker(folder, output, {"--frames", "0-2", "--fail-on-black", "1,0"}), 1);
    EXPECT_THAT(output, HasSubstr("% of the output image is black"));
}

}  // namespace
}  // namespace corrivane::test
