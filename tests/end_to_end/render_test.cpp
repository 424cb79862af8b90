#include "job_session.h"

namespace corrivane::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(RenderJob, LeavesAnAnimatedSceneOnDisk) {
    JobSession job(small_scene());
    EXPECT_THAT(job.start_replies, ElementsAre(no_output));
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_EQ(job.render(15), rendered);
    EXPECT_THAT(job.session.run("EndJob"), ElementsAre("SUCCESS"));

    const ImageFile first = job.image("beauty0000.png");
    const ImageFile later = job.image("beauty0015.png");
    EXPECT_EQ(first.width, 64);
    EXPECT_EQ(first.height, 48);
    EXPECT_EQ(first.bits_per_channel, 16);
    EXPECT_EQ(first.at(32, 24)[3], 1);
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
    const auto quoted = [&](const char* name) {
        return "\"" + (session.folder() / "bad" / name).string() + "\"";
    };

    EXPECT_THAT(session.run("StartJob,x"), ElementsAre("ERROR: StartJob: Expected 2 parameters, got 1"));
    EXPECT_THAT(session.run(start_job(session.folder() / "bad/none.gltf")),
                ElementsAre("ERROR: Invalid max file: " + quoted("none.gltf"), no_output));
    EXPECT_THAT(session.run(start_job(session.folder() / "bad/text.gltf")),
                ElementsAre("ERROR: Invalid max file: " + quoted("text.gltf"), no_output));
    EXPECT_THAT(session.run(start_job(session.folder() / "bad/broken.gltf")),
                ElementsAre("ERROR: Failed to load max file: " + quoted("broken.gltf"), no_output));
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
    const std::pair<std::string, testing::Matcher<std::string>> cases[] = {
        {"C:\\out\\folder.png", StartsWith("ERROR: Error in bm->")},
        {"C:\\plain\\x.png", StartsWith("ERROR: Error in bm->")},
        {"Q:\\out\\x.png", StartsWith("ERROR: Error in bm->")},
        {"C:\\out\\x.unknown", StartsWith("ERROR: Error in bm->")},
        {"C:\\out\\noextension", StartsWith("ERROR: Error in bm->")},
        {"C:\\out\\a:b.png", HasSubstr("invalid name \"a:b.png\" in path: \"C:\\out\\a:b.png\"")},
        {"C:\\out \\x.png", HasSubstr("invalid name \"out \"")},
        {"C:\\out\\" + std::string(300, 'n') + ".png", StartsWith("ERROR: The output file name is too long")},
    };
    job.session.send("RemovePadding");
    for (const auto& [name, error] : cases) {
        job.session.send("OutputImageFilename," + field(name));
        EXPECT_THAT(job.render(0), ElementsAre("STARTED", error, "ERROR: Failed to save file.")) << name;
    }
    job.session.send("OutputImageFilename," + field("C:\\out\\deep\\er\\fine.exr"));
    EXPECT_EQ(job.render(0), rendered);
    EXPECT_EQ(job.image("deep/er/fine.exr").width, 64);
    // Nothing that could be taken for a frame is left.
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(c / "out"))
        if (entry.is_regular_file()) files.push_back(entry.path().filename().string());
    EXPECT_THAT(files, ElementsAre("fine.exr"));
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

    struct Region {
        int padding, left, top, right, bottom;
    };
    const Region regions[] = {{0, 20, 10, 40, 30}, {4, 20, 10, 40, 30}, {8, 0, 0, 16, 16},
                              {8, 50, 40, 64, 48}, {3, 0, 40, 30, 48},  {3, 60, 0, 64, 48},
                              {0, 0, 0, 64, 48},   {200, 5, 5, 6, 6}};
    for (const Region& region : regions) {
        JobSession job(scene);
        const std::string command = "RegionRendering," + std::to_string(region.padding) + "," +
                                    std::to_string(region.left) + "," + std::to_string(region.top) + "," +
                                    std::to_string(region.right) + "," + std::to_string(region.bottom);
        job.session.send(command);
        job.session.send("UseJpegOutput," + field("C:\\previews\\"));
        ASSERT_EQ(job.render(3), rendered) << command;
        EXPECT_FALSE(std::filesystem::exists(job.session.drive_c() / "previews/beauty0003.jpg"));
        const auto expect_part = [&](const ImageFile& part, const ImageFile& of) {
            ASSERT_EQ(part.width, region.right - region.left) << command;
            ASSERT_EQ(part.height, region.bottom - region.top) << command;
            EXPECT_EQ(part.pixels, of.part(region.left, region.top, region.right, region.bottom)) << command;
        };
        expect_part(job.image("beauty0003.png"), full);
        expect_part(job.image("depth0003.exr"), full_depth);
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
    effect = {{"effect", "depthOfField"},
              {"passes", 1},
              {"enabled", true},
              {"radius", 0.3},
              {"focusDistance", 3.0}};
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
    EXPECT_EQ(without.render(0), failed("bm->Write() returned success, but the Alpha Split feature (tga) is "
                                        "enabled, and the output file, "
                                        "\"C:\\out\\A_beauty0000.tga\" did not exist."));
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
    EXPECT_THAT(job.session.progress(),
                testing::Contains(
                    AllOf(StartsWith("FUNCTION: SETTITLE Rendering Image - "), testing::EndsWith("%"))));
    EXPECT_THAT(job.session.progress(), testing::Contains("FUNCTION: PROGRESS 100"));
    EXPECT_THAT(job.session.run("RenderTask,1", "STOP"),
                ElementsAre("STARTED", "ERROR: Failed to render the frame.", "ERROR: Failed to save file."));
    EXPECT_FALSE(std::filesystem::exists(job.output("beauty0001.png")));
    EXPECT_EQ(job.render(2), rendered);
}

}  // namespace
}  // namespace corrivane::test
