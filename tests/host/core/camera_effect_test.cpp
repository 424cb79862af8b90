#include "core/camera_effect.h"

#include "core/view_params.h"
#include "core_test_support.h"

#include <cmath>
#include <limits>

namespace corrivane::host::test {
namespace {

using nlohmann::json;

constexpr TimeValue ticks_per_frame = 160;

class CameraEffectTest : public CoreTest {
protected:
    IMultiPassCameraEffect* load_effect(const json& multipass) {
        json scene = triangle_scene();
        node_named(scene, "Camera01")["extras"]["multipass"] = multipass;
        EXPECT_EQ(1, load(scene));
        m_camera = m_core.GetINodeByName("Camera01");
        m_object = m_camera->EvalWorldState(0, TRUE).obj;
        return dynamic_cast<CameraObject&>(*m_object).GetIMultiPassCameraEffect();
    }

    ViewParams* apply(IMultiPassCameraEffect* effect, int pass, TimeValue& time) {
        return effect->Apply(m_camera, m_object, pass, time);
    }

    /// Renders all passes as a job does.
    std::vector<float> render_passes(IMultiPassCameraEffect* effect, TimeValue frame_time) {
        const BitmapPointer sum = make_bitmap(width, height);
        const BitmapPointer pass_bitmap = make_bitmap(width, height);
        EXPECT_EQ(1, m_core.OpenCurRenderer(m_camera, nullptr, RENDTYPE_NORMAL, width, height));
        for (int pass = 0; pass < effect->TotalPasses(frame_time); ++pass) {
            TimeValue time = frame_time;
            ViewParams* view = apply(effect, pass, time);
            EXPECT_EQ(1,
                      m_core.CurRendererRenderFrame(time, pass_bitmap.get(), nullptr, 1.0F, view, nullptr));
            effect->AccumulateBitmap(sum.get(), pass_bitmap.get(), pass, time);
        }
        effect->PostRenderFrame();
        return numbers_of(*sum);
    }

    INode* m_camera = nullptr;
    Object* m_object = nullptr;
};

TEST_F(CameraEffectTest, OnePassIsTheFrameWithoutAnEffectBitForBit) {
    for (const char* effect_name : {"depthOfField", "motionBlur"}) {
        SCOPED_TRACE(effect_name);
        IMultiPassCameraEffect* effect =
            load_effect({{"effect", effect_name}, {"passes", 1}, {"radius", 0.5}});
        const std::vector<float> passes = render_passes(effect, 7 * ticks_per_frame);
        EXPECT_EQ(render_camera("Camera01", 7 * ticks_per_frame), passes);
    }
}

TEST_F(CameraEffectTest, MotionBlurMovesTheTimeOfItsPassesAroundTheFrame) {
    IMultiPassCameraEffect* effect =
        load_effect({{"effect", "motionBlur"}, {"passes", 4}, {"duration", 2.0}});
    TimeValue last = std::numeric_limits<TimeValue>::min();
    TimeValue sum = 0;
    for (int pass = 0; pass < 4; ++pass) {
        TimeValue time = 10 * ticks_per_frame;
        EXPECT_EQ(nullptr, apply(effect, pass, time));
        EXPECT_GT(time, last);
        EXPECT_LE(std::abs(time - 10 * ticks_per_frame), ticks_per_frame);
        sum += time - 10 * ticks_per_frame;
        last = time;
    }
    EXPECT_EQ(0, sum) << "the passes are centred on the frame";
    EXPECT_NE(render_camera("Camera01", 10 * ticks_per_frame), render_passes(effect, 10 * ticks_per_frame));
}

TEST_F(CameraEffectTest, MotionBlurStaysWithinTheTimesThatThereAre) {
    constexpr TimeValue first = std::numeric_limits<TimeValue>::min();
    constexpr TimeValue last = std::numeric_limits<TimeValue>::max();
    for (const double duration : {2.0, 1000.0}) {
        SCOPED_TRACE(duration);
        IMultiPassCameraEffect* effect =
            load_effect({{"effect", "motionBlur"}, {"passes", 4}, {"duration", duration}});
        TimeValue early = first + 1;
        apply(effect, 0, early);
        EXPECT_EQ(first, early);
        TimeValue late = last - 1;
        apply(effect, 3, late);
        EXPECT_EQ(last, late);
    }
}

TEST_F(CameraEffectTest, DepthOfFieldKeepsWhatIsInFocusAndBlursTheRest) {
    const auto alpha_in_between = [](const std::vector<float>& numbers) {
        int count = 0;
        for (std::size_t i = 3; i < numbers.size(); i += 4) {
            count += numbers[i] > 0.01F && numbers[i] < 0.99F ? 1 : 0;
        }
        return count;
    };
    const json in_focus = {
        {"effect", "depthOfField"}, {"passes", 9}, {"radius", 0.3}, {"focusDistance", 5.0}};
    json out_of_focus = in_focus;
    out_of_focus["focusDistance"] = 1.5;
    const int sharp = alpha_in_between(render_passes(load_effect(in_focus), 0));
    const int blurred = alpha_in_between(render_passes(load_effect(out_of_focus), 0));
    EXPECT_GT(blurred, 2 * sharp);
}

TEST_F(CameraEffectTest, PassesAndNodesThatAreNotThereGetTheCamerasOwnView) {
    IMultiPassCameraEffect* effect = load_effect({{"effect", "depthOfField"}, {"passes", 2}});
    TimeValue time = 5;
    EXPECT_EQ(nullptr, apply(effect, -1, time));
    EXPECT_EQ(nullptr, apply(effect, 2, time));
    EXPECT_EQ(nullptr, effect->Apply(nullptr, nullptr, 0, time));
    EXPECT_EQ(nullptr, effect->Apply(m_core.GetINodeByName("Helper"), nullptr, 0, time));
    EXPECT_EQ(5, time);
}

TEST_F(CameraEffectTest, AccumulatesTheMeanAndCopiesTheFirstPass) {
    IMultiPassCameraEffect* effect = load_effect({{"effect", "motionBlur"}, {"passes", 3}});
    const BitmapPointer mean = make_bitmap(2, 1);
    const BitmapPointer pass = make_bitmap(2, 1);
    mean->row(0)[0] = {9, 9, 9, 9};
    const float infinity = std::numeric_limits<float>::infinity();
    const BMM_Color_fl samples[] = {{0.1F, infinity, 0, 1}, {0.4F, 0, 3, 0}, {1.0F, 0, 0, 0.5F}};
    for (int index = 0; index < 3; ++index) {
        pass->row(0)[0] = samples[index];
        effect->AccumulateBitmap(mean.get(), pass.get(), index, 0);
        if (index == 0) {
            EXPECT_EQ(0.1F, mean->row(0)[0].r);
            EXPECT_EQ(infinity, mean->row(0)[0].g);
        }
    }
    EXPECT_FLOAT_EQ(0.5F, mean->row(0)[0].r);
    EXPECT_FLOAT_EQ(1.0F, mean->row(0)[0].b);
    EXPECT_FLOAT_EQ(0.5F, mean->row(0)[0].a);
    const BitmapPointer other_size = make_bitmap(1, 2);
    effect->AccumulateBitmap(mean.get(), other_size.get(), 0, 0);
    effect->AccumulateBitmap(mean.get(), nullptr, 0, 0);
    effect->AccumulateBitmap(nullptr, pass.get(), 0, 0);
    EXPECT_FLOAT_EQ(0.5F, mean->row(0)[0].r);
}

TEST(ViewParamsTest, AViewSurvivesItsWayThroughTheInterface) {
    View view;
    view.camera_to_world.translate(Imath::V3f(1, 2, 3));
    view.camera_to_world.rotate(Imath::V3f(0.3F, 0.2F, 0.1F));
    view.projection.yfov = 0.7F;
    const ViewParams params = to_view_params(view, 1.6F);
    EXPECT_FLOAT_EQ(2 * std::atan(1.6F * std::tan(0.35F)), params.fov);
    const View back = to_view(params, Projection{}, 1.6F);
    EXPECT_TRUE(back.camera_to_world.equalWithAbsError(view.camera_to_world, 1e-5F));
    EXPECT_NEAR(0.7F, back.projection.yfov, 1e-6F);
}

TEST(ViewParamsTest, ImpossibleNumbersAreRefused) {
    for (const float fov : {0.0F, -1.0F, 3.2F, std::nanf("")}) {
        ViewParams params;
        params.fov = fov;
        EXPECT_THROW(to_view(params, Projection{}, 1), std::invalid_argument) << fov;
    }
    ViewParams params;
    params.affineTM[3][0] = std::numeric_limits<float>::infinity();
    EXPECT_THROW(to_view(params, Projection{}, 1), std::invalid_argument);
}

}  // namespace
}  // namespace corrivane::host::test
