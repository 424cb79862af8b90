#include "plugin/plugin_test.h"

namespace corrivane::test {
namespace {

using testing::ElementsAre;

constexpr Class_ID other_renderer{1, 2};
constexpr Class_ID renderer_class_1{0x52ad1c02, 0x112d2fbc};
constexpr Class_ID renderer_class_2{0x58f67d6c, 0x4fcf3bc3};
constexpr Class_ID usual_camera{0xC, 0xD};
constexpr Class_ID holder_camera{0x399ee5f2, 0x584a71a8};
constexpr Class_ID usual_effect{0xE, 0xF};
constexpr Class_ID single_pass_effect{0x6cc9546e, 0x0b1961b9};

using OpeningTheRenderer = PluginTest;

TEST_F(OpeningTheRenderer, ViewportsAndCamerasAreOpenedForTheImageOrTheRegion) {
    FakeObject no_camera;
    FakeNode node("Cam", &no_camera);
    FakeNode empty_node("Empty");
    fake_max().nodes = {{"Cam", &node}, {"Empty", &empty_node}};
    const struct {
        const char* camera;
        bool region;
        std::string call;
    } cases[] = {
        {"", true, "OpenCurRenderer camera none viewport active type 4 8x4"},
        {"Cam", false, "OpenCurRenderer camera Cam viewport none type 0 8x4"},
        {"Empty", true, "OpenCurRenderer camera Empty viewport none type 4 8x4"},
    };
    for (const auto& [camera, region, call] : cases) {
        job_state.StartJob("a.max", camera);
        job_state.regionRendering = region;
        fake_max().calls.clear();
        job_state.OpenRenderer(7);
        EXPECT_THAT(fake_max().calls, ElementsAre(region ? "SetupRendParams 4" : "SetupRendParams 0", call));
        const std::string after = log();
        job_state.OpenRenderer(8);
        EXPECT_EQ(log(), after) << "opened twice";
        job_state.EndJob();
    }
}

TEST_F(OpeningTheRenderer, EffectOfTheCameraOrOfItsHolderDecidesAboutThePasses) {
    FakeEffect own;
    own.passes = 5;
    FakeEffect held;
    held.passes = 7;
    FakeCamera camera;
    FakeCamera first_holder;
    FakeCamera last_holder;
    last_holder.effect = &held;
    FakeNode first("Multipass", &first_holder);
    FakeNode other("multipass", &camera);
    FakeNode last("Multipass", &last_holder);
    FakeNode node("Cam", &camera);
    fake_max().nodes["Cam"] = &node;
    const struct {
        Class_ID renderer, camera, effect;
        bool enabled, has_effect, has_holder, held_enabled;
        bool multipass;
        int passes;
        IMultiPassCameraEffect* used;
    } cases[] = {
        {other_renderer, usual_camera, usual_effect, false, true, false, false, false, 1, nullptr},
        {other_renderer, usual_camera, usual_effect, true, true, false, false, true, 5, &own},
        {renderer_class_1, usual_camera, usual_effect, true, true, false, false, true, 5, &own},
        {other_renderer, usual_camera, single_pass_effect, true, true, false, false, false, 1, &own},
        {renderer_class_1, usual_camera, single_pass_effect, true, true, false, false, false, 1, &own},
        {renderer_class_2, usual_camera, single_pass_effect, true, true, false, false, true, 1, &own},
        {other_renderer, usual_camera, usual_effect, true, false, false, false, false, 1, nullptr},
        {renderer_class_1, holder_camera, usual_effect, true, true, true, true, true, 7, &held},
        {renderer_class_1, holder_camera, usual_effect, true, true, true, false, false, 1, nullptr},
        {renderer_class_1, holder_camera, usual_effect, true, true, false, true, false, 1, nullptr},
        {renderer_class_2, holder_camera, usual_effect, true, true, true, true, true, 5, &own},
    };
    int number = 0;
    for (const auto& c : cases) {
        fake_max().renderer_class = c.renderer;
        camera.id = c.camera;
        own.id = c.effect;
        camera.effect_enabled = c.enabled;
        camera.effect = c.has_effect ? &own : nullptr;
        node.children = {&other};
        if (c.has_holder) node.children = {&first, &other, &last};
        last_holder.effect_enabled = c.held_enabled;
        job_state.StartJob("a.max", "Cam");
        job_state.OpenRenderer(0);
        EXPECT_EQ(job_state.multipassEnabled, c.multipass) << number;
        EXPECT_EQ(job_state.multipassTotalPasses, c.passes) << number;
        EXPECT_EQ(job_state.multipassEffect, c.used) << number;
        job_state.EndJob();
        ++number;
    }
    EXPECT_TRUE(logged("\nMultipass plugin holder camera node Multipass\n"));
}

}  // namespace
}  // namespace corrivane::test
