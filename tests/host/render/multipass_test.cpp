#include "render/multipass.h"

#include <gmock/gmock.h>

#include <cmath>

namespace corrivane::host {
namespace {

MultipassEffect depth_of_field(int passes) {
    MultipassEffect effect;
    effect.passes = passes;
    effect.radius = 0.5f;
    effect.focus_distance = 4;
    return effect;
}

/// A camera somewhere, turned, with a scale that must not matter to the lens.
Imath::M44f some_camera(float scale) {
    Imath::M44f matrix = Imath::Quatf(0.8f, 0.36f, -0.48f, 0).normalized().toMatrix44();
    for (int axis = 0; axis < 3; ++axis) {
        for (int c = 0; c < 3; ++c)
            matrix[axis][c] *= scale;
    }
    matrix[3][0] = 3;
    matrix[3][1] = -2;
    matrix[3][2] = 7;
    return matrix;
}

TEST(MultipassCamera, MovesOnTheLensAndKeepsTheFocalPointInPlace) {
    const Imath::M44f camera = some_camera(1);
    const Imath::V3f axis = Imath::V3f(camera[2][0], camera[2][1], camera[2][2]);
    const Imath::V3f focal_point = camera.translation() - axis * 4;
    for (const float scale : {1.0f, 3.0f}) {
        Imath::V3f mean(0);
        float farthest = 0;
        for (int pass = 0; pass < 16; ++pass) {
            const Imath::M44f moved = multipass_camera(depth_of_field(16), some_camera(scale), pass);
            const Imath::V3f offset = moved.translation() - camera.translation();
            EXPECT_NEAR(offset.dot(axis), 0, 1e-5f) << "across the axis";
            farthest = std::max(farthest, offset.length());
            mean += offset / 16;
            // The focal point lies on the new axis too.
            const Imath::V3f seen = focal_point * moved.inverse();
            EXPECT_NEAR(seen.x, 0, 1e-4f);
            EXPECT_NEAR(seen.y, 0, 1e-4f);
            EXPECT_LT(seen.z, 0);
        }
        EXPECT_LE(farthest, 0.5f);
        EXPECT_GT(farthest, 0.45f);
        EXPECT_LT(mean.length(), 0.05f) << "the passes balance";
    }
}

TEST(MultipassCamera, CoversTheDiscEvenly) {
    int in_quadrant[4] = {};
    int inner_half = 0;
    for (int pass = 0; pass < 64; ++pass) {
        const Imath::V3f p = multipass_camera(depth_of_field(64), Imath::M44f(), pass).translation();
        ++in_quadrant[(p.x > 0 ? 1 : 0) + (p.y > 0 ? 2 : 0)];
        inner_half += p.length() < 0.5f * std::sqrt(0.5f) ? 1 : 0;
    }
    EXPECT_THAT(in_quadrant, testing::Each(testing::AllOf(testing::Ge(13), testing::Le(19))));
    EXPECT_EQ(inner_half, 32) << "half of the area";
}

TEST(Multipass, SpreadsMotionBlurOverTheShutterTimeAndLeavesTheRestAlone) {
    MultipassEffect blur;
    blur.kind = MultipassEffect::Kind::motion_blur;
    blur.passes = 4;
    blur.duration_frames = 2;
    for (int pass = 0; pass < 4; ++pass)
        EXPECT_EQ(multipass_frame_offset(blur, pass), -0.75 + 0.5 * pass);
    EXPECT_EQ(multipass_camera(blur, some_camera(2), 3), some_camera(2));
    EXPECT_EQ(multipass_frame_offset(depth_of_field(4), 3), 0);
    EXPECT_EQ(multipass_camera(depth_of_field(1), some_camera(2), 0), some_camera(2)) << "no effect";
    for (const int pass : {-1, 4}) {
        EXPECT_THROW(multipass_camera(blur, Imath::M44f(), pass), std::invalid_argument);
        EXPECT_THROW(multipass_frame_offset(blur, pass), std::invalid_argument);
    }
}

}  // namespace
}  // namespace corrivane::host
