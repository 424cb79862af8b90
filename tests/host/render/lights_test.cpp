#include "render/lights.h"

#include <gtest/gtest.h>

#include <cmath>

namespace corrivane::host {
namespace {

// A light at (0, 0, 5) that shines down -z, of 100 candela (lux) and a range of 8; a spot fades from 0.3 to 0.6 rad.
TEST(Lights, FallOffAcrossTheConeAndWithTheDistance) {
    using Kind = Light::Kind;
    const struct {
        Kind kind;
        Imath::V3f point;
        float irradiance;
        float distance;
    } cases[] = {
        {Kind::point, {0, 0, 0}, 3.38965f, 5},  // 100 / 5^2 * (1 - (5 / 8)^4)
        {Kind::point, {0, 0, 9}, 5.85938f, 4},
        {Kind::point, {0, 0, -3}, 0, 8},
        {Kind::point, {0, 0, -4}, 0, 9},
        {Kind::spot, {0, 0, 0}, 3.38965f, 5},
        {Kind::spot, {2.4f, 0, 0}, 0.858646f, 5.5461698f},
        {Kind::spot, {0, 4, 0}, 0, 6.4031243f},
        {Kind::spot, {0, 0, 9}, 0, 4},
        {Kind::directional, {7, 8, 900}, 100, INFINITY},
    };
    for (const auto& c : cases) {
        Scene scene;
        scene.lights = {{"", c.kind, {1, 0.5f, 0}, 100, 8, 0.3f, 0.6f}};
        scene.nodes.resize(1);
        scene.nodes[0].light = 0;
        scene.nodes[0].transform.translation = {0, 0, 5};
        const PlacedLight light = place_lights(scene, pose_at(scene, 0)).at(0);
        const Illumination arriving = illumination_at(light, c.point);
        EXPECT_NEAR(arriving.irradiance.x, c.irradiance, 1e-4f) << int(c.kind) << " at " << c.point;
        EXPECT_NEAR(arriving.irradiance.y, c.irradiance / 2, 1e-4f);
        EXPECT_EQ(arriving.irradiance.z, 0);
        EXPECT_FLOAT_EQ(arriving.distance, c.distance);
        const Imath::V3f way = c.kind == Kind::directional ? Imath::V3f(0, 0, 1) : light.position - c.point;
        EXPECT_NEAR(arriving.towards.dot(way.normalized()), 1, 1e-5f);
    }
}

}  // namespace
}  // namespace corrivane::host
