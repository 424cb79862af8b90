#include "host/scene/scene_file.h"
#include "support/message_of.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace corrivane::host::test {
namespace {

using corrivane::test::message_of;
using testing::Contains;
using testing::HasSubstr;

struct Case {
    const char* name;
    MissingKind kind;
    MissingAction LoadOptions::*policy;
    const char* resource;
    const char* text;
    void (*spoil)(Json&);
};

const Case cases[] = {
    {"image", MissingKind::external_file, &LoadOptions::external_files, "none.png",
     "missing external file: none.png",
     [](Json& json) {
         json["images"][0] = {{"uri", "none.png"}};
     }},
    {"image elsewhere", MissingKind::external_file, &LoadOptions::external_files, "",
     "missing external file: ",
     [](Json& json) {
         json["images"][0] = {{"uri", "https://example.invalid/a.png"}};
     }},
    {"absolute image", MissingKind::external_file, &LoadOptions::external_files, "/etc/hostname",
     "missing external file: /etc/hostname",
     [](Json& json) {
         json["images"][0] = {{"uri", "/etc/hostname"}};
     }},
    {"buffer", MissingKind::external_file, &LoadOptions::external_files, "my data.bin",
     "missing external file: my data.bin", [](Json& json) { json["buffers"][0]["uri"] = "my%20data.bin"; }},
    {"extension", MissingKind::plugin, &LoadOptions::plugins, "EXT_unheard_of",
     "missing extension: EXT_unheard_of is required",
     [](Json& json) {
         json["extensionsRequired"] = {"KHR_lights_punctual", "EXT_unheard_of"};
     }},
    {"xref", MissingKind::xref, &LoadOptions::xrefs, "set.gltf", "missing xref: set.gltf",
     [](Json& json) { json["scenes"][0]["extras"]["render"]["xrefs"] = {"set.gltf"}; }},
    {"xref on a drive", MissingKind::xref, &LoadOptions::xrefs, "C:\\sets\\a.gltf",
     "missing xref: C:\\sets\\a.gltf",
     [](Json& json) { json["scenes"][0]["extras"]["render"]["xrefs"] = {"C:\\sets\\a.gltf"}; }},
    {"coordinates", MissingKind::texture_coordinates, &LoadOptions::texture_coordinates,
     "mesh 0, primitive 0",
     "missing texture coordinates: mesh 0, primitive 0 is textured and has no TEXCOORD_0",
     [](Json& json) { json["meshes"][0]["primitives"][0]["attributes"].erase("TEXCOORD_0"); }},
};

/// Not about the geometry that is left out for want of it.
bool is_about_a_file(const std::string& warning) {
    return warning.find(": missing ") != std::string::npos;
}

TEST(MissingResource, FailsTheLoadWhenItsKindIsToFail) {
    for (const Case& c : cases) {
        SceneFile file;
        c.spoil(file.json);
        LoadOptions options;
        options.*c.policy = MissingAction::fail;
        try {
            file.load(options);
            ADD_FAILURE() << c.name << " loads";
        } catch (const MissingResource& error) {
            EXPECT_EQ(error.kind(), c.kind) << c.name;
            EXPECT_THAT(error.resource(), HasSubstr(c.resource)) << c.name;
            EXPECT_THAT(error.what(), HasSubstr(c.text)) << c.name;
        }
    }
}

TEST(MissingResource, IsPassedOverWithAWarningOtherwise) {
    for (const Case& c : cases) {
        SceneFile file;
        c.spoil(file.json);
        // The other kinds are to fail: each policy is for its own kind only.
        LoadOptions options{
            MissingAction::fail, MissingAction::fail, MissingAction::fail, MissingAction::fail, {}};
        options.*c.policy = MissingAction::go_on;
        const auto scene = file.load(options);
        EXPECT_THAT(scene->warnings, Contains(HasSubstr(c.text))) << c.name;
        EXPECT_EQ(scene->nodes.size(), 4u) << c.name;
    }
}

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
    file.json["images"].push_back({{"uri", "unused.png"}});
    file.json["bufferViews"][4]["buffer"] = 1;
    const auto scene = file.load();
    EXPECT_THAT(scene->warnings,
                testing::ElementsAre("scene.gltf: missing external file: none 2.bin: not there",
                                     "scene.gltf: animation 0, channel 0: left out, its buffer is missing"));
    EXPECT_EQ(scene->meshes[0].primitives.at(0).positions[1], Imath::V3f(2, 0, 0));
}

TEST(MissingResource, IsReportedOnceAsTheSceneWritesIt) {
    for (const std::string uri :
         {"none.png", "./none.png", "a/../none.png", "a//none.png", "a\\none.png", "/none.png",
          "\\\\server\\share\\none.png", "http://127.0.0.1:9/none.png", ""}) {
        const auto named = testing::StartsWith("scene.gltf: missing external file: " + uri + ": ");
        SceneFile images;
        images.json["images"] = {{{"uri", uri}}, {{"uri", uri}}};
        EXPECT_THAT(images.load()->warnings, testing::ElementsAre(named)) << uri;
        if (uri.empty()) continue;  // for a buffer, that is no glTF
        SceneFile buffer;
        buffer.json["buffers"][0]["uri"] = uri;
        const auto warnings = buffer.load()->warnings;
        ASSERT_FALSE(warnings.empty()) << uri;
        EXPECT_THAT(warnings[0], named);
        EXPECT_EQ(std::ranges::count_if(warnings, is_about_a_file), 1) << uri;
    }
}

TEST(MissingResource, MayBeAnythingButAFile) {
    SceneFile file;
    std::filesystem::create_directory(file.path("folder"));
    for (const char* uri : {"folder", "/dev/zero", ".", ""}) {
        file.json["buffers"][0]["uri"] = uri;
        EXPECT_THAT(message_of([&] { file.load({.external_files = MissingAction::fail}); }),
                    testing::StartsWith("scene.gltf: "))
            << uri;
    }
}

class Xrefs : public testing::Test {
protected:
    /// A second scene with one more camera, which names further xrefs.
    void write_set(const std::string& name, const std::vector<std::string>& xrefs) {
        SceneFile set;
        set.json["nodes"][1]["name"] = "Camera of " + name;
        set.json["scenes"][0]["extras"]["render"] = {{"width", 100}, {"xrefs", xrefs}};
        m_file.write(name, set.json.dump());
    }
    std::shared_ptr<const Scene> load(const std::vector<std::string>& xrefs,
                                      const LoadOptions& options = {}) {
        m_file.json["scenes"][0]["extras"]["render"] = {{"width", 320}, {"xrefs", xrefs}};
        return m_file.load(options);
    }

    SceneFile m_file;
};

TEST_F(Xrefs, AreMerged) {
    write_set("set.gltf", {});
    const auto scene = load({"set.gltf"});
    EXPECT_EQ(scene->settings.width, 320) << "the settings are the main scene's";
    ASSERT_EQ(scene->nodes.size(), 8u);
    const int camera = scene->find_camera("Camera of set.gltf");
    ASSERT_EQ(camera, 5);
    EXPECT_EQ(scene->nodes[5].parent, 4);
    EXPECT_EQ(scene->nodes[5].camera, 1);
    EXPECT_EQ(scene->nodes[6].mesh, 1);
    EXPECT_EQ(scene->nodes[7].light, 1);
    const Material& material =
        scene->materials.at(static_cast<std::size_t>(scene->meshes[1].primitives[0].material));
    EXPECT_EQ(scene->textures.at(static_cast<std::size_t>(material.base_color_texture.texture)).image, 1);
    EXPECT_EQ(scene->channels.at(1).node, 6);
    EXPECT_EQ(pose_at(*scene, 1)[6].translation(), Imath::V3f(4, 1, 0));
}

TEST_F(Xrefs, MayGoRoundInCircles) {
    write_set("a.gltf", {"b.gltf", "a.gltf", "scene.gltf"});
    write_set("b.gltf", {"a.gltf", "./a.gltf"});
    EXPECT_EQ(load({"a.gltf", "b.gltf", "scene.gltf"})->nodes.size(), 12u);
}

TEST_F(Xrefs, OnDrivesAreFoundByTheCaller) {
    write_set("set.gltf", {});
    std::vector<std::string> asked;
    LoadOptions options;
    options.resolve_path = [&](const std::string& name) {
        asked.push_back(name);
        return BoundedFile{m_file.path("set.gltf")};
    };
    EXPECT_EQ(load({"C:\\sets\\set.gltf"}, options)->nodes.size(), 8u);
    EXPECT_THAT(asked, testing::ElementsAre("C:\\sets\\set.gltf"));
}

/// A scene in the folder "drive/sets", whose image, buffer and xref are beside the folder "drive" or in it.
std::shared_ptr<const Scene> load_with_names(const std::string& up, const std::string& place,
                                             const std::string& root) {
    SceneFile file;
    std::filesystem::create_directories(file.path("drive/sets"));
    const std::vector<std::uint8_t> glb = file.glb();
    file.write(place + "a.png", png(3, 3));
    file.write(place + "a.bin", std::vector<std::uint8_t>(glb.end() - 100, glb.end()));
    file.write(place + "a.gltf", file.json.dump());
    file.json["images"][0]["uri"] = up + "a.png";
    file.json["buffers"][0]["uri"] = up + "a.bin";
    file.json["scenes"][0]["extras"]["render"]["xrefs"] = {up + "a.gltf"};
    file.write("drive/sets/scene.gltf", file.json.dump());
    LoadOptions options;
    if (!root.empty()) options.root = file.path(root);
    return load_scene(file.path("drive/sets/scene.gltf"), options);
}

TEST(RelativeNames, DoNotClimbAboveTheRoot) {
    for (const char* up : {"../../", "..\\..\\", "./.././../", "none/../../../../"}) {
        const auto outside = load_with_names(up, "", "drive");
        EXPECT_EQ(std::ranges::count_if(outside->warnings, is_about_a_file), 3) << up;
        EXPECT_EQ(outside->nodes.size(), 4u) << up;
        const auto inside = load_with_names(up, "drive/", "drive");
        EXPECT_THAT(inside->warnings, testing::IsEmpty()) << up;
        EXPECT_EQ(inside->nodes.size(), 8u) << up;
        EXPECT_EQ(inside->images.at(0).width, 3) << up;
    }
    EXPECT_THAT(load_with_names("../", "drive/", "drive")->warnings, testing::IsEmpty());
    EXPECT_THAT(load_with_names("..\\", "drive/", "")->warnings, testing::IsEmpty());
    EXPECT_THAT(load_with_names("../../", "", "")->warnings, testing::IsEmpty());
}

TEST(RelativeNames, MayHaveEncodedDotsAndSeparators) {
    SceneFile file;
    std::filesystem::create_directories(file.path("drive"));
    file.write("outside.png", png(3, 3));
    file.json["images"][0]["uri"] = "%2e%2e%5Coutside.png";
    file.write("drive/scene.gltf", file.json.dump());
    const std::filesystem::path scene = file.path("drive/scene.gltf");
    EXPECT_THAT(load_scene(scene)->warnings, testing::IsEmpty());
    EXPECT_THAT(load_scene(scene, {.root = file.path("drive")})->warnings, testing::SizeIs(1));
}

TEST_F(Xrefs, HaveARootOfTheirOwn) {
    std::filesystem::create_directories(m_file.path("drive/sets"));
    write_set("other.gltf", {});
    write_set("drive/sets/set.gltf", {"more.gltf"});
    write_set("drive/sets/more.gltf", {"../../other.gltf"});
    LoadOptions options;
    options.resolve_path = [&](const std::string&) {
        return BoundedFile{m_file.path("drive/sets/set.gltf"), m_file.path("drive")};
    };
    EXPECT_THAT(load({"C:\\sets\\set.gltf"}, options)->warnings,
                testing::ElementsAre("more.gltf: missing xref: ../../other.gltf is not there"));
}

TEST_F(Xrefs, WithFullPathsNeedTheResolver) {
    write_set("other.gltf", {});
    const std::string absolute = m_file.path("other.gltf").string();
    EXPECT_THAT(load({absolute})->warnings, testing::ElementsAre(HasSubstr(absolute + " is not there")));
    LoadOptions options;
    options.resolve_path = [](const std::string& name) { return BoundedFile{name}; };
    EXPECT_THAT(load({absolute}, options)->warnings, testing::IsEmpty());
}

TEST_F(Xrefs, ThatAreBrokenAreNamed) {
    m_file.write("set.gltf", "{");
    EXPECT_THAT(message_of([&] { load({"set.gltf"}); }), testing::StartsWith("set.gltf: "));
}

}  // namespace
}  // namespace corrivane::host::test
