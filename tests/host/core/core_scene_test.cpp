#include "core/class_ids.h"
#include "core_test_support.h"

#include <system/drive_map.h>

#include <utility>

namespace corrivane::host::test {
namespace {

/// Drive Q is the scene's folder.
class CoreSceneTest : public CoreTest {
protected:
    CoreSceneTest() { map_drive('Q', m_folder.path().string()); }
    ~CoreSceneTest() override { clear_drive_map(); }

    static CameraObject* camera_object(INode* node) {
        return node == nullptr ? nullptr : dynamic_cast<CameraObject*>(node->EvalWorldState(0, TRUE).obj);
    }
};

TEST_F(CoreSceneTest, LoadsThroughTheDriveMapAndResets) {
    json scene = small_scene();
    render_settings(scene).update({{"frameRate", 24}, {"pixelAspect", 2.0}});
    save_scene(scene, m_folder.path());
    EXPECT_TRUE(m_core.IsMaxFile("Q:\\scene.gltf"));
    ASSERT_EQ(1, m_core.LoadFromFile("q:/scene.gltf", 6));
    EXPECT_STREQ("C:\\out\\beauty.png", m_core.GetRendFileBI().Name());
    EXPECT_EQ(2.0F, m_core.GetRendImageAspect());
    EXPECT_EQ(200, GetTicksPerFrame());
    EXPECT_EQ(240 * 200, m_core.document().animation_range().End());

    m_core.FileReset(TRUE);
    EXPECT_EQ(nullptr, m_core.GetINodeByName("Camera01"));
    EXPECT_STREQ("", m_core.GetRendFileBI().Name());
    EXPECT_EQ(160, GetTicksPerFrame());
}

TEST_F(CoreSceneTest, NamesInASceneStayOnItsDrive) {
    json scene = small_scene();
    save_scene(scene, m_folder.path());  // leaves scene.bin above the drive
    scene["buffers"][0]["uri"] = "../../scene.bin";
    const std::string native = save_scene(scene, m_folder.path() / "q" / "sets");
    map_drive('Q', m_folder / "q");
    EXPECT_THAT(log_of([&] { EXPECT_EQ(1, m_core.LoadFromFile("Q:\\sets\\scene.gltf", 6)); }),
                HasSubstr("scene.gltf: missing external file: ../../scene.bin: not there"));
    EXPECT_EQ(log_of([&] { EXPECT_EQ(1, m_core.LoadFromFile(native.c_str(), 6)); }), "");
}

TEST_F(CoreSceneTest, WhatIsNoSceneSaysWhyAndLeavesTheOpenOne) {
    ASSERT_EQ(1, load(small_scene()));
    const auto ask_for_all = [&] {
        for (const char* name :
             {"Q:\\scene.gltf", "Q:\\none.gltf", "Q:\\scene.bin", "Y:\\scene.gltf", "Q:\\a?.gltf", ""})
            m_core.IsMaxFile(name);
    };
    EXPECT_EQ(log_of(ask_for_all),
              "[error] IsMaxFile: Q:\\none.gltf: not there\n"
              "[error] IsMaxFile: Q:\\scene.bin: not a glTF 2 document\n"
              "[error] IsMaxFile: Y:\\scene.gltf: no folder of this machine stands for that drive\n"
              "[error] IsMaxFile: Q:\\a?.gltf: Windows could not store a file of that name\n"
              "[error] IsMaxFile: : the name is empty\n");
    json broken = small_scene();
    broken["nodes"][0]["mesh"] = 7;
    const std::string log = log_of([&] {
        EXPECT_EQ(0, load(broken));
        for (const char* name : {"Y:\\scene.gltf", "", "Q:\\none.gltf"})
            EXPECT_EQ(0, m_core.LoadFromFile(name, 6));
    });
    for (const char* reason : {"scene.gltf", "Y:\\scene.gltf: no folder of this machine", "none.gltf"})
        EXPECT_THAT(log, HasSubstr(reason));
    EXPECT_NE(nullptr, m_core.GetINodeByName("Camera01"));
}

TEST_F(CoreSceneTest, TheLogHasTheFailuresOfBitmaps) {
    const BitmapPointer bitmap = make_bitmap(4, 4);
    BitmapInfo info;
    info.SetName("Y:\\a.png");
    EXPECT_EQ(log_of([&] { bitmap->OpenOutput(info); }),
              "[error] OpenOutput: Y:\\a.png: no such drive (code 15)\n");
}

TEST(DefaultActionsTest, EachKindHasItsOwn) {
    const std::pair<int, MissingAction LoadOptions::*> kinds[] = {
        {TYPE_MISSING_EXTERNAL_FILES, &LoadOptions::external_files},
        {TYPE_MISSING_UVWS, &LoadOptions::texture_coordinates},
        {TYPE_MISSING_DLL_FILES, &LoadOptions::plugins},
        {TYPE_MISSING_XREF_FILES, &LoadOptions::xrefs}};
    for (const auto& [changed, its_field] : kinds) {
        DefaultActions actions;
        actions.SetDefaultAction(9, DEFAULT_ACTION_FAIL, nullptr, nullptr);
        actions.SetDefaultAction(changed, DEFAULT_ACTION_FAIL, nullptr, nullptr);
        for (const auto& [kind, field] : kinds) {
            int action = 17;
            actions.GetDefaultAction(9, action);
            EXPECT_EQ(17, action) << "there is no kind 9";
            actions.GetDefaultAction(kind, action);
            EXPECT_EQ(kind == changed, action == DEFAULT_ACTION_FAIL) << changed << ", " << kind;
            EXPECT_EQ(kind == changed, actions.load_options().*field == MissingAction::fail)
                << changed << ", " << kind;
        }
    }
}

TEST_F(CoreSceneTest, AnEffectSitsOnItsCameraOrOnAHolderBelowIt) {
    json scene = small_scene();
    json& nodes = scene["nodes"];
    nodes[0]["name"] = "Multipass";
    nodes[0]["extras"]["multipass"] = {{"effect", "depthOfField"}, {"passes", 5}};
    nodes[1]["extras"]["multipass"] = {{"effect", "depthOfField"}, {"enabled", false}};
    nodes[1]["children"] = {0};
    nodes[2]["extras"]["multipass"] = {
        {"effect", "motionBlur"}, {"passes", 3}, {"classId", {"0x6cc9546e", "0x0b1961b9"}}};
    nodes[2]["children"] = {3};
    nodes[3]["extras"]["multipass"] = nodes[0]["extras"]["multipass"];
    scene["scenes"][0]["nodes"] = {1, 2};
    ASSERT_EQ(1, load(scene));

    INode* camera = m_core.GetINodeByName("Camera01");
    EXPECT_EQ(1, camera->NumberOfChildren());
    for (const int none : {-1, 1})
        EXPECT_EQ(nullptr, camera->GetChildNode(none));
    const struct {
        INode* node;
        Class_ID camera;
        bool enabled;
        Class_ID effect;
        int passes;
    } cases[] = {
        {camera, {0x399ee5f2, 0x584a71a8}, false, depth_of_field_class, 0},
        {camera->GetChildNode(0), camera_class, true, depth_of_field_class, 5},
        {m_core.GetINodeByName("Side"), camera_class, true, {0x6cc9546e, 0x0b1961b9}, 3},
    };
    Interval valid;
    for (const auto& [node, camera_id, enabled, effect, passes] : cases) {
        SCOPED_TRACE(node->GetName());
        CameraObject* object = camera_object(node);
        ASSERT_NE(nullptr, object);
        EXPECT_EQ(camera_id, object->ClassID());
        EXPECT_EQ(enabled, object->GetMultiPassEffectEnabled(0, valid) != FALSE);
        EXPECT_EQ(effect, object->GetIMultiPassCameraEffect()->ClassID());
        if (enabled) {
            EXPECT_EQ(passes, object->GetIMultiPassCameraEffect()->TotalPasses(0));
        }
    }
}

TEST(DocumentTest, AnimationEndsWithTheFrameOfItsLastKeyOrTheTimeScale) {
    // 1.1 is a hair more as a float, which does not make another frame.
    for (const auto& [seconds, last] : {std::pair{1.1F, 33}, {1.11F, 34}, {1e9F, INT32_MAX / 160}}) {
        Scene scene;
        scene.duration = seconds;
        const Document document(std::make_shared<const Scene>(scene), "");
        EXPECT_EQ(last * 160, document.animation_range().End()) << seconds;
    }
}

}  // namespace
}  // namespace corrivane::host::test
