#include "fakes/fake_max.h"
#include "plugin/plugin_test.h"
#include "support/message_of.h"
#include "support/provoked_fault.h"

#include <sstream>

namespace corrivane::test {
namespace {

constexpr Class_ID renderer_class_1{0x52ad1c02, 0x112d2fbc};
constexpr Class_ID renderer_class_2{0x58f67d6c, 0x4fcf3bc3};
constexpr Class_ID holder_camera_class{0x399ee5f2, 0x584a71a8};
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
        {"", false, "OpenCurRenderer camera none viewport active type 0 8x4"},
        {"", true, "OpenCurRenderer camera none viewport active type 4 8x4"},
        {"Cam", false, "OpenCurRenderer camera Cam viewport none type 0 8x4"},
        {"Empty", true, "OpenCurRenderer camera Empty viewport none type 4 8x4"},
    };
    for (const auto& [camera, region, call] : cases) {
        job_state.StartJob("a.max", camera);
        job_state.regionRendering = region;
        const std::string before = log();
        fake_max().calls.clear();
        job_state.OpenRenderer(7);
        EXPECT_EQ(fake_max().calls,
                  (std::vector<std::string>{std::string("SetupRendParams ") + (region ? "4" : "0"), call}));
        std::ostringstream source;
        if (*camera != '\0')
            source << "Rendering camera node " << camera << "\nChecking multipass info for frame 7\n";
        else
            source << "Rendering view at address " << static_cast<const void*>(&fake_max().viewport) << '\n';
        EXPECT_EQ(log(), before + "Setting up render parameters\n" + source.str() +
                             "Opening renderer\nMultipass enabled = 0\nTotal passes = 1\n");
        EXPECT_TRUE(job_state.rendererOpen);
        const std::string after = log();
        job_state.OpenRenderer(8);
        EXPECT_EQ(log(), after);
        EXPECT_EQ(fake_max().calls.size(), 2U);
        job_state.EndJob();
    }
}

TEST_F(OpeningTheRenderer, EffectOfACameraDecidesAboutThePasses) {
    FakeEffect effect;
    effect.passes = 5;
    FakeCamera camera;
    FakeNode node("Cam", &camera);
    fake_max().nodes["Cam"] = &node;
    const struct {
        bool enabled;
        bool has_effect;
        Class_ID effect_class;
        Class_ID renderer;
        bool multipass;
        int passes;
    } cases[] = {
        {false, true, {1, 2}, {1, 2}, false, 1},
        {true, true, {1, 2}, {1, 2}, true, 5},
        {true, true, {1, 2}, renderer_class_1, true, 5},
        {true, true, single_pass_effect, {1, 2}, false, 1},
        {true, true, single_pass_effect, renderer_class_1, false, 1},
        {true, true, single_pass_effect, renderer_class_2, true, 1},
        {true, false, {1, 2}, {1, 2}, false, 1},
    };
    for (const auto& [enabled, has_effect, effect_class, renderer, multipass, passes] : cases) {
        camera.effect_enabled = enabled;
        camera.effect = has_effect ? &effect : nullptr;
        effect.id = effect_class;
        fake_max().renderer_class = renderer;
        job_state.StartJob("a.max", "Cam");
        job_state.OpenRenderer(0);
        EXPECT_EQ(job_state.multipassEnabled, multipass);
        EXPECT_EQ(job_state.multipassTotalPasses, passes);
        EXPECT_EQ(job_state.multipassEffect, enabled && has_effect ? &effect : nullptr);
        EXPECT_TRUE(log().ends_with(std::string("Multipass enabled = ") + (multipass ? "1" : "0") +
                                    "\nTotal passes = " + std::to_string(passes) + "\n"));
        job_state.EndJob();
    }
}

TEST_F(OpeningTheRenderer, HolderChildCarriesTheEffectForOneRendererClass) {
    FakeEffect own;
    FakeEffect held;
    held.passes = 7;
    FakeCamera camera;
    camera.id = holder_camera_class;
    camera.effect_enabled = true;
    camera.effect = &own;
    FakeCamera first_holder;
    FakeCamera last_holder;
    last_holder.effect = &held;
    FakeNode first("Multipass", &first_holder);
    FakeNode other("multipass", &camera);
    FakeNode last("Multipass", &last_holder);
    FakeNode node("Cam", &camera);
    fake_max().nodes["Cam"] = &node;
    const struct {
        Class_ID renderer;
        bool has_holder;
        bool held_enabled;
        bool multipass;
        int passes;
        IMultiPassCameraEffect* effect;
    } cases[] = {
        {renderer_class_1, true, true, true, 7, &held},
        {renderer_class_1, true, false, false, 1, nullptr},
        {renderer_class_1, false, true, false, 1, nullptr},
        {renderer_class_2, true, true, true, 3, &own},
    };
    for (const auto& [renderer, has_holder, held_enabled, multipass, passes, effect] : cases) {
        fake_max().renderer_class = renderer;
        node.children = {&other};
        if (has_holder) node.children = {&first, &other, &last};
        last_holder.effect_enabled = held_enabled;
        job_state.StartJob("a.max", "Cam");
        job_state.OpenRenderer(0);
        EXPECT_EQ(job_state.multipassEnabled, multipass);
        EXPECT_EQ(job_state.multipassTotalPasses, passes);
        EXPECT_EQ(job_state.multipassEffect, effect);
        job_state.EndJob();
    }
    EXPECT_TRUE(logged("\nMultipass plugin holder camera node Multipass\n"));
}

TEST_F(OpeningTheRenderer, FailureLeavesItClosedForTheNextFrame) {
    const AbandonedFramesMayLeak amnesty;
    job_state.StartJob("a.max", "");
    fake_max().open_result = 0;
    EXPECT_EQ(message_of([] { job_state.OpenRenderer(0); }), "Failed to open the max renderer.");
    fake_max().inside["OpenCurRenderer"] = [] { read_address(0x10); };
    EXPECT_EQ(message_of([] { job_state.OpenRenderer(0); }), "Failed to open the max renderer.");
    EXPECT_FALSE(job_state.rendererOpen);
    fake_max().inside.clear();
    fake_max().open_result = 1;
    job_state.OpenRenderer(0);
    EXPECT_TRUE(job_state.rendererOpen);
}

}  // namespace
}  // namespace corrivane::test
