#include "core/camera_effect.h"

#include "core/view_params.h"
#include "core_test_support.h"

#include <cmath>
#include <limits>

namespace corrivane::host::test {
namespace {

class CameraEffectTest : public CoreTest {
protected:
    IMultiPassCameraEffect* load_effect(const json& multipass) {
        json scene = small_scene();
        scene["nodes"][1]["extras"]["multipass"] = multipass;
        EXPECT_EQ(1, load(scene));
        m_camera = m_core.GetINodeByName("Camera01");
        m_object = m_camera->EvalWorldState(0, TRUE).obj;
        return dynamic_cast<CameraObject&>(*m_object).GetIMultiPassCameraEffect();
    }

    INode* m_camera = nullptr;
    Object* m_object = nullptr;
};

TEST_F(CameraEffectTest, MotionBlurStaysWithinTheTimesThatThereAre) {
    constexpr TimeValue first = std::numeric_limits<TimeValue>::min();
    constexpr TimeValue last = std::numeric_limits<TimeValue>::max();
    for (const double duration : {2.0, 1000.0}) {
        SCOPED_TRACE(duration);
        IMultiPassCameraEffect* effect =
            load_effect({{"effect", "motionBlur"}, {"passes", 4}, {"duration", duration}});
        TimeValue early = first + 1;
        effect->Apply(m_camera, m_object, 0, early);
        EXPECT_EQ(first, early);
        TimeValue late = last - 1;
        effect->Apply(m_camera, m_object, 3, late);
        EXPECT_EQ(last, late);
        TimeValue sum = 0;
        for (int pass = 0; pass < 4; ++pass) {
            TimeValue time = 10 * ticks_per_frame;
            EXPECT_EQ(nullptr, effect->Apply(m_camera, m_object, pass, time));
            sum += time - 10 * ticks_per_frame;
        }
        EXPECT_EQ(0, sum) << "the passes are centred on the frame";
    }
}

TEST_F(CameraEffectTest, OnePassIsTheCamerasOwnView) {
    TimeValue time = 0;
    EXPECT_EQ(nullptr,
              load_effect({{"effect", "depthOfField"}, {"passes", 1}})->Apply(m_camera, m_object, 0, time));
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
    const BitmapPointer other_size = make_bitmap(1, 2);
    effect->AccumulateBitmap(mean.get(), other_size.get(), 0, 0);
    effect->AccumulateBitmap(mean.get(), nullptr, 0, 0);
    effect->AccumulateBitmap(nullptr, pass.get(), 0, 0);
    EXPECT_FLOAT_EQ(0.5F, mean->row(0)[0].r);
    EXPECT_FLOAT_EQ(1.0F, mean->row(0)[0].b);
    EXPECT_FLOAT_EQ(0.5F, mean->row(0)[0].a);
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
