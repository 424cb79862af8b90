#include "scene/scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace corrivane::host {
namespace {

using Channel = AnimationChannel;
constexpr float pi = std::numbers::pi_v<float>;

Scene scene_with(Channel channel) {
    Scene scene;
    scene.nodes.resize(2);
    scene.nodes[0].transform.translation = {0, 10, 0};
    scene.nodes[1].parent = 0;
    scene.nodes[0].children = {1};
    channel.node = 1;
    scene.channels = {std::move(channel)};
    return scene;
}

void expect_near(const Imath::V3f& actual, const Imath::V3f& expected, const std::string& what) {
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(actual[c], expected[c], 1e-4f) << what << ", component " << c;
}

TEST(Pose, InterpolatesTranslations) {
    struct Case {
        Channel::Interpolation interpolation;
        double seconds;
        float x;
    };
    // Keys at 1, 3 and 4 seconds; the spline leaves the first at speed 4 and arrives at the next at speed -4.
    const std::vector<Imath::V4f> values = {{2, 0, 0, 0}, {6, 0, 0, 0}, {6, 0, 0, 0}};
    const std::vector<Imath::V4f> spline = {{9, 0, 0, 0},  {2, 0, 0, 0}, {4, 0, 0, 0},
                                            {-4, 0, 0, 0}, {6, 0, 0, 0}, {0, 0, 0, 0},
                                            {0, 0, 0, 0},  {6, 0, 0, 0}, {9, 0, 0, 0}};
    for (const Case& c : {
             Case{Channel::Interpolation::step, 0, 2},
             Case{Channel::Interpolation::step, 2.99, 2},
             Case{Channel::Interpolation::step, 3, 6},
             Case{Channel::Interpolation::linear, -5, 2},
             Case{Channel::Interpolation::linear, 1, 2},
             Case{Channel::Interpolation::linear, 1.5, 3},
             Case{Channel::Interpolation::linear, 100, 6},
             Case{Channel::Interpolation::cubic_spline, 1, 2},
             Case{Channel::Interpolation::cubic_spline, 2, 6},  // (2 + 6) / 2 + 2 s * (4 + 4) / 8
             Case{Channel::Interpolation::cubic_spline, 3, 6},
         }) {
        const bool cubic = c.interpolation == Channel::Interpolation::cubic_spline;
        const Scene scene =
            scene_with({-1, Channel::Path::translation, c.interpolation, {1, 3, 4}, cubic ? spline : values});
        const Pose pose = pose_at(scene, c.seconds);
        expect_near(pose[1].translation(), {c.x, 10, 0}, "at " + std::to_string(c.seconds));
    }
}

TEST(Pose, TurnsTheShortWayAtEvenSpeed) {
    const float half = std::sqrt(0.5f);
    // A quarter turn about y, its quaternion written with the opposite sign; neither is of unit length.
    const std::vector<Imath::V4f> values = {{0, 0, 0, 2}, {0, -3 * half, 0, -3 * half}};
    const Scene scene =
        scene_with({-1, Channel::Path::rotation, Channel::Interpolation::linear, {0, 1}, values});
    for (const float t : {0.0f, 0.25f, 0.5f, 1.0f}) {
        const Imath::V3f turned = Imath::V3f(1, 0, 0) * pose_at(scene, t)[1];
        const float angle = pi / 2 * t;
        expect_near(turned, {std::cos(angle), 10, -std::sin(angle)}, "at " + std::to_string(t));
    }
}

TEST(Pose, CombinesScaleRotationTranslationAndParents) {
    Scene scene;
    scene.nodes.resize(3);
    scene.nodes[0].transform = {{1, 0, 0}, Imath::Quatf(std::sqrt(0.5f), 0, 0, std::sqrt(0.5f)), {2, 3, 2}};
    scene.nodes[1].parent = 0;
    scene.nodes[1].transform.translation = {3, 0, 0};
    scene.nodes[2].parent = 1;
    scene.nodes[2].matrix =
        std::make_shared<const Imath::M44f>(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 5, 1);
    const Pose pose = pose_at(scene, 0);
    // A quarter turn about z takes x to y.
    expect_near(pose[1].translation(), {1, 6, 0}, "child");
    expect_near(pose[2].translation(), {1, 6, 10}, "grandchild");
}

TEST(Bounds, LeaveOutWhatIsTooFarAway) {
    Scene scene;
    scene.meshes.own().emplace_back().primitives.emplace_back().positions = {
        {1, 2, 3}, {2e15f, 0, 0}, {0, 2e15f, 0}, {0, 0, -2e15f}};
    scene.nodes.resize(1);
    scene.nodes[0].mesh = 0;
    EXPECT_EQ(bounds_of(scene, pose_at(scene, 0)), Imath::Box3f({1, 2, 3}));
}

}  // namespace
}  // namespace corrivane::host
