#include "core/class_ids.h"
#include "core_test_support.h"

#include <system/drive_map.h>

#include <gmock/gmock.h>

#include <fstream>

namespace corrivane::host::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class CoreSceneTest : public CoreTest {
protected:
    /// Loads and gives back what the system log said.
    std::string log_of_load(const json& scene, int expected) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(expected, load(scene));
        return testing::internal::GetCapturedStderr();
    }

    CameraObject* camera_object(const char* name) {
        INode* node = m_core.GetINodeByName(name);
        return node == nullptr ? nullptr : dynamic_cast<CameraObject*>(node->EvalWorldState(0, TRUE).obj);
    }
};

TEST_F(CoreSceneTest, LoadsThroughTheDriveMapAndResets) {
    map_drive('Q', m_folder.path().string());
    json scene = triangle_scene();
    render_settings(scene).update(
        {{"output", "C:\\out\\beauty.png"}, {"frameRate", 24}, {"pixelAspect", 2.0}});
    ASSERT_EQ(1, load(scene));
    EXPECT_TRUE(m_core.IsMaxFile("Q:\\scene.gltf"));
    EXPECT_FALSE(m_core.IsMaxFile("Q:\\scene.bin"));
    EXPECT_FALSE(m_core.IsMaxFile("Y:\\scene.gltf"));
    ASSERT_EQ(1, m_core.LoadFromFile("q:/scene.gltf", 6));
    EXPECT_STREQ("C:\\out\\beauty.png", m_core.GetRendFileBI().Name());
    EXPECT_TRUE(m_core.GetRendSaveFile());
    EXPECT_EQ(48, m_core.GetRendWidth());
    EXPECT_EQ(32, m_core.GetRendHeight());
    EXPECT_EQ(2.0F, m_core.GetRendImageAspect());
    EXPECT_EQ(200, GetTicksPerFrame());
    EXPECT_EQ(24 * 200, m_core.document().animation_range().End());

    m_core.FileReset(TRUE);
    EXPECT_EQ(nullptr, m_core.GetINodeByName("Camera01"));
    EXPECT_STREQ("", m_core.GetRendFileBI().Name());
    EXPECT_EQ(160, GetTicksPerFrame());
    clear_drive_map();
}

TEST_F(CoreSceneTest, NamesInASceneStayOnItsDrive) {
    json scene = triangle_scene();
    ASSERT_EQ(1, load(scene));  // leaves scene.bin above the drive
    scene["buffers"][0]["uri"] = "../../scene.bin";
    std::filesystem::create_directories(m_folder.path() / "q" / "sets");
    const std::string native = m_folder / "q/sets/scene.gltf";
    std::ofstream(native) << scene;
    map_drive('Q', m_folder / "q");
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, m_core.LoadFromFile("Q:\\sets\\scene.gltf", 6));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("scene.gltf: missing external file: ../../scene.bin: not there"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, m_core.LoadFromFile(native.c_str(), 6));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    clear_drive_map();
}

TEST_F(CoreSceneTest, WhatIsNoSceneSaysWhy) {
    map_drive('Q', m_folder.path().string());
    ASSERT_EQ(1, load(triangle_scene()));
    testing::internal::CaptureStderr();
    for (const char* name :
         {"Q:\\scene.gltf", "Q:\\none.gltf", "Q:\\scene.bin", "Y:\\scene.gltf", "Q:\\a?.gltf", ""})
        m_core.IsMaxFile(name);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[error] IsMaxFile: Q:\\none.gltf: not there\n"
              "[error] IsMaxFile: Q:\\scene.bin: not a glTF 2 document\n"
              "[error] IsMaxFile: Y:\\scene.gltf: no folder of this machine stands for that drive\n"
              "[error] IsMaxFile: Q:\\a?.gltf: Windows could not store a file of that name\n"
              "[error] IsMaxFile: : the name is empty\n");
    clear_drive_map();
}

TEST_F(CoreSceneTest, TheLogHasTheFailuresOfBitmaps) {
    const BitmapPointer bitmap = make_bitmap(4, 4);
    BitmapInfo info;
    info.SetName("Y:\\a.png");
    testing::internal::CaptureStderr();
    bitmap->OpenOutput(info);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[error] OpenOutput: Y:\\a.png: no such drive (code 15)\n");
}

TEST_F(CoreSceneTest, ASceneThatCannotBeLoadedSaysWhyAndLeavesTheOpenOne) {
    ASSERT_EQ(1, load(triangle_scene()));
    json broken = triangle_scene();
    broken["nodes"][0]["mesh"] = 7;
    EXPECT_THAT(log_of_load(broken, 0), HasSubstr("scene.gltf"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, m_core.LoadFromFile("Y:\\scene.gltf", 6));
    EXPECT_EQ(0, m_core.LoadFromFile("", 6));
    EXPECT_EQ(0, m_core.LoadFromFile((m_folder.path() / "none.gltf").c_str(), 6));
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        testing::AllOf(HasSubstr("Y:\\scene.gltf: no folder of this machine"), HasSubstr("none.gltf")));
    EXPECT_NE(nullptr, m_core.GetINodeByName("Camera01"));
}

TEST_F(CoreSceneTest, DefaultActionsDecideAboutEachKindOfMissingResource) {
    json no_coordinates = triangle_scene();
    no_coordinates["materials"] = {{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}};
    no_coordinates["textures"] = {{{"source", 0}}};
    no_coordinates["images"] = {{{"uri", "none.png"}}};
    no_coordinates["meshes"][0]["primitives"][0]["material"] = 0;
    const json& no_image = no_coordinates;
    json no_plugin = triangle_scene();
    no_plugin["extensionsUsed"] = no_plugin["extensionsRequired"] = {"NONE_such"};
    json no_xref = triangle_scene();
    render_settings(no_xref)["xrefs"] = {"none.gltf"};
    const std::pair<int, json> cases[] = {{TYPE_MISSING_EXTERNAL_FILES, no_image},
                                          {TYPE_MISSING_UVWS, no_coordinates},
                                          {TYPE_MISSING_DLL_FILES, no_plugin},
                                          {TYPE_MISSING_XREF_FILES, no_xref}};
    IDefaultActionSystem& actions = *m_core.GetDefaultActionSystem();
    for (const auto& [kind, scene] : cases) {
        SCOPED_TRACE(kind);
        EXPECT_THAT(log_of_load(scene, 1), HasSubstr("[warning]"));
        actions.SetDefaultAction(kind, DEFAULT_ACTION_FAIL, nullptr, nullptr);
        EXPECT_THAT(log_of_load(scene, 0), HasSubstr("[error] LoadFromFile"));
        int action = 0;
        actions.GetDefaultAction(kind, action);
        EXPECT_EQ(DEFAULT_ACTION_FAIL, action);
        actions.SetDefaultAction(kind, DEFAULT_ACTION_IGNORE, nullptr, nullptr);
    }
    int action = 17;
    actions.SetDefaultAction(9, DEFAULT_ACTION_FAIL, nullptr, nullptr);
    actions.GetDefaultAction(9, action);
    EXPECT_EQ(17, action);
}

TEST_F(CoreSceneTest, TheActiveViewIsACameraViewOnlyWhereTheSceneNamesOne) {
    json scene = triangle_scene();
    ASSERT_EQ(1, load(scene));
    EXPECT_NE(VIEW_CAMERA, m_core.GetActiveViewport()->GetViewType());
    EXPECT_EQ(nullptr, m_core.GetActiveViewport()->GetViewCamera());

    render_settings(scene)["activeView"] = "Camera02";
    ASSERT_EQ(1, load(scene));
    EXPECT_EQ(VIEW_CAMERA, m_core.GetActiveViewport()->GetViewType());
    ASSERT_NE(nullptr, m_core.GetActiveViewport()->GetViewCamera());
    EXPECT_EQ(m_core.GetINodeByName("Camera02"), m_core.GetActiveViewport()->GetViewCamera());
}

TEST_F(CoreSceneTest, NodesShowTheirChildrenAndWhatTheyEvaluateTo) {
    json scene = triangle_scene();
    node_named(scene, "Triangle")["children"] = {1, 3};
    scene["scenes"][0]["nodes"] = {0, 2};
    ASSERT_EQ(1, load(scene));
    INode* triangle = m_core.GetINodeByName("Triangle");
    ASSERT_NE(nullptr, triangle);
    ASSERT_EQ(2, triangle->NumberOfChildren());
    EXPECT_STREQ("Camera01", triangle->GetChildNode(0)->GetName());
    EXPECT_STREQ("Helper", triangle->GetChildNode(1)->GetName());
    EXPECT_EQ(nullptr, triangle->GetChildNode(2));
    EXPECT_EQ(nullptr, triangle->GetChildNode(-1));
    EXPECT_EQ(nullptr, m_core.GetINodeByName("Camera03"));
    EXPECT_EQ(nullptr, camera_object("Helper"));
    EXPECT_NE(nullptr, m_core.GetINodeByName("Helper")->EvalWorldState(0, TRUE).obj);
    ASSERT_NE(nullptr, camera_object("Camera02"));
    EXPECT_EQ(camera_class, camera_object("Camera02")->ClassID());
    Interval valid;
    EXPECT_FALSE(camera_object("Camera02")->GetMultiPassEffectEnabled(0, valid));
    EXPECT_EQ(nullptr, camera_object("Camera02")->GetIMultiPassCameraEffect());
}

TEST_F(CoreSceneTest, AnEffectSitsOnItsCameraOrOnAHolderBelowIt) {
    json scene = triangle_scene();
    node_named(scene, "Camera01")["extras"]["multipass"] = {
        {"effect", "motionBlur"}, {"passes", 3}, {"classId", {"0x6cc9546e", "0x0b1961b9"}}};
    node_named(scene, "Camera02")["extras"]["multipass"] = {{"effect", "depthOfField"}, {"enabled", false}};
    node_named(scene, "Camera02")["children"] = {3};
    node_named(scene, "Helper")["name"] = "Multipass";
    node_named(scene, "Multipass")["extras"]["multipass"] = {{"effect", "depthOfField"}, {"passes", 5}};
    scene["scenes"][0]["nodes"] = {0, 1, 2};
    ASSERT_EQ(1, load(scene));

    Interval valid;
    CameraObject* plain = camera_object("Camera01");
    ASSERT_TRUE(plain != nullptr && plain->GetMultiPassEffectEnabled(0, valid));
    EXPECT_EQ(camera_class, plain->ClassID());
    EXPECT_EQ((Class_ID{0x6cc9546e, 0x0b1961b9}), plain->GetIMultiPassCameraEffect()->ClassID());
    EXPECT_EQ(3, plain->GetIMultiPassCameraEffect()->TotalPasses(0));

    CameraObject* with_holder = camera_object("Camera02");
    ASSERT_NE(nullptr, with_holder);
    EXPECT_EQ((Class_ID{0x399ee5f2, 0x584a71a8}), with_holder->ClassID());
    EXPECT_FALSE(with_holder->GetMultiPassEffectEnabled(0, valid));
    INode* holder = m_core.GetINodeByName("Camera02")->GetChildNode(0);
    ASSERT_STREQ("Multipass", holder->GetName());
    auto* held = dynamic_cast<CameraObject*>(holder->EvalWorldState(0, TRUE).obj);
    ASSERT_TRUE(held != nullptr && held->GetMultiPassEffectEnabled(0, valid));
    EXPECT_EQ(5, held->GetIMultiPassCameraEffect()->TotalPasses(0));
    EXPECT_EQ(depth_of_field_class, held->GetIMultiPassCameraEffect()->ClassID());
}

TEST_F(CoreSceneTest, TheRendererHasTheClassAndTheRequirementsOfTheScene) {
    json scene = triangle_scene();
    ASSERT_EQ(1, load(scene));
    EXPECT_EQ(default_renderer_class, m_core.GetCurrentRenderer()->ClassID());
    EXPECT_EQ(nullptr, m_core.GetCurrentRenderer()->GetInterface(IRENDERERREQUIREMENTS_INTERFACE_ID));

    render_settings(scene).update({{"rendererClassId", {"0x52ad1c02", "0x112d2fbc"}},
                                   {"rendererRequirements", {RENDERER_WANTS_FLOAT_OUTPUT}}});
    ASSERT_EQ(1, load(scene));
    EXPECT_EQ((Class_ID{0x52ad1c02, 0x112d2fbc}), m_core.GetCurrentRenderer()->ClassID());
    auto* requirements = static_cast<IRendererRequirements*>(
        m_core.GetCurrentRenderer()->GetInterface(IRENDERERREQUIREMENTS_INTERFACE_ID));
    ASSERT_NE(nullptr, requirements);
    EXPECT_TRUE(requirements->HasRequirement(RENDERER_WANTS_FLOAT_OUTPUT));
    EXPECT_FALSE(requirements->HasRequirement(RENDERER_SAVES_OUTPUT));

    render_settings(scene)["rendererClassId"] = {0, 0};
    ASSERT_EQ(1, load(scene));
    EXPECT_EQ(nullptr, m_core.GetCurrentRenderer());
    EXPECT_EQ(0, m_core.OpenCurRenderer(m_core.GetINodeByName("Camera01"), nullptr, RENDTYPE_NORMAL, 4, 4));
}

TEST_F(CoreSceneTest, SettingsOutsideTheirLimitsAreRefused) {
    Document& document = m_core.document();
    EXPECT_THROW(document.set_width(0), std::invalid_argument);
    EXPECT_THROW(document.set_height(32769), std::invalid_argument);
    EXPECT_THROW(document.set_frame_rate(4801), std::invalid_argument);
    EXPECT_THROW(document.set_animation_range({160, 0}), std::invalid_argument);
    document.set_width(32768);
    document.set_frame_rate(25);
    EXPECT_EQ(32768, m_core.GetRendWidth());
    EXPECT_EQ(32768, m_core.GetRendFileBI().Width());
    EXPECT_EQ(192, GetTicksPerFrame());
}

TEST(Document, AnimationBeyondTheTimeScaleEndsWithIt) {
    Scene scene;
    scene.duration = 1e9F;
    const Document document(std::make_shared<const Scene>(scene), "");
    EXPECT_EQ(INT32_MAX / 160 * 160, document.animation_range().End());
}

}  // namespace
}  // namespace corrivane::host::test
