#include "host/scene/scene_file.h"
#include "support/message_of.h"

#include <gmock/gmock.h>

namespace corrivane::host::test {
namespace {

using corrivane::test::message_of;
using testing::HasSubstr;
using testing::StartsWith;

struct Fault {
    const char* at;     ///< JSON pointer of what to replace; "-" in front: to remove
    const char* value;  ///< JSON
    const char* message;
};

constexpr Fault faults[] = {
    {"/asset/version", R"("1.0")", "asset.version \"1.0\" is not glTF 2"},
    {"-/asset", "", "asset"},
    {"/scene", "5", "scene: there is no scene 5"},
    {"/scenes/0/nodes", "[0, 9]", "scene 0: there is no node 9"},
    {"/scenes/0/nodes", "[-1]", "scene 0: there is no node -1"},
    {"/scenes/0/nodes", "[0, 0]", "node 0 is reached twice"},
    {"/nodes/2/children", "[0]", "node 0 is reached twice"},
    {"/nodes/1/children", "[2]", "node 2 is reached twice"},
    {"/nodes/0/children", "[77]", "node 0: there is no node 77"},
    {"/nodes/2/mesh", "3", "node 2: there is no mesh 3"},
    {"/nodes/2/mesh", "-7", "node 2: there is no mesh -7"},
    {"/nodes/1/camera", "1", "node 1: there is no camera 1"},
    {"/nodes/3/extensions/KHR_lights_punctual/light", "2", "node 3: there is no light 2"},
    {"/nodes/3/extensions/KHR_lights_punctual/light", "\"a\"", "node 3: KHR_lights_punctual names no light"},
    {"/nodes/0/matrix", "[1, 2, 3]", "node 0: matrix should be 16 numbers, not 3"},
    {"/nodes/0/matrix", "[1,0,0,1, 0,1,0,0, 0,0,1,0, 0,0,0,1]", "node 0: matrix does not end in 0, 0, 0, 1"},
    {"/nodes/0/translation", "[1, 2]", "node 0: translation should be 3 numbers, not 2"},
    {"/nodes/0/translation", "[1, 2, 1e300]", "node 0: translation[2] should be a number from"},
    {"/nodes/0/rotation", "[0, 0, 0, 0]", "node 0: rotation has no length"},
    {"/nodes/2/matrix", "[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]", "node 2 has a matrix and cannot be animated"},
    {"/cameras/0/perspective/yfov", "0", "camera 0: yfov"},
    {"/cameras/0/perspective/znear", "-1", "camera 0: znear"},
    {"/cameras/0/perspective/zfar", "0.05", "camera 0: zfar is not beyond znear"},
    {"/cameras/0/type", R"("fisheye")", "fisheye"},
    {"/extensions/KHR_lights_punctual/lights/0/type", R"("area")", "light 0: no type \"area\""},
    {"/extensions/KHR_lights_punctual/lights/0/color", "[1, 1]", "light 0: color should be 3 numbers"},
    {"/extensions/KHR_lights_punctual/lights/0/intensity", "-3", "light 0: intensity"},
    {"/meshes/0/primitives/0/material", "4", "mesh 0, primitive 0: there is no material 4"},
    {"/meshes/0/primitives/0/mode", "9", "mesh 0, primitive 0: no mode 9"},
    {"/meshes/0/primitives/0/attributes/POSITION", "50", "POSITION: there is no accessor 50"},
    {"/meshes/0/primitives/0/attributes/POSITION", "1", "POSITION accessor 1 should have 3 components"},
    {"/meshes/0/primitives/0/attributes/TEXCOORD_0", "4", "TEXCOORD_0 has 2 elements for 3 positions"},
    {"/meshes/0/primitives/0/indices", "0", "indices accessor 0 should hold unsigned integers"},
    {"/meshes/0/primitives/0/indices", "70", "accessor"},
    {"/accessors/0/count", "4", "mesh 0, primitive 0: POSITION accessor 0 reaches past its buffer view"},
    {"/accessors/0/count", "0", "POSITION accessor 0 has no elements"},
    {"/accessors/0/count", "4000000000000000000", "reaches past its buffer view"},
    {"/accessors/0/count", "-2", "count"},
    {"/accessors/0/byteOffset", "18446744073709551615", "reaches past its buffer view"},
    {"/accessors/0/bufferView", "31", "accessor 0: there is no buffer view 31"},
    {"/accessors/0/componentType", "17", "accessor 0: no component type 17"},
    {"/accessors/0/type", R"("VEC9")", "VEC9"},
    {"/accessors/0/sparse", R"({"count": 9, "indices": {"bufferView": 2, "componentType": 5123},
        "values": {"bufferView": 0}})",
     "sparse.count does not fit"},
    {"/accessors/0/sparse", R"({"count": 3, "indices": {"bufferView": 2, "componentType": 5126},
        "values": {"bufferView": 0}})",
     "sparse.indices should be unsigned integers"},
    {"/accessors/0/sparse",
     R"({"count": 3, "indices": {"bufferView": 2, "byteOffset": 4, "componentType": 5123},
        "values": {"bufferView": 0}})",
     "sparse.indices reaches past its buffer view"},
    {"/accessors/0/sparse", R"({"count": 3, "indices": {"bufferView": 2, "componentType": 5123},
        "values": {"bufferView": 1}})",
     "sparse.values reaches past its buffer view"},
    {"/bufferViews/2/byteOffset", "10", "indices accessor 2: element 2 (16384) is past the 3 there are"},
    {"/bufferViews/0/byteLength", "400", "buffer view 0 reaches past its buffer"},
    {"/bufferViews/0/byteOffset", "18446744073709551615", "buffer view 0 reaches past its buffer"},
    {"/bufferViews/0/buffer", "6", "buffer view 0: there is no buffer 6"},
    {"/bufferViews/0/byteStride", "4", "stride is less than an element"},
    {"/buffers/0/byteLength", "5000000000", "buffer 0 should have 5000000000 bytes, and there are 100"},
    {"/textures/0/source", "8", "texture 0: there is no image 8"},
    {"/textures/0/sampler", "8", "texture 0: there is no sampler 8"},
    {"/samplers/0/wrapS", "1", "texture 0: no wrap mode 1"},
    {"/images/0/uri", R"("data:image/png;base64,AAAAAAAA")", "image 0 is neither PNG nor JPEG"},
    {"/images/0/uri", R"("data:;base64,/9j/4AAQSkZJRgABAQAAAQABAAD/2Q==")", "image 0 cannot be decoded: "},
    {"/images/0/uri", R"("data:;base64,iVBORw0KGgo=")", "image 0 cannot be decoded: the data ends early"},
    {"/images/0/uri", R"("data:;base64,?")", "image 0: uri: no base64: "},
    {"/images/0", R"({"bufferView": 0, "mimeType": "image/png"})", "image 0 is neither PNG nor JPEG"},
    {"/images/0", R"({"bufferView": 60, "mimeType": "image/png"})", "image 0: there is no buffer view 60"},
    {"/materials/0/pbrMetallicRoughness/baseColorTexture/index", "3",
     "baseColorTexture: there is no texture 3"},
    {"/materials/0/pbrMetallicRoughness/baseColorFactor", "[1, 1, 1]", "baseColorFactor"},
    {"/materials/0/pbrMetallicRoughness/roughnessFactor", "3", "material 0: roughnessFactor"},
    {"/materials/0/alphaMode", R"("DITHER")", "material 0: no alphaMode \"DITHER\""},
    {"/animations/0/channels/0/sampler", "4", "animation 0, channel 0: there is no sampler 4"},
    {"/animations/0/channels/0/target/node", "14", "animation 0, channel 0: there is no node 14"},
    {"/animations/0/samplers/0/interpolation", R"("BOUNCE")", "no interpolation \"BOUNCE\""},
    {"/animations/0/samplers/0/interpolation", R"("CUBICSPLINE")", "has 2 values where its keys need 6"},
    {"/animations/0/samplers/0/output", "0", "has 3 values where its keys need 2"},
    {"/animations/0/channels/0/target/path", R"("rotation")", "output accessor 4 should have 4 components"},
    {"/bufferViews/3/byteOffset", "76", "the time does not increase after key 0"},
};

TEST(BrokenScene, IsRefusedWithAMessageThatNamesTheFault) {
    for (const Fault& fault : faults) {
        SceneFile file;
        const bool removes = fault.at[0] == '-';
        const Json::json_pointer place(removes ? fault.at + 1 : fault.at);
        if (removes) {
            file.json.erase(fault.at + 2);
        } else {
            file.json[place] = Json::parse(fault.value);
        }
        const std::string message = message_of([&] { file.load(); });
        EXPECT_THAT(message, testing::AllOf(StartsWith("scene.gltf: "), HasSubstr(fault.message)))
            << fault.at << " = " << fault.value;
    }
}

TEST(BrokenScene, IsRefusedWhenItIsNoDocumentAtAll) {
    SceneFile file;
    const std::string json = file.json.dump();
    const std::vector<std::uint8_t> glb = file.glb();
    const std::string binary(glb.begin(), glb.end());
    const std::pair<std::string, const char*> contents[] = {
        {"", "scene.gltf: "},
        {"{}", "scene.gltf: "},
        {"[1, 2]", "the document should be an object"},
        {json.substr(0, json.size() / 2), "parse error"},
        {json + "}", "parse error"},
        {std::string(200, '['), "nested more than 100 deep"},
        {R"({"asset": {"version": "2.0"}, "extras": )" + std::string(50'000, '[') + "}",
         "nested more than 100 deep"},
        {R"({"asset": {"version": "2.0"}, "nodes": [{"translation": [1e999, 0, 0]}]})", "number overflow"},
        {binary.substr(0, 16), "shorter than its header"},
        {binary.substr(0, binary.size() - 1), "ends before its length"},
        {binary.substr(0, 12) + std::string("\xff\xff\xff\xff", 4) + binary.substr(16),
         "a chunk that reaches past its end"},
    };
    for (const auto& [content, expected] : contents) {
        file.write("scene.gltf", content);
        EXPECT_THAT(message_of([&] { load_scene(file.path()); }), HasSubstr(expected))
            << content.substr(0, 60);
    }
    EXPECT_EQ(message_of([&] { load_scene(file.path("none.gltf")); }), "none.gltf: not there");
    EXPECT_THAT(message_of([&] { load_scene(file.path("")); }), HasSubstr("not a regular file"));
}

TEST(BrokenScene, CannotTakeMoreMemoryThanItsSizeDeserves) {
    // An accessor without a buffer view is all zeros and takes no room in the file.
    SceneFile zeros;
    zeros.json["accessors"][0] = {{"componentType", 5126}, {"type", "VEC3"}, {"count", 3'000'000'000u}};
    EXPECT_THAT(message_of([&] { zeros.load(); }), HasSubstr("too much for a file of this size"));

    SceneFile copies;
    copies.json["accessors"][0] = {{"componentType", 5126}, {"type", "VEC3"}, {"count", 300'000}};
    Json& primitives = copies.json["meshes"][0]["primitives"];
    primitives[0] = {{"attributes", {{"POSITION", 0}}}};
    for (int i = 0; i < 2000; ++i)
        primitives.push_back(primitives[0]);
    EXPECT_THAT(message_of([&] { copies.load(); }), HasSubstr("too much for a file of this size"));

    // The header says 60000 x 60000.
    SceneFile bomb;
    std::vector<std::uint8_t> image = png(2, 2);
    for (const std::size_t at : {18u, 22u}) {
        image[at] = 60000 >> 8;
        image[at + 1] = 60000 & 255;
    }
    bomb.json["images"][0]["uri"] = data_uri(image);
    EXPECT_THAT(message_of([&] { bomb.load(); }), HasSubstr("60000x60000 pixels are not supported"));
}

TEST(BrokenScene, SurvivesDeepAndWideNodeTrees) {
    SceneFile file;
    Json nodes = Json::array();
    constexpr int count = 50'000;
    for (int i = 0; i < count; ++i)
        nodes.push_back({{"children", {i + 1}}});
    nodes.push_back(Json::object());
    file.json["nodes"] = nodes;
    file.json["scenes"][0]["nodes"] = {0};
    file.json.erase("animations");
    const auto scene = file.load();
    EXPECT_EQ(scene->nodes.size(), count + 1u);
    EXPECT_EQ(pose_at(*scene, 0).size(), count + 1u);
}

TEST(BrokenScene, IsToldInOneShortLine) {
    SceneFile file;
    const std::string text(100'000, 'x');
    for (Json* name :
         {&file.json["materials"][0]["alphaMode"], &file.json["animations"][0]["samplers"][0][text],
          &file.json["images"][0]["uri"], &file.json["asset"]["version"]}) {
        *name = "data:" + text;
        EXPECT_THAT(message_of([&] { file.load(); }), testing::SizeIs(testing::Lt(300u)));
    }
}

}  // namespace
}  // namespace corrivane::host::test
