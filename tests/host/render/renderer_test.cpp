#include "render/renderer.h"

#include "host/render/render_scene.h"
#include "support/message_of.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <set>

namespace corrivane::host::test {
namespace {

using corrivane::test::message_of;
using testing::Each;
using testing::ElementsAre;
using testing::FloatNear;
using testing::HasSubstr;

/// Lit, shadowed, textured, transparent and cut-away surfaces, so that every part of the renderer takes part.
RenderScene busy_scene() {
    RenderScene scene;
    Material floor;
    floor.base_color_texture.texture = 0;
    floor.metallic = 0;
    floor.roughness = 0.2f;
    scene.scene.images.push_back({2, 1, {255, 80, 0, 255, 0, 80, 255, 255}});
    scene.scene.textures.push_back({0, TextureWrap::repeat, TextureWrap::repeat, false});
    scene.add_square(14, {0, 0, -3}, floor);
    scene.add_square(3, {1, 1, 0}, Material{});
    Material glass;
    glass.base_color = {0.2f, 0.9f, 0.4f, 0.5f};
    glass.alpha_mode = AlphaMode::blend;
    scene.add_square(4, {-2, -1, 2}, glass);
    Light light;
    light.intensity = 200;
    scene.add_light(light, {3, 4, 6});
    const int tilted = scene.add_square(2, {-2, 2, 1}, floor);
    scene.scene.nodes[static_cast<std::size_t>(tilted)].transform.rotation =
        Imath::Quatf(0.9f, 0.3f, 0.2f, 0);
    return scene;
}

RenderRequest request_of(const RenderScene& scene, int width, int height, int samples = 2) {
    RenderRequest request;
    request.camera_node = scene.camera;
    request.width = width;
    request.height = height;
    request.samples = samples;
    return request;
}

const std::vector<ElementType> all_elements = {ElementType::depth, ElementType::normal, ElementType::albedo,
                                               ElementType::alpha, ElementType::ambient_occlusion};

Image crop(const Image& image, const PixelRect& rect) {
    Image result{rect.width(), rect.height(), {}};
    for (int y = rect.top; y < rect.bottom; ++y) {
        const auto row = image.rgba.begin() + (y * image.width + rect.left) * 4;
        result.rgba.insert(result.rgba.end(), row, row + rect.width() * 4);
    }
    return result;
}

TEST(Renderer, RendersARegionAsThatPartOfTheWholeBitByBit) {
    const RenderScene scene = busy_scene();
    Renderer renderer(scene.share());
    RenderRequest request = request_of(scene, 101, 67);
    const std::vector<Image> whole = render(renderer, request, all_elements);
    for (const PixelRect& region :
         {PixelRect{0, 0, 101, 67}, PixelRect{0, 0, 1, 1}, PixelRect{100, 66, 101, 67},
          PixelRect{100, 0, 101, 67}, PixelRect{0, 40, 33, 67}, PixelRect{31, 31, 65, 34},
          PixelRect{17, 5, 90, 60}}) {
        request.region = region;
        const std::vector<Image> part = render(renderer, request, all_elements);
        for (std::size_t i = 0; i < part.size(); ++i) {
            EXPECT_TRUE(part[i] == crop(whole[i], region))
                << "image " << i << " of " << region.left << "," << region.top;
        }
    }
}

TEST(Renderer, GivesTheSamePixelsWithAnyNumberOfThreads) {
    const RenderScene scene = busy_scene();
    const auto shared = scene.share();
    const RenderRequest request = request_of(scene, 80, 70, 3);
    Renderer one(shared, {.threads = 1});
    const std::vector<Image> expected = render(one, request, all_elements);
    for (const int threads : {2, 3, 7}) {
        Renderer many(shared, {.threads = threads});
        EXPECT_TRUE(render(many, request, all_elements) == expected) << threads << " threads";
        EXPECT_TRUE(render(many, request, all_elements) == expected) << threads << " threads, again";
    }
}

TEST(Renderer, GivesTheSameFrameAfterOtherFrames) {
    RenderScene scene = busy_scene();
    scene.scene.channels.push_back({2,
                                    AnimationChannel::Path::translation,
                                    AnimationChannel::Interpolation::linear,
                                    {0, 1},
                                    {{1, 1, 0, 0}, {-3, 1, 0, 0}}});
    const auto shared = scene.share();
    Renderer renderer(shared);
    RenderRequest request = request_of(scene, 60, 50);
    request.seconds = 0.25;
    const std::vector<Image> first = render(renderer, request);
    request.seconds = 0.75;
    EXPECT_FALSE(render(renderer, request) == first) << "the animation must show";
    request.seconds = 0.25;
    EXPECT_TRUE(render(renderer, request) == first);
}

TEST(Renderer, FillsElementsOfAKnownPlane) {
    RenderScene scene;
    scene.add_square(5, {0, 0, 2}, flat_color(0.25f, 0.5f, 1));
    Renderer renderer(scene.share());
    const std::vector<Image> images = render(renderer, request_of(scene, 40, 40), all_elements);
    // In the middle, and in a corner that the square (6.25 of 10 high, 8 away) leaves free.
    const Image& depth = images[1];
    EXPECT_THAT(depth.at(20, 20),
                ElementsAre(FloatNear(8, 1e-4f), FloatNear(8, 1e-4f), FloatNear(8, 1e-4f), 1));
    EXPECT_THAT(depth.at(12, 28)[0], FloatNear(8, 1e-4f)) << "from the camera's plane, not from its eye";
    EXPECT_THAT(images[2].at(20, 20), ElementsAre(0.5f, 0.5f, 1, 1));
    EXPECT_THAT(images[3].at(20, 20),
                ElementsAre(FloatNear(0.5371f, 1e-3f), FloatNear(0.7354f, 1e-3f), 1, 1));
    EXPECT_THAT(images[4].at(20, 20), ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(images[5].at(20, 20), ElementsAre(1, 1, 1, 1)) << "nothing is near the plane";
    EXPECT_THAT(images[0].at(20, 20), images[3].at(20, 20)) << "unlit";
    for (const Image& image : images)
        EXPECT_THAT(image.at(1, 1), Each(0));
    EXPECT_THAT(images[0].rgba, Each(testing::Ge(0))) << "every pixel is written";
}

TEST(Renderer, CompositesTransparencyWithoutDividing) {
    RenderScene scene;
    scene.add_square(5, {0, 0, 2}, flat_color(1, 1, 1, 0.5f));
    Renderer over_nothing(scene.share());
    // Linear 0.5 is 0.7354 when encoded.
    EXPECT_THAT(
        render(over_nothing, request_of(scene, 9, 9))[0].at(4, 4),
        ElementsAre(FloatNear(0.7354f, 1e-3f), FloatNear(0.7354f, 1e-3f), FloatNear(0.7354f, 1e-3f), 0.5f));
    scene.add_square(5, {0, 0, 0}, flat_color(1, 0, 0));
    Renderer over_red(scene.share());
    EXPECT_THAT(render(over_red, request_of(scene, 9, 9))[0].at(4, 4),
                ElementsAre(1, FloatNear(0.7354f, 1e-3f), FloatNear(0.7354f, 1e-3f), 1));
}

TEST(Renderer, CutsMasksAndBacksAway) {
    RenderScene scene;
    Material mask = flat_color(0, 1, 0);
    mask.alpha_mode = AlphaMode::mask;
    mask.base_color.a = 0.4f;
    scene.add_square(5, {0, 0, 3}, mask);
    const int back = scene.add_square(5, {0, 0, 2}, flat_color(0, 0, 1));
    scene.scene.nodes[static_cast<std::size_t>(back)].transform.rotation = Imath::Quatf(0, 0, 1, 0);
    scene.add_square(5, {0, 0, 1}, flat_color(1, 0, 0));
    Renderer cut(scene.share());
    EXPECT_THAT(render(cut, request_of(scene, 9, 9), {ElementType::depth})[0].at(4, 4),
                ElementsAre(1, 0, 0, 1));
    EXPECT_THAT(render(cut, request_of(scene, 9, 9), {ElementType::depth})[1].at(4, 4)[0],
                FloatNear(9, 1e-4f));

    scene.scene.materials[1].double_sided = true;
    Renderer two_sided(scene.share());
    EXPECT_THAT(render(two_sided, request_of(scene, 9, 9))[0].at(4, 4), ElementsAre(0, 0, 1, 1));
    // A mirrored node keeps its front.
    scene.scene.materials[1].double_sided = false;
    scene.scene.nodes[static_cast<std::size_t>(back)].transform.rotation = Imath::Quatf();
    scene.scene.nodes[static_cast<std::size_t>(back)].transform.scale = {-1, 1, 1};
    Renderer mirrored(scene.share());
    EXPECT_THAT(render(mirrored, request_of(scene, 9, 9))[0].at(4, 4), ElementsAre(0, 0, 1, 1));
}

TEST(Renderer, LightsByTheInverseSquareWithShadows) {
    RenderScene scene;
    Material white;
    white.metallic = 0;
    scene.add_square(8, {0, 0, 0}, white);
    Light light;
    light.intensity = 25;
    scene.add_light(light, {0, 0, 5});
    Renderer lit(scene.share());
    const float near = render(lit, request_of(scene, 21, 21, 4))[0].at(10, 10)[0];
    scene.scene.nodes.back().transform.translation = {0, 0, 8};
    Renderer farther(scene.share());
    const float far = render(farther, request_of(scene, 21, 21, 4))[0].at(10, 10)[0];
    scene.add_square(1, {0, 0, 7}, flat_color(1, 1, 1));
    scene.scene.nodes[0].transform.translation = {0, 0, 6};
    Renderer shadowed(scene.share());
    const float dark = render(shadowed, request_of(scene, 21, 21, 4))[0].at(10, 10)[0];
    EXPECT_GT(near, far + 0.05f);
    EXPECT_GT(far, dark + 0.05f);
    EXPECT_GT(dark, 0.1f) << "the sky still shines";
}

TEST(Renderer, LightsAndFramesASceneThatHasNeitherLightNorCamera) {
    RenderScene scene;
    scene.scene.nodes.clear();
    Material grey;
    grey.double_sided = true;
    scene.add_square(500, {3000, 0, 0}, grey);
    Renderer renderer(scene.share());
    RenderRequest request;
    request.width = 48;
    request.height = 27;
    const std::vector<Image> images = render(renderer, request, {ElementType::alpha});
    EXPECT_GT(images[0].at(24, 13)[0], 0.2f);
    for (const auto& [x, y] : {std::pair{0, 0}, {47, 0}, {0, 26}, {47, 26}}) {
        EXPECT_EQ(images[1].at(x, y)[0], 0) << "the whole scene fits";
    }
}

TEST(Renderer, ShowsNothingWhereThereIsNothing) {
    RenderScene scene;
    RenderScene hollow;
    hollow.scene.meshes.resize(2);
    hollow.scene.meshes[1].primitives.resize(1);
    hollow.scene.materials.resize(1);
    for (const int mesh : {0, 1}) {
        SceneNode node;
        node.mesh = mesh;
        hollow.scene.nodes.push_back(node);
    }
    const float infinity = std::numeric_limits<float>::infinity();
    RenderScene flattened;
    for (const Imath::V3f& scale :
         {Imath::V3f(1, 1, 0), Imath::V3f(0), Imath::V3f(infinity), Imath::V3f(1e-20f)}) {
        const int node = flattened.add_square(4, {0, 0, 0}, flat_color(1, 1, 1));
        flattened.scene.nodes[static_cast<std::size_t>(node)].transform.scale = scale;
    }
    RenderScene degenerate;
    degenerate.add_square(0, {0, 0, 0}, flat_color(1, 1, 1));
    for (RenderScene* empty : {&scene, &hollow, &flattened, &degenerate}) {
        Renderer renderer(empty->share());
        for (const Image& image : render(renderer, request_of(*empty, 20, 10), all_elements)) {
            EXPECT_THAT(image.rgba, Each(0));
        }
        RenderRequest framed = request_of(*empty, 20, 10);
        framed.camera_node = -1;
        EXPECT_THAT(render(renderer, framed)[0].rgba, Each(0));
    }
}

TEST(Renderer, SurvivesPlacesBeyondWhatItCanTrace) {
    struct Case {
        Imath::V3f camera;
        float half_height;  ///< of an orthographic view; 0: perspective
        Imath::V3f scale;   ///< of the square
        float corner;       ///< the square's first x
    };
    for (const Case& c :
         {Case{{0, 0, 2e18f}, 0, Imath::V3f(1), -1}, Case{{0, 0, 1e38f}, 0, Imath::V3f(1), -1},
          Case{{0, 0, 10}, 9e17f, Imath::V3f(1), -1}, Case{{0, 0, 10}, 0, {1e15f, 1e-8f, 1e-7f}, -1},
          Case{{0, 0, 10}, 0, {1e17f, 1, 1}, -1}, Case{{0, 0, 10}, 0, Imath::V3f(1), 1e17f},
          Case{{1e15f, 0, 10}, 0, {1, 1, 1e-8f}, -1}}) {
        RenderScene scene;
        const int square = scene.add_square(2, {0, 0, 0}, Material{});
        scene.scene.meshes[0].primitives[0].positions[0].x = c.corner;
        scene.scene.nodes[static_cast<std::size_t>(square)].transform.scale = c.scale;
        scene.scene.nodes[0].transform.translation = c.camera;
        Projection& projection = scene.scene.cameras[0].projection;
        if (c.half_height > 0) projection = {Projection::Kind::orthographic, 0.8f, c.half_height};
        Light light;
        scene.add_light(light, {1e38f, 1e38f, 1e38f});
        Renderer renderer(scene.share());
        RenderRequest request = request_of(scene, 8, 8);
        for (const int camera : {scene.camera, -1}) {
            request.camera_node = camera;
            EXPECT_THAT(render(renderer, request)[0].rgba, Each(testing::Ge(0)));
        }
    }
}

TEST(Renderer, NamesWhatIsWrongWithARequest) {
    RenderScene scene;
    scene.add_square(1, {0, 0, 0}, flat_color(1, 1, 1));
    Renderer renderer(scene.share());
    const RenderRequest good = request_of(scene, 8, 8);
    const auto message = [&](auto spoil) {
        RenderRequest request = good;
        spoil(request);
        std::vector<float> pixels(8 * 8 * 4);
        return message_of([&] { renderer.render(request, {pixels, {}}); });
    };
    EXPECT_THAT(message([](RenderRequest& r) { r.width = 0; }), HasSubstr("width"));
    EXPECT_THAT(message([](RenderRequest& r) { r.height = 40000; }), HasSubstr("height"));
    EXPECT_THAT(message([](RenderRequest& r) { r.samples = 0; }), HasSubstr("samples"));
    EXPECT_THAT(message([](RenderRequest& r) { r.pixel_aspect = NAN; }), HasSubstr("pixel_aspect"));
    EXPECT_THAT(message([](RenderRequest& r) { r.seconds = NAN; }), HasSubstr("seconds"));
    EXPECT_THAT(message([](RenderRequest& r) { r.camera_node = 1; }), HasSubstr("node 1 has no camera"));
    EXPECT_THAT(message([](RenderRequest& r) { r.camera_node = 9; }), HasSubstr("no node 9"));
    EXPECT_THAT(message([](RenderRequest& r) { r.width = 9; }), HasSubstr("beauty has the wrong size"));
    for (const PixelRect& region :
         {PixelRect{0, 0, 9, 8}, PixelRect{-1, 0, 8, 8}, PixelRect{4, 4, 4, 8}, PixelRect{6, 0, 2, 8}}) {
        EXPECT_THAT(message([&](RenderRequest& r) { r.region = region; }), HasSubstr("region"));
    }
    for (const float yfov : {0.0f, -1.0f, 3.2f, NAN}) {
        EXPECT_THAT(message([&](RenderRequest& r) {
                        r.view.emplace();
                        r.view->projection.yfov = yfov;
                    }),
                    HasSubstr("yfov"));
    }
    EXPECT_EQ(message([](RenderRequest& r) {
                  r.view.emplace();
                  r.view->camera_to_world = Imath::M44f(NAN);
                  r.view->projection.yfov = 3.14f;
              }),
              "no exception");
}

TEST(RenderProgress, TellsBothPhasesToTheirEnd) {
    const RenderScene scene = busy_scene();
    Renderer renderer(scene.share(), {.threads = 2});
    const RenderRequest request = request_of(scene, 100, 70, 1);
    std::vector<float> pixels(100 * 70 * 4);
    for (const int meshes_to_build : {4, 0}) {
        ProgressLog log;
        EXPECT_EQ(renderer.render(request, {pixels, {}}, &log), RenderResult::complete);
        const auto phases = log.phases();
        ASSERT_EQ(phases.size(), 2u);
        EXPECT_EQ(phases[0].title, "Preparing Objects");
        std::vector<std::pair<int, int>> preparing = {{0, 0}};
        for (int i = 1; i <= meshes_to_build + 1; ++i)
            preparing.emplace_back(i, meshes_to_build + 1);
        EXPECT_EQ(phases[0].reports, preparing);

        EXPECT_EQ(phases[1].title, "Rendering Image");
        const auto& reports = phases[1].reports;
        ASSERT_EQ(reports.size(), 12u) << "four by three tiles";
        EXPECT_EQ(reports.back(), std::pair(12, 12));
        EXPECT_EQ(std::set(reports.begin(), reports.end()).size(), 12u) << "each once";
        EXPECT_EQ(reports[0].second, 12);
    }
}

TEST(RenderProgress, StopsTheRenderWhereverItSaysNo) {
    const RenderScene scene = busy_scene();
    const RenderRequest request = request_of(scene, 320, 320, 1);
    std::vector<float> pixels(320 * 320 * 4);
    for (const int stop_at : {0, 1, 4, 6, 20}) {
        Renderer renderer(scene.share(), {.threads = 2});
        ProgressLog log(stop_at);
        EXPECT_EQ(renderer.render(request, {pixels, {}}, &log), RenderResult::aborted);
        std::size_t reports = 0;
        for (const auto& phase : log.phases())
            reports += phase.reports.size();
        EXPECT_LE(reports, static_cast<std::size_t>(stop_at) + 2) << "the other thread may finish its tile";
        std::vector<float> small(32 * 32 * 4);
        EXPECT_EQ(renderer.render(request_of(scene, 32, 32, 1), {small, {}}), RenderResult::complete);
    }
}

}  // namespace
}  // namespace corrivane::host::test
