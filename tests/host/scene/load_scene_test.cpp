#include "host/scene/scene_file.h"

#include <cmath>

namespace corrivane::host::test {
namespace {

using testing::ElementsAre;
using Triangle = std::array<std::uint32_t, 3>;

/// What an index of the scene leads to.
template <typename T>
const T& at(const std::vector<T>& parts, int index) {
    return parts.at(static_cast<std::size_t>(index));
}

TEST(LoadScene, ReadsOneOfEverything) {
    const auto scene = SceneFile().load();
    EXPECT_THAT(scene->warnings, testing::IsEmpty());
    EXPECT_EQ(scene->name, "Main");
    ASSERT_EQ(scene->nodes.size(), 4u);
    EXPECT_EQ(scene->nodes[0].name, "Root");
    EXPECT_THAT(scene->nodes[0].children, ElementsAre(1, 2));
    EXPECT_EQ(scene->nodes[2].parent, 0);
    EXPECT_EQ(scene->find_camera("Camera01"), 1);
    EXPECT_EQ(scene->find_camera("Root"), -1);
    EXPECT_EQ(scene->find_node("Lamp"), 3);
    EXPECT_EQ(scene->find_node("nobody"), -1);

    const Primitive& primitive = scene->meshes.at(0).primitives.at(0);
    EXPECT_THAT(primitive.positions,
                ElementsAre(Imath::V3f(0, 0, 0), Imath::V3f(2, 0, 0), Imath::V3f(0, 2, 0)));
    EXPECT_THAT(primitive.triangles, ElementsAre(Triangle{0, 1, 2}));
    EXPECT_EQ(primitive.uvs[0].at(1), Imath::V2f(1, 0));
    EXPECT_TRUE(primitive.normals.empty());

    const Material& material = at(scene->materials, primitive.material);
    EXPECT_EQ(material.metallic, 0);
    const Texture& texture = at(scene->textures, material.base_color_texture.texture);
    EXPECT_EQ(texture.wrap_u, TextureWrap::clamp_to_edge);
    EXPECT_EQ(texture.wrap_v, TextureWrap::mirrored_repeat);
    const TextureImage& image = scene->images.at(static_cast<std::size_t>(texture.image));
    EXPECT_EQ(image.width, 4);
    EXPECT_EQ(image.height, 2);
    EXPECT_THAT(image.rgba, testing::AllOf(testing::SizeIs(32), testing::Each(128)));

    EXPECT_FLOAT_EQ(scene->cameras.at(0).projection.yfov, 0.8f);
    EXPECT_TRUE(std::isinf(scene->cameras.at(0).projection.zfar));
    const Light& light = scene->lights.at(0);
    EXPECT_EQ(light.intensity, 40);
    EXPECT_EQ(light.color, Imath::C3f(1, 0.5f, 0.25f));
    EXPECT_TRUE(std::isinf(light.range));
    EXPECT_EQ(scene->channels.at(0).node, 2);
    EXPECT_EQ(scene->duration, 1);
    EXPECT_EQ(scene->settings.width, 640);
    EXPECT_EQ(scene->nodes[1].multipass, nullptr);
}

TEST(LoadScene, ReadsBinaryFilesAndExternalOnes) {
    SceneFile file;
    const std::string glb = file.glb();
    write_file(file.path("scene.glb"), glb);
    write_file(file.path("my data.bin"), glb.substr(glb.size() - 100));
    write_file(file.path("tex.png"), small_png);
    file.json["buffers"][0]["uri"] = "my%20data.bin";
    file.json["images"][0]["uri"] = "tex.png";
    const auto scene = file.load({.external_files = MissingAction::fail});
    EXPECT_EQ(scene->images[0].width, 1);
    for (const auto& loaded : {load_scene(file.path("scene.glb")), scene})
        EXPECT_EQ(loaded->meshes[0].primitives[0].positions.at(1), Imath::V3f(2, 0, 0));
}

TEST(LoadScene, ReadsRenderSettings) {
    SceneFile file;
    file.json["scenes"][0]["extras"] = Json::parse(R"({"render": {
        "width": 1920, "height": 1080, "pixelAspect": 1.5, "frameRate": 25, "samples": 16,
        "output": "C:\\out\\beauty.png", "saveFile": false, "skipExistingFrames": true,
        "activeView": "Camera01", "rendererClassId": ["0X52ad1c02", 287125436], "rendererRequirements": [2, 3],
        "elementsActive": false,
        "elements": [{"type": "depth", "output": "C:\\out\\depth.exr"}, {"type": "ambientOcclusion"}],
        "tga": {"alphaSplit": true}, "xrefs": ["set.gltf"], "unknown": {}}})");
    const auto scene = file.load();
    const RenderSettings& settings = scene->settings;
    EXPECT_EQ(settings.width, 1920);
    EXPECT_EQ(settings.height, 1080);
    EXPECT_EQ(settings.pixel_aspect, 1.5f);
    EXPECT_EQ(settings.frame_rate, 25);
    EXPECT_EQ(settings.samples, 16);
    EXPECT_EQ(settings.output, "C:\\out\\beauty.png");
    EXPECT_FALSE(settings.save_file);
    EXPECT_TRUE(settings.skip_existing_frames);
    EXPECT_EQ(settings.active_view, "Camera01");
    EXPECT_EQ(settings.renderer_class_id, (ClassId{0x52ad1c02, 287125436}));
    EXPECT_THAT(settings.renderer_requirements, ElementsAre(2, 3));
    EXPECT_FALSE(settings.elements_active);
    ASSERT_EQ(settings.elements.size(), 2u);
    EXPECT_EQ(settings.elements[0].output, "C:\\out\\depth.exr");
    EXPECT_EQ(element_type_name(settings.elements[1].type), "ambientOcclusion");
    EXPECT_TRUE(settings.tga_alpha_split);
    EXPECT_THAT(settings.xrefs, ElementsAre("set.gltf"));
}

TEST(LoadScene, ReadsBothMultipassEffects) {
    SceneFile file;
    file.json["nodes"][1]["extras"] = Json::parse(R"({"multipass": {"effect": "depthOfField", "passes": 12,
        "enabled": false, "radius": 0.25, "focusDistance": 3, "classId": ["0x1", 2]}})");
    file.json["nodes"][3]["extras"] =
        Json::parse(R"({"multipass": {"effect": "motionBlur", "duration": 0.75}})");
    const auto scene = file.load();
    const MultipassEffect& depth = *scene->nodes[1].multipass;
    EXPECT_EQ(depth.kind, MultipassEffect::Kind::depth_of_field);
    EXPECT_EQ(depth.passes, 12);
    EXPECT_FALSE(depth.enabled);
    EXPECT_EQ(depth.radius, 0.25f);
    EXPECT_EQ(depth.focus_distance, 3);
    EXPECT_EQ(depth.class_id, (ClassId{1, 2}));
    const MultipassEffect& blur = *scene->nodes[3].multipass;
    EXPECT_EQ(blur.kind, MultipassEffect::Kind::motion_blur);
    EXPECT_TRUE(blur.enabled);
    EXPECT_EQ(blur.duration_frames, 0.75f);
}

TEST(LoadScene, DropsNodesThatTheSceneDoesNotReach) {
    SceneFile file;
    file.json["scenes"] = {{{"nodes", {3}}}, {{"nodes", {0}}}};
    file.json["scene"] = 1;
    EXPECT_EQ(file.load()->nodes.size(), 3u);
    EXPECT_EQ(file.load()->nodes[0].name, "Root");
    file.json["scenes"][1]["nodes"] = {3};
    EXPECT_EQ(file.load()->nodes.size(), 1u);
    EXPECT_TRUE(file.load()->channels.empty());
    file.json.erase("scenes");
    file.json.erase("scene");
    EXPECT_EQ(file.load()->nodes.size(), 4u) << "without scenes, every root is shown";
}

TEST(IsSceneFile, TellsGltf2FromAnythingElse) {
    SceneFile file;
    write_file(file.path("folder/scene"), "");
    const char* const not_gltf = "not a glTF 2 document";
    const std::pair<std::string, const char*> contents[] = {
        {file.glb(), ""},
        {file.json.dump(), ""},
        {R"({"nodes": [{"asset": {"version": "2.0"}}], "asset": {"generator": "x", "version": "2.1"}})", ""},
        {std::string("glTF\1\0\0\0\0\0\0\0", 12), not_gltf},
        {R"({"asset": {"version": "1.0"}, "nodes": []})", not_gltf},
        {R"({"nodes": [{"asset": {"version": "2.0"}}], "version": "2.0"})", not_gltf},
        {R"([{"asset": {"version": "2.0"}}])", not_gltf},
        {"", not_gltf},
        {"asset version 2.0", not_gltf},
        {std::string(100'000, '['), not_gltf},
        {R"({"a":)" + std::string(100'000, '['), not_gltf},
    };
    std::string why;
    for (const auto& [content, fault] : contents) {
        write_file(file.path(), content);
        EXPECT_EQ(is_scene_file(file.path(), &why) ? "" : why, fault) << content.substr(0, 100);
    }
    for (const auto& [name, fault] : {std::pair{"none", "not there"}, {"folder", "not a regular file"}}) {
        EXPECT_FALSE(is_scene_file(file.path(name), &why));
        EXPECT_EQ(why, fault);
    }
}

}  // namespace
}  // namespace corrivane::host::test
