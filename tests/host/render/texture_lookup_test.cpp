#include "render/texture_lookup.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corrivane::host {
namespace {

/// Two texels: black, opaque; white, transparent. Image 1 has them one below the other.
Scene two_texels() {
    Scene scene;
    scene.images.push_back({2, 1, {0, 0, 0, 255, 255, 255, 255, 0}});
    scene.images.push_back({1, 2, scene.images[0].rgba});
    return scene;
}

TEST(TextureLookup, FiltersAndWraps) {
    const Scene scene = two_texels();
    struct Case {
        TextureWrap wrap;
        float u;
        float white;
    };
    for (const Case& c : {
             Case{TextureWrap::repeat, 0.25f, 0},
             Case{TextureWrap::repeat, 0.75f, 1},
             Case{TextureWrap::repeat, 0.5f, 0.5f},
             Case{TextureWrap::repeat, 0, 0.5f},
             Case{TextureWrap::repeat, -0.25f, 1},
             Case{TextureWrap::repeat, 7.25f, 0},
             Case{TextureWrap::clamp_to_edge, 0, 0},
             Case{TextureWrap::clamp_to_edge, -9, 0},
             Case{TextureWrap::clamp_to_edge, 9, 1},
             Case{TextureWrap::mirrored_repeat, -0.25f, 0},
             Case{TextureWrap::mirrored_repeat, 1.25f, 1},
             Case{TextureWrap::mirrored_repeat, 1.75f, 0},
             Case{TextureWrap::mirrored_repeat, 1, 1},
             Case{TextureWrap::mirrored_repeat, 2, 0},
         }) {
        const Imath::C4f color = look_up(scene, {0, c.wrap, c.wrap, false}, {c.u, 0.5f});
        EXPECT_NEAR(color.r, c.white, 1e-6f) << int(c.wrap) << " at " << c.u;
        EXPECT_NEAR(color.a, 1 - c.white, 1e-6f) << int(c.wrap) << " at " << c.u;
        const auto other = TextureWrap((int(c.wrap) + 1) % 3);
        EXPECT_EQ(look_up(scene, {1, other, c.wrap, false}, {0.5f, c.u}), color);
        const Imath::C4f nearest = look_up(scene, {0, c.wrap, c.wrap, true}, {c.u, 0.5f});
        EXPECT_TRUE(nearest.r == 0 || nearest.r == 1);
        EXPECT_EQ(look_up(scene, {1, other, c.wrap, true}, {0.5f, c.u}), nearest);
    }
}

TEST(TextureLookup, SurvivesAnyCoordinates) {
    const Scene scene = two_texels();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const TextureWrap wrap :
         {TextureWrap::repeat, TextureWrap::clamp_to_edge, TextureWrap::mirrored_repeat}) {
        for (const float u : {NAN, infinity, -infinity, 1e30f, -1e30f, -1e-30f, 0.99999999f, 1e-45f}) {
            for (const bool nearest : {false, true}) {
                const Imath::C4f color = look_up(scene, {0, wrap, wrap, nearest}, {u, u});
                EXPECT_TRUE(color.r >= 0 && color.r <= 1) << u;
            }
        }
    }
}

TEST(SrgbTransfer, FollowsItsStandard) {
    EXPECT_EQ(linear_to_srgb(-1), 0);
    EXPECT_EQ(linear_to_srgb(NAN), 0);
    EXPECT_NEAR(linear_to_srgb(0.002f), 0.02584f, 1e-5f);
    EXPECT_NEAR(linear_to_srgb(0.2140f), 0.5f, 1e-4f);
    EXPECT_NEAR(linear_to_srgb(1), 1, 1e-6f);
    EXPECT_GT(linear_to_srgb(4), 1.5f);
    for (int i = 0; i < 256; ++i) {
        EXPECT_NEAR(linear_to_srgb(srgb_to_linear(static_cast<std::uint8_t>(i))) * 255, i, 1e-2f);
    }
}

}  // namespace
}  // namespace corrivane::host
