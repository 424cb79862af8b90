#include "host/scene/scene_file.h"

namespace corrivane::host::test {
namespace {

using corrivane::test::Texts;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(MissingResource, LeavesSomethingSensible) {
    SceneFile image;
    image.json["images"][0] = {{"uri", "none.png"}};
    const auto checked = image.load();
    EXPECT_GT(checked->images.at(0).width, 0);
    EXPECT_EQ(checked->meshes[0].primitives[0].positions.size(), 3u);

    SceneFile buffer;
    buffer.json["buffers"][0]["uri"] = "none.bin";
    const auto without_buffer = buffer.load();
    EXPECT_TRUE(without_buffer->meshes[0].primitives.empty());
    EXPECT_TRUE(without_buffer->channels.empty());
    EXPECT_EQ(without_buffer->find_camera("Camera01"), 1);

    SceneFile coordinates;
    coordinates.json["meshes"][0]["primitives"][0]["attributes"].erase("TEXCOORD_0");
    const auto plain = coordinates.load();
    const int material = plain->meshes[0].primitives[0].material;
    EXPECT_EQ(plain->materials.at(static_cast<std::size_t>(material)).base_color_texture.texture, -1);
}

TEST(MissingResource, LeavesTheOtherBuffersAloneAndIsWhatSomethingNeeds) {
    SceneFile file;
    file.json["buffers"].push_back({{"uri", "none%202.bin"}, {"byteLength", 10}});
    file.json["buffers"].push_back({{"uri", "unused.bin"}, {"byteLength", 20}});
    file.json["bufferViews"][4]["buffer"] = 1;
    const auto scene = file.load();
    EXPECT_THAT(scene->warnings,
                ElementsAre("scene.gltf: missing external file: none 2.bin: not there",
                            "scene.gltf: animation 0, channel 0: left out, its buffer is missing"));
    EXPECT_EQ(scene->meshes[0].primitives.at(0).positions[1], Imath::V3f(2, 0, 0));
}

/// Those of warnings that are not about the geometry that is left out for want of a file.
Texts about_files(Texts warnings) {
    std::erase_if(warnings, [](const std::string& text) { return text.find(": missing ") == text.npos; });
    return warnings;
}

TEST(MissingResource, IsReportedOnceAsTheSceneWritesIt) {
    for (const std::string uri :
         {"none.png", "./none.png", "a/../none.png", "a//none.png", "a\\none.png", "/none.png",
          "\\\\server\\share\\none.png", "http://127.0.0.1:9/none.png", ""}) {
        SceneFile file;
        file.json["images"][0]["uri"] = uri;
        file.json["buffers"][0]["uri"] = uri;
        EXPECT_THAT(about_files(file.load()->warnings),
                    ElementsAre(testing::StartsWith("scene.gltf: missing external file: " + uri + ": ")));
    }
}

class Xrefs : public testing::Test {
protected:
    /// A second scene with one more camera, which names further xrefs.
    void write_set(const std::string& name, const Texts& xrefs) {
        SceneFile set;
        set.json["nodes"][1]["name"] = "Camera of " + name;
        set.json["scenes"][0]["extras"]["render"] = {{"width", 100}, {"xrefs", xrefs}};
        write_file(m_file.path(name), set.json.dump());
    }
    std::shared_ptr<const Scene> load(const Texts& xrefs, const LoadOptions& options = {}) {
        m_file.json["scenes"][0]["extras"]["render"] = {{"width", 320}, {"xrefs", xrefs}};
        return m_file.load(options);
    }

    SceneFile m_file;
};

TEST_F(Xrefs, AreMerged) {
    write_set("set.gltf", {});
    m_file.json["textures"].push_back({{"source", 0}});
    m_file.json["materials"][0]["emissiveTexture"] = {{"index", 1}};
    const auto scene = load({"set.gltf"});
    EXPECT_EQ(scene->settings.width, 320) << "the settings are the main scene's";
    ASSERT_EQ(scene->nodes.size(), 8u);
    EXPECT_EQ(scene->find_camera("Camera of set.gltf"), 5);
    EXPECT_EQ(scene->nodes[5].parent, 4);
    EXPECT_EQ(scene->nodes[5].camera, 1);
    EXPECT_EQ(scene->nodes[6].mesh, 1);
    EXPECT_EQ(scene->nodes[7].light, 1);
    EXPECT_EQ(scene->meshes[1].primitives[0].material, 1);
    EXPECT_EQ(scene->materials.at(1).base_color_texture.texture, 2);
    EXPECT_EQ(scene->textures.at(2).image, 1);
    EXPECT_EQ(scene->channels.at(1).node, 6);
    EXPECT_EQ(pose_at(*scene, 1)[6].translation(), Imath::V3f(4, 1, 0));
}

TEST_F(Xrefs, MayGoRoundInCircles) {
    write_set("a.gltf", {"b.gltf", "a.gltf", "scene.gltf"});
    write_set("b.gltf", {"a.gltf", "./a.gltf"});
    EXPECT_EQ(load({"a.gltf", "b.gltf", "scene.gltf"})->nodes.size(), 12u);
}

TEST_F(Xrefs, WithFullPathsAreFoundByTheCallerAndHaveARootOfTheirOwn) {
    write_set("other.gltf", {});
    write_set("drive/sets/set.gltf", {"more.gltf"});
    write_set("drive/sets/more.gltf", {"../../other.gltf"});
    const std::string names[] = {"C:\\sets\\set.gltf", m_file.path("other.gltf")};
    for (const std::string& name : names) {
        EXPECT_THAT(load({name})->warnings,
                    ElementsAre("scene.gltf: missing xref: " + name + " is not there"));
        LoadOptions options;
        options.resolve_path = [&](const std::string& asked) {
            EXPECT_EQ(asked, name);
            return BoundedFile{m_file.path("drive/sets/set.gltf"), m_file.path("drive")};
        };
        const auto scene = load({name}, options);
        EXPECT_EQ(scene->nodes.size(), 12u);
        EXPECT_THAT(scene->warnings, ElementsAre("more.gltf: missing xref: ../../other.gltf is not there"));
    }
}

TEST_F(Xrefs, ThatAreBrokenAreNamed) {
    write_file(m_file.path("set.gltf"), "{");
    EXPECT_THAT(message_of([&] { load({"set.gltf"}); }), testing::StartsWith("set.gltf: "));
}

/// A scene in the folder "drive/sets", whose image, buffer and xref are beside the folder "drive" or in it.
std::shared_ptr<const Scene> load_with_names(const std::string& up, const std::string& place,
                                             const std::string& root) {
    SceneFile file;
    const std::string glb = file.glb();
    write_file(file.path(place + "a.png"), small_png);
    write_file(file.path(place + "a.bin"), glb.substr(glb.size() - 100));
    write_file(file.path(place + "a.gltf"), file.json.dump());
    std::string encoded = up;
    if (up[0] == '.') encoded.replace(0, 1, "%2e");
    file.json["images"][0]["uri"] = encoded + "a.png";
    file.json["buffers"][0]["uri"] = up + "a.bin";
    file.json["scenes"][0]["extras"]["render"]["xrefs"] = {up + "a.gltf"};
    write_file(file.path("drive/sets/scene.gltf"), file.json.dump());
    LoadOptions options;
    if (!root.empty()) options.root = file.path(root);
    return load_scene(file.path("drive/sets/scene.gltf"), options);
}

TEST(RelativeNames, DoNotClimbAboveTheRoot) {
    for (const char* up : {"../../", "..\\..\\", "./.././../", "none/../../../../"}) {
        const auto outside = load_with_names(up, "", "drive");
        EXPECT_THAT(about_files(outside->warnings), testing::SizeIs(3)) << up;
        EXPECT_EQ(outside->nodes.size(), 4u) << up;
        const auto inside = load_with_names(up, "drive/", "drive");
        EXPECT_THAT(inside->warnings, IsEmpty()) << up;
        EXPECT_EQ(inside->nodes.size(), 8u) << up;
        EXPECT_EQ(inside->images.at(0).width, 1) << up;
    }
    EXPECT_THAT(load_with_names("../", "drive/", "drive")->warnings, IsEmpty());
    EXPECT_THAT(load_with_names("..\\", "drive/", "")->warnings, IsEmpty());
    EXPECT_THAT(load_with_names("../../", "", "")->warnings, IsEmpty());
}

}  // namespace
}  // namespace corrivane::host::test
