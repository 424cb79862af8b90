#include "host/scene/scene_file.h"

// Scenes that differ in one place from the one that has one of everything, and what becomes of them.
namespace corrivane::host::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The rows of one_change.json: a JSON pointer, what to put there (a minus in front: the place is removed instead)
/// and what is expected.
const Json& rows(const char* outcome) {
    static const Json cases = SceneFile::read_cases("one_change.json");
    return cases.at(outcome);
}

TEST(OneChange, IsRefusedWithAMessageThatNamesTheFault) {
    for (const Json& row : rows("refused")) {
        SceneFile file;
        file.change(row[0], row[1]);
        EXPECT_THAT(message_of([&] { file.load(); }),
                    testing::AllOf(testing::StartsWith("scene.gltf: "), HasSubstr(row[2].get<std::string>())))
            << row;
    }
}

TEST(OneChange, IsPassedOverWithAWarningWhereItCannotBeShown) {
    for (const Json& row : rows("passed over")) {
        SceneFile file;
        file.change(row[0], row[1]);
        EXPECT_THAT(file.load()->warnings, ElementsAre(HasSubstr(row[2].get<std::string>()))) << row;
    }
}

TEST(OneChange, DoesNotMatterWhereNothingNeedsIt) {
    for (const Json& row : rows("fine")) {
        SceneFile file;
        file.change(row[0], row[1]);
        EXPECT_THAT(file.load({.external_files = MissingAction::fail})->warnings, testing::IsEmpty()) << row;
    }
}

/// These rows begin with the MissingKind, and end with the resource and the text.
TEST(OneChange, ObeysThePolicyOfTheKindThatIsMissing) {
    constexpr MissingAction LoadOptions::*policies[] = {&LoadOptions::external_files, &LoadOptions::plugins,
                                                        &LoadOptions::xrefs,
                                                        &LoadOptions::texture_coordinates};
    for (const Json& row : rows("missing")) {
        SceneFile file;
        std::filesystem::create_directory(file.path("folder"));
        file.change(row[1], row[2]);
        const int kind = row[0];
        const auto policy = policies[kind - 1];
        LoadOptions options;
        options.*policy = MissingAction::fail;
        try {
            file.load(options);
            ADD_FAILURE() << row << " loads";
        } catch (const MissingResource& error) {
            EXPECT_EQ(static_cast<int>(error.kind()), kind) << row;
            EXPECT_EQ(error.resource(), row[3]) << row;
            EXPECT_THAT(error.what(), HasSubstr(row[4].get<std::string>()));
        }
        // Passed over, with all other kinds to fail.
        constexpr MissingAction fail = MissingAction::fail;
        options = {fail, fail, fail, fail, {}};
        options.*policy = MissingAction::go_on;
        const auto scene = file.load(options);
        EXPECT_THAT(scene->warnings, testing::Contains(HasSubstr(row[4].get<std::string>())));
        EXPECT_EQ(scene->nodes.size(), 4u) << row;
    }
}

TEST(BrokenScene, IsRefusedWhenItIsNoDocumentAtAll) {
    SceneFile file;
    const std::string json = file.json.dump();
    const std::string binary = file.glb();
    const std::pair<std::string, const char*> contents[] = {
        {"", "scene.gltf: "},
        {"[1, 2]", "the document should be an object"},
        {json.substr(0, json.size() / 2), "parse error"},
        {json + "}", "parse error"},
        {std::string(50'000, '['), "nested more than 100 deep"},
        {R"({"asset": {"version": "2.0"}, "nodes": [{"translation": [1e999, 0, 0]}]})", "number overflow"},
        {binary.substr(0, 16), "shorter than its header"},
        {binary.substr(0, binary.size() - 1), "ends before its length"},
        {binary.substr(0, 12) + "\xff\xff\xff\xff" + binary.substr(16), "a chunk that reaches past its end"},
    };
    for (const auto& [content, expected] : contents) {
        write_file(file.path(), content);
        EXPECT_THAT(message_of([&] { load_scene(file.path()); }), HasSubstr(expected))
            << content.substr(0, 60);
    }
    EXPECT_EQ(message_of([&] { load_scene(file.path("none.gltf")); }), "none.gltf: not there");
    EXPECT_THAT(message_of([&] { load_scene(file.path("")); }), HasSubstr("not a regular file"));
}

// An accessor without a buffer view is all zeros and takes no room in the file.
TEST(BrokenScene, CannotTakeMoreMemoryThanItsSizeDeserves) {
    SceneFile file;
    file.json["accessors"][0] = {{"componentType", 5126}, {"type", "VEC3"}, {"count", 300'000}};
    file.json["meshes"][0]["primitives"] = Json::array_t(2000, {{"attributes", {{"POSITION", 0}}}});
    EXPECT_THAT(message_of([&] { file.load(); }), HasSubstr("too much for a file of this size"));
}

TEST(BrokenScene, SurvivesDeepNodeTrees) {
    SceneFile file;
    constexpr std::size_t count = 50'000;
    Json& nodes = file.json["nodes"] = Json::array_t(count, Json::object());
    for (std::size_t i = 1; i < count; ++i)
        nodes[i - 1]["children"] = {i};
    file.json["scenes"][0]["nodes"] = {0};
    file.json.erase("animations");
    const auto scene = file.load();
    EXPECT_EQ(scene->nodes.size(), count);
    EXPECT_EQ(pose_at(*scene, 0).size(), count);
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
