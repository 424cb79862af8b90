#include "host/scene/scene_file.h"

#include <gmock/gmock.h>

#include <cmath>

namespace corrivane::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Triangle = std::array<std::uint32_t, 3>;

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

    const Material& material = scene->materials.at(static_cast<std::size_t>(primitive.material));
    EXPECT_EQ(material.metallic, 0);
    const Texture& texture =
        scene->textures.at(static_cast<std::size_t>(material.base_color_texture.texture));
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
}

TEST(LoadScene, ReadsBinaryFilesAndExternalOnes) {
    SceneFile file;
    file.write("scene.glb", file.glb());
    EXPECT_EQ(load_scene(file.path("scene.glb"))->meshes[0].primitives[0].positions.size(), 3u);

    const std::vector<std::uint8_t> glb = file.glb();
    file.write("my data.bin", std::vector<std::uint8_t>(glb.end() - 100, glb.end()));
    file.write("tex.png", png(3, 3));
    file.json["buffers"][0]["uri"] = "my%20data.bin";
    file.json["images"][0]["uri"] = "tex.png";
    const auto scene = file.load({.external_files = MissingAction::fail});
    EXPECT_EQ(scene->images[0].width, 3);
    EXPECT_EQ(scene->meshes[0].primitives[0].positions[1], Imath::V3f(2, 0, 0));
}

TEST(LoadScene, UnrollsStripsAndFansAndDrawsWithoutIndices) {
    // Five corners: the three of the triangle twice over.
    struct Case {
        int mode;
        std::vector<Triangle> expected;
    };
    for (const Case& c :
         {Case{5, {{0, 1, 2}, {1, 0, 2}, {2, 0, 1}}}, Case{6, {{0, 1, 2}, {0, 2, 0}, {0, 0, 1}}}}) {
        SceneFile file;
        Json& primitive = file.json["meshes"][0]["primitives"][0];
        primitive["mode"] = c.mode;
        file.json["bufferViews"].push_back({{"buffer", 1}, {"byteLength", 5}});
        file.json["buffers"].push_back({{"uri", data_uri({0, 1, 2, 0, 1})}, {"byteLength", 5}});
        file.json["accessors"].push_back(
            {{"bufferView", 5}, {"componentType", 5121}, {"type", "SCALAR"}, {"count", 5}});
        primitive["indices"] = 5;
        EXPECT_EQ(file.load()->meshes[0].primitives[0].triangles, c.expected) << "mode " << c.mode;
    }
    SceneFile file;
    file.json["meshes"][0]["primitives"][0].erase("indices");
    EXPECT_THAT(file.load()->meshes[0].primitives[0].triangles, ElementsAre(Triangle{0, 1, 2}));
}

TEST(LoadScene, ReadsSparseAndNormalizedAccessors) {
    SceneFile file;
    // Vertex 2 moves to (1, 1, 1); three bytes each become colours.
    file.json["buffers"].push_back(
        {{"uri", data_uri({2,   0,  0,   0, 0,  0,   128, 63, 0, 0, 128, 63, 0, 0,
                           128, 63, 255, 0, 51, 255, 0,   0,  0, 0, 0,   0,  0, 0})},
         {"byteLength", 28}});
    file.json["bufferViews"].push_back({{"buffer", 1}, {"byteLength", 1}});
    file.json["bufferViews"].push_back({{"buffer", 1}, {"byteOffset", 4}, {"byteLength", 12}});
    file.json["bufferViews"].push_back(
        {{"buffer", 1}, {"byteOffset", 16}, {"byteLength", 12}, {"byteStride", 4}});
    file.json["accessors"][0]["sparse"] = {{"count", 1},
                                           {"indices", {{"bufferView", 5}, {"componentType", 5121}}},
                                           {"values", {{"bufferView", 6}}}};
    file.json["accessors"].push_back(
        {{"bufferView", 7}, {"componentType", 5121}, {"normalized", true}, {"type", "VEC3"}, {"count", 3}});
    file.json["meshes"][0]["primitives"][0]["attributes"]["COLOR_0"] = 5;
    const auto scene = file.load();
    const Primitive& primitive = scene->meshes[0].primitives[0];
    EXPECT_EQ(primitive.positions[2], Imath::V3f(1, 1, 1));
    EXPECT_EQ(primitive.positions[1], Imath::V3f(2, 0, 0));
    EXPECT_EQ(primitive.colors[0], Imath::C4f(1, 0, 0.2f, 1));
}

TEST(LoadScene, ReadsMaterials) {
    SceneFile file;
    file.json["materials"][0] = Json::parse(R"({
        "name": "Leaf", "alphaMode": "MASK", "alphaCutoff": 0.25, "doubleSided": true, "emissiveFactor": [1, 0.5, 0],
        "pbrMetallicRoughness": {"baseColorFactor": [0.1, 0.2, 0.3, 0.4], "metallicFactor": 0.5,
            "roughnessFactor": 0.25,
            "baseColorTexture": {"index": 0, "extensions": {"KHR_texture_transform":
                {"offset": [0.5, 0], "scale": [2, 3]}}}},
        "extensions": {"KHR_materials_unlit": {}, "KHR_materials_emissive_strength": {"emissiveStrength": 4}}})");
    const auto scene = file.load();
    const Material& material = scene->materials[0];
    EXPECT_EQ(material.alpha_mode, AlphaMode::mask);
    EXPECT_FLOAT_EQ(material.alpha_cutoff, 0.25f);
    EXPECT_TRUE(material.double_sided);
    EXPECT_TRUE(material.unlit);
    EXPECT_EQ(material.emissive, Imath::C3f(4, 2, 0));
    EXPECT_EQ(material.base_color, Imath::C4f(0.1f, 0.2f, 0.3f, 0.4f));
    EXPECT_EQ(Imath::V2f(1, 1) * material.base_color_texture.uv_transform, Imath::V2f(2.5f, 3));
    // A primitive without a material gets glTF's default one.
    file.json["meshes"][0]["primitives"][0].erase("material");
    const auto plain = file.load();
    EXPECT_TRUE(plain->materials.at(std::size_t(plain->meshes[0].primitives[0].material)).name.empty());
}

TEST(LoadScene, ReadsOrthographicCamerasAndSpots) {
    SceneFile file;
    file.json["cameras"][0] = Json::parse(
        R"({"type": "orthographic", "orthographic": {"xmag": 3, "ymag": 2, "znear": 0, "zfar": 9}})");
    file.json["extensions"]["KHR_lights_punctual"]["lights"][0] = Json::parse(
        R"({"type": "spot", "range": 7, "spot": {"innerConeAngle": 0.1, "outerConeAngle": 0.3}})");
    const auto scene = file.load();
    EXPECT_EQ(scene->cameras[0].projection.kind, Projection::Kind::orthographic);
    EXPECT_EQ(scene->cameras[0].projection.ymag, 2);
    EXPECT_EQ(scene->cameras[0].projection.zfar, 9);
    EXPECT_EQ(scene->lights[0].kind, Light::Kind::spot);
    EXPECT_EQ(scene->lights[0].range, 7);
    EXPECT_FLOAT_EQ(scene->lights[0].outer_cone, 0.3f);
}

TEST(LoadScene, DropsNodesThatTheSceneDoesNotReach) {
    SceneFile file;
    file.json["scenes"] = {{{"nodes", {3}}}, {{"nodes", {0}}}};
    file.json["scene"] = 1;
    const auto scene = file.load();
    ASSERT_EQ(scene->nodes.size(), 3u);
    EXPECT_EQ(scene->nodes[0].name, "Root");
    file.json["scenes"][1]["nodes"] = {3};
    EXPECT_EQ(file.load()->nodes.size(), 1u);
    EXPECT_TRUE(file.load()->channels.empty());
    file.json.erase("scenes");
    file.json.erase("scene");
    EXPECT_EQ(file.load()->nodes.size(), 4u) << "without scenes, every root is shown";
}

TEST(LoadScene, LeavesOutWhatItCannotShow) {
    struct Case {
        const char* patch;
        const char* warning;
    };
    for (const Case& c : {
             Case{R"([{"op": "add", "path": "/meshes/0/primitives/0/mode", "value": 1}])",
                  "points and lines"},
             Case{R"([{"op": "remove", "path": "/meshes/0/primitives/0/attributes/POSITION"}])",
                  "no POSITION"},
             Case{R"([{"op": "add", "path": "/meshes/0/primitives/0/extensions",
                       "value": {"KHR_draco_mesh_compression": {}}}])",
                  "KHR_draco_mesh_compression"},
             Case{R"([{"op": "add", "path": "/nodes/2/skin", "value": 0}])", "skins"},
             Case{R"([{"op": "add", "path": "/meshes/0/primitives/0/targets", "value": [{"POSITION": 0}]}])",
                  "morph targets"},
             Case{
                 R"([{"op": "replace", "path": "/animations/0/channels/0/target/path", "value": "weights"}])",
                 "\"weights\" is not animated"},
         }) {
        SceneFile file;
        file.json = file.json.patch(Json::parse(c.patch));
        EXPECT_THAT(file.load()->warnings, ElementsAre(HasSubstr(c.warning))) << c.patch;
    }
}

TEST(LoadScene, DoesNotMindWhatNothingNeeds) {
    for (const char* patch : {
             R"([{"op": "add", "path": "/buffers/-", "value": {"byteLength": 9}}])",
             R"([{"op": "add", "path": "/images/-", "value": {"uri": "http://a.invalid/b.png"}}])",
             R"([{"op": "add", "path": "/accessors/-", "value": {"bufferView": 99}}])",
             R"([{"op": "add", "path": "/materials/-", "value": {"alphaMode": 7}}])",
             R"([{"op": "add", "path": "/skins", "value": [{"joints": [0]}]}])",
             R"([{"op": "remove", "path": "/animations/0/channels/0/target/node"}])",
             R"([{"op": "replace", "path": "/images/0/uri", "value":
                  "data:image/png,%89PNG%0D%0A%1A%0A%00%00%00%0DIHDR%00%00%00%01%00%00%00%01%08%00%00%00%00%3A%7E%9BU%00%00%00%0AIDATx%DAc%60%00%00%00%02%00%01%E5%27%DE%FC%00%00%00%00IEND%AEB%60%82"}])",
         }) {
        SceneFile file;
        file.json = file.json.patch(Json::parse(patch));
        EXPECT_THAT(file.load({.external_files = MissingAction::fail})->warnings, testing::IsEmpty())
            << patch;
    }
}

TEST(IsSceneFile, TellsGltf2FromAnythingElse) {
    SceneFile file;
    file.write("binary", file.glb());
    file.write("old binary", std::string("glTF\1\0\0\0\0\0\0\0", 12));
    file.write("scene.gltf", file.json.dump());
    file.json["asset"]["version"] = "1.0";
    file.write("old.gltf", file.json.dump());
    file.write(
        "late",
        R"({"nodes": [{"asset": {"version": "2.0"}}], "asset": {"generator": "x", "version": "2.1"}})");
    file.write("fake", R"({"nodes": [{"asset": {"version": "2.0"}}], "version": "2.0"})");
    file.write("list", R"([{"asset": {"version": "2.0"}}])");
    file.write("empty", "");
    file.write("text", "asset version 2.0");
    file.write("deep", std::string(100'000, '['));
    file.write("deep object", R"({"a":)" + std::string(100'000, '['));

    for (const char* name : {"binary", "scene.gltf", "late"})
        EXPECT_TRUE(is_scene_file(file.path(name))) << name;
    for (const char* name : {"old binary", "old.gltf", "fake", "list", "empty", "text", "deep", "deep object",
                             "not there", "."}) {
        EXPECT_FALSE(is_scene_file(file.path(name))) << name;
    }
    for (const auto& [name, fault] : {std::pair{"old.gltf", "not a glTF 2 document"},
                                      {"empty", "not a glTF 2 document"},
                                      {"not there", "not there"},
                                      {".", "not a regular file"}}) {
        std::string why;
        EXPECT_FALSE(is_scene_file(file.path(name), &why));
        EXPECT_EQ(why, fault) << name;
    }
}

}  // namespace
}  // namespace corrivane::host::test
