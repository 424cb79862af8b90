#include "render/renderer.h"

#include "host/render/render_scene.h"

#include <chrono>
#include <future>
#include <limits>
#include <mutex>

namespace corrivane::host::test {
namespace {

using corrivane::test::message_of;
using corrivane::test::Texts;
using testing::Each;
using testing::ElementsAre;
using testing::FloatNear;

constexpr float infinity = std::numeric_limits<float>::infinity();

/// Lit, shadowed, textured, transparent, cut-away and moving surfaces, so that every part of the renderer takes part.
RenderScene busy_scene() {
    RenderScene scene;
    Material floor;
    floor.base_color_texture.texture = 0;
    floor.metallic = 0;
    floor.roughness = 0.2f;
    scene.images.push_back({2, 1, {255, 80, 0, 255, 0, 80, 255, 255}});
    scene.textures.push_back({0, TextureWrap::repeat, TextureWrap::repeat, false});
    scene.add_square(14, {0, 0, -3}, floor);
    scene.add_square(3, {1, 1, 0}, Material{});
    scene.channels.push_back({2,
                              AnimationChannel::Path::translation,
                              AnimationChannel::Interpolation::linear,
                              {0, 1},
                              {{1, 1, 0, 0}, {-3, 1, 0, 0}}});
    scene.add_square(4, {-2, -1, 2}, flat_color(0.2f, 0.9f, 0.4f, 0.5f));
    scene.materials.back().unlit = false;
    scene.add_light(200, {3, 4, 6});
    scene.add_square(2, {-2, 2, 1}, floor).transform.rotation = Imath::Quatf(0.9f, 0.3f, 0.2f, 0);
    return scene;
}

/// Through the camera of a RenderScene.
RenderRequest request_of(int width, int height, int samples = 2) {
    RenderRequest request;
    request.camera_node = 0;
    request.width = width;
    request.height = height;
    request.samples = samples;
    return request;
}

const std::vector<ElementType> all_elements = {ElementType::depth, ElementType::normal, ElementType::albedo,
                                               ElementType::alpha, ElementType::ambient_occlusion};

/// The pixel in the middle.
std::vector<float> middle_of(const RenderScene& scene, const std::vector<ElementType>& elements = {}) {
    Renderer renderer(scene.share());
    return render(renderer, request_of(21, 21, 4), elements).back().at(10, 10);
}

Image crop(const Image& image, const PixelRect& rect) {
    Image result{rect.width(), rect.height(), {}};
    for (int y = rect.top; y < rect.bottom; ++y) {
        const auto row = image.rgba.begin() + std::ptrdiff_t{4} * (y * image.width + rect.left);
        result.rgba.insert(result.rgba.end(), row, row + std::ptrdiff_t{4} * rect.width());
    }
    return result;
}

TEST(Renderer, GivesTheSamePixelsWithAnyThreadsInAnyRegionAndAfterOtherFrames) {
    const auto scene = busy_scene().share();
    RenderRequest request = request_of(101, 67);
    Renderer one(scene, {.threads = 1});
    const std::vector<Image> whole = render(one, request, all_elements);
    for (const int threads : {2, 3, 7}) {
        Renderer many(scene, {.threads = threads});
        EXPECT_TRUE(render(many, request, all_elements) == whole) << threads << " threads";
        request.seconds = 0.75;
        EXPECT_FALSE(render(many, request) == std::vector{whole[0]}) << "the animation must show";
        request.seconds = 0;
        for (const PixelRect& region : {PixelRect{0, 0, 101, 67}, PixelRect{100, 66, 101, 67},
                                        PixelRect{0, 40, 33, 67}, PixelRect{31, 31, 65, 34}}) {
            request.region = region;
            const std::vector<Image> part = render(many, request, all_elements);
            for (std::size_t i = 0; i < part.size(); ++i)
                EXPECT_TRUE(part[i] == crop(whole[i], region)) << "image " << i << " at " << region.left;
        }
        request.region.reset();
    }
}

TEST(Renderer, FillsElementsOfAKnownPlane) {
    RenderScene scene;
    // The colour's green is halved by the texture's second texel, its blue by the vertices. Their normals lean, and
    // point to the back.
    scene.images.push_back({2, 1, {0, 0, 0, 0, 255, 188, 255, 255}});
    scene.textures.push_back({0, TextureWrap::repeat, TextureWrap::repeat, true});
    scene.add_square(5, {0, 3.75f, 2}, flat_color(0.25f, 1, 1)).transform.scale = {1, 2, 1};
    TextureUse& use = scene.materials[0].base_color_texture;
    use = {0, 1, {}};
    use.uv_transform.setTranslation(Imath::V2f(0.5f, 0));
    Primitive& square = scene.meshes[0].primitives[0];
    square.uvs = {{{}, std::vector(4, Imath::V2f(0.25f, 0.5f))}};
    square.colors.assign(4, {1, 1, 0.5f, 1});
    square.normals.assign(4, {0, -1, -1});
    scene.cameras[0].projection.znear = 7.9f;
    scene.cameras[0].projection.zfar = 8.1f;
    Renderer renderer(scene.share());
    RenderRequest request = request_of(40, 40);
    request.pixel_aspect = 2;
    const std::vector<Image> images = render(renderer, request, all_elements);
    // In the middle, and beyond the square: it is 5 wide, and its lower edge lies 1.25 below the middle of the 8 that
    // are seen there from top to bottom.
    const auto eight = FloatNear(8, 1e-4f);
    EXPECT_THAT(images[1].at(20, 20), ElementsAre(eight, eight, eight, 1));
    EXPECT_THAT(images[1].at(15, 12)[0], eight) << "from the camera's plane, not from its eye";
    EXPECT_THAT(images[2].at(20, 20),
                ElementsAre(0.5f, FloatNear(0.7236f, 1e-3f), FloatNear(0.9472f, 1e-3f), 1));
    EXPECT_THAT(images[3].at(20, 20), ElementsAre(FloatNear(0.5371f, 1e-3f), FloatNear(0.7373f, 1e-3f),
                                                  FloatNear(0.7354f, 1e-3f), 1));
    EXPECT_THAT(images[4].at(20, 20), ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(images[5].at(20, 20), ElementsAre(1, 1, 1, 1)) << "nothing is near the plane";
    EXPECT_THAT(images[0].at(20, 20), images[3].at(20, 20)) << "unlit";
    for (const Image& image : images)
        EXPECT_THAT((std::vector{image.at(11, 20), image.at(20, 30)}), Each(Each(0)));
    EXPECT_THAT(images[0].rgba, Each(testing::Ge(0))) << "every pixel is written";
}

TEST(Renderer, CompositesTransparencyWithoutDividing) {
    RenderScene scene;
    scene.add_square(5, {0, 0, 2}, flat_color(1, 1, 1, 0.5f));
    const auto half = FloatNear(0.7354f, 1e-3f);  // linear 0.5, encoded
    EXPECT_THAT(middle_of(scene), ElementsAre(half, half, half, 0.5f));
    scene.add_square(5, {0, 0, 1}, flat_color(1, 1, 1, 0.5f));
    scene.add_square(5, {0, 0, 0}, flat_color(1, 0, 0));
    const auto three_quarters = FloatNear(0.8808f, 1e-3f);
    EXPECT_THAT(middle_of(scene), ElementsAre(1, three_quarters, three_quarters, 1));
    EXPECT_THAT(middle_of(scene, {ElementType::depth})[0], FloatNear(8, 1e-4f)) << "of the first layer";
}

TEST(Renderer, CutsMasksAndBacksAway) {
    RenderScene scene;
    scene.add_square(5, {0, 0, 3}, flat_color(0, 1, 0, 0.4f));
    scene.materials[0].alpha_mode = AlphaMode::mask;
    scene.add_square(5, {0, 0, 2}, flat_color(0, 0, 1)).transform.rotation = Imath::Quatf(0, 0, 1, 0);
    scene.add_square(5, {0, 0, 1}, flat_color(1, 0, 0));
    EXPECT_THAT(middle_of(scene), ElementsAre(1, 0, 0, 1));
    EXPECT_THAT(middle_of(scene, {ElementType::depth})[0], FloatNear(9, 1e-4f));
    scene.materials[1].double_sided = true;
    EXPECT_THAT(middle_of(scene), ElementsAre(0, 0, 1, 1));
    EXPECT_THAT(middle_of(scene, {ElementType::normal}), ElementsAre(0.5f, 0.5f, 1, 1));
    // A mirrored node keeps its front.
    scene.materials[1].double_sided = false;
    scene.nodes[2].transform = {{0, 0, 2}, Imath::Quatf(), {-1, 1, 1}};
    EXPECT_THAT(middle_of(scene), ElementsAre(0, 0, 1, 1));
    scene.materials[0].alpha_cutoff = 0.4f;
    EXPECT_THAT(middle_of(scene), ElementsAre(0, 1, 0, 1)) << "as much as the cutoff is shown";
}

TEST(Renderer, ShowsEveryPrimitiveAndWhatGrowsFromNothing) {
    RenderScene scene;
    scene.add_square(4, {0, 0, 0}, flat_color(1, 0, 0));
    scene.add_square(4, {0, 0, 0}, flat_color(0, 1, 0));
    for (Imath::V3f& position : scene.meshes[1].primitives[0].positions)
        position.z = 1;
    scene.meshes[0].primitives.push_back(scene.meshes[1].primitives[0]);
    scene.nodes.pop_back();
    using Channel = AnimationChannel;
    scene.channels = {
        {1, Channel::Path::scale, Channel::Interpolation::step, {0, 1}, {{0, 0, 0, 0}, {1, 1, 1, 0}}}};
    Renderer renderer(scene.share());
    RenderRequest request = request_of(9, 9);
    EXPECT_THAT(render(renderer, request)[0].at(4, 4), Each(0));
    request.seconds = 1;
    EXPECT_THAT(render(renderer, request)[0].at(4, 4), ElementsAre(0, 1, 0, 1));
}

// glTF's appendix B, under this renderer's sky; worked out apart from it.
TEST(Renderer, ShadesAsTheMaterialHasIt) {
    const struct {
        float tilt, metallic, roughness, green_glow;
        Imath::V3f light;
        float candela;
        Imath::V3f seen;
    } cases[] = {{0, 0, 1, 0, {0, 0, 5}, 25, {0.6924f, 0.5096f, 0.375f}},
                 {0, 1, 0.7f, 0, {3, 0, 4}, 25, {0.537f, 0.39f, 0.2806f}},
                 {0.7853982f, 0.5f, 0.6f, 0.1f, {3, 4, 5}, 30, {0.4944f, 0.5092f, 0.2941f}}};
    for (const auto& c : cases) {
        RenderScene scene;
        Material material;
        material.base_color = {1, 0.5f, 0.25f, 1};
        material.metallic = c.metallic;
        material.roughness = c.roughness;
        material.emissive = {0, 2 * c.green_glow, 0};
        material.emissive_texture.texture = 0;
        scene.images.push_back({1, 1, {255, 188, 255, 255}});
        scene.textures.resize(1);
        scene.textures[0].image = 0;
        Imath::Quatf& rotation = scene.add_square(2, {0, 0, 0}, material).transform.rotation;
        rotation.setAxisAngle({-1, 0, 0}, c.tilt);
        scene.add_light(c.candela, c.light);
        const std::vector<float> seen = middle_of(scene);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(seen[std::size_t(i)], c.seen[i], 0.006f) << c.seen << " in " << i;
    }
}

TEST(Renderer, LightsByTheInverseSquareWithShadows) {
    RenderScene scene;
    scene.add_square(8, {0, 0, 0}, Material{});
    scene.materials[0].metallic = 0;
    scene.add_light(25, {0, 0, 5});
    const float near = middle_of(scene)[0];
    scene.nodes.back().transform.translation = {0, 0, 8};
    scene.lights[0].intensity = 64;
    EXPECT_NEAR(middle_of(scene)[0], near, 0.01f);
    scene.add_square(1, {0, 0, 7}, flat_color(1, 1, 1));
    scene.nodes[0].transform.translation = {0, 0, 6};
    const float dark = middle_of(scene)[0];
    EXPECT_GT(near, dark + 0.1f);
    EXPECT_GT(dark, 0.1f) << "the sky still shines";
    // What is half there takes half of the light away, what a mask cuts and what lies behind the light, nothing.
    const auto linear = [](float encoded) { return std::pow((encoded + 0.055f) / 1.055f, 2.4f); };
    scene.materials[1] = flat_color(1, 1, 1, 0.5f);
    EXPECT_NEAR(linear(middle_of(scene)[0]), (linear(near) + linear(dark)) / 2, 0.01f);
    scene.materials[1].alpha_mode = AlphaMode::mask;
    scene.materials[1].alpha_cutoff = 0.9f;
    EXPECT_NEAR(middle_of(scene)[0], near, 0.01f);
    scene.materials[1] = flat_color(1, 1, 1);
    scene.nodes.back().transform.translation = {0, 0, 8.5f};
    EXPECT_NEAR(middle_of(scene)[0], near, 0.01f);
}

TEST(Renderer, LightsAndFramesASceneThatHasNeitherLightNorCamera) {
    RenderScene scene;
    scene.add_square(500, {3000, 0, 0}, Material{});
    scene.materials[0].double_sided = true;
    Renderer renderer(scene.share());
    RenderRequest request = request_of(24, 48);
    request.camera_node = -1;
    const std::vector<Image> images = render(renderer, request, {ElementType::alpha});
    EXPECT_GT(images[0].at(12, 24)[0], 0.2f);
    for (int y = 0; y < 48; ++y)
        EXPECT_EQ(images[1].at(0, y)[0] + images[1].at(23, y)[0], 0) << "the whole scene fits";
}

TEST(Renderer, ShowsNothingWhereThereIsNothing) {
    RenderScene hollow;
    hollow.meshes.resize(2);
    hollow.meshes[1].primitives.resize(1);
    hollow.materials.resize(1);
    for (const int mesh : {0, 1})
        hollow.add_node({0, 0, 0}).mesh = mesh;
    RenderScene flat;
    flat.add_square(0, {0, 0, 0}, flat_color(1, 1, 1));
    for (const Imath::V3f& scale :
         {Imath::V3f(1, 1, 0), Imath::V3f(0), Imath::V3f(infinity), Imath::V3f(1e-20f)})
        flat.add_square(4, {0, 0, 0}, flat_color(1, 1, 1)).transform.scale = scale;
    for (const RenderScene& empty : {RenderScene(), hollow, flat}) {
        Renderer renderer(empty.share());
        for (const int camera : {0, -1}) {
            RenderRequest request = request_of(20, 10);
            request.camera_node = camera;
            for (const Image& image : render(renderer, request, all_elements))
                EXPECT_THAT(image.rgba, Each(0));
        }
    }
}

TEST(Renderer, SurvivesPlacesBeyondWhatItCanTrace) {
    struct Case {
        Imath::V3f camera = {0, 0, 10};
        float half_height = 0;  ///< of an orthographic view; 0: perspective
        Imath::V3f scale = Imath::V3f(1);
        float corner = -1;  ///< the square's first x
    };
    const Case cases[] = {{.camera = {0, 0, 2e18f}},
                          {.camera = {0, 0, 1e38f}},
                          {.half_height = 9e17f},
                          {.scale = {1e15f, 1e-8f, 1e-7f}},
                          {.scale = {1e17f, 1, 1}},
                          {.corner = 1e17f},
                          {.camera = {1e15f, 0, 10}, .scale = {1, 1, 1e-8f}}};
    for (const Case& c : cases) {
        RenderScene scene;
        scene.add_square(2, {0, 0, 0}, Material{}).transform.scale = c.scale;
        scene.meshes[0].primitives[0].positions[0].x = c.corner;
        scene.nodes[0].transform.translation = c.camera;
        Projection& projection = scene.cameras[0].projection;
        if (c.half_height > 0) projection = {Projection::Kind::orthographic, 0.8f, c.half_height};
        scene.add_light(1, {1e38f, 1e38f, 1e38f});
        Renderer renderer(scene.share());
        RenderRequest request = request_of(8, 8);
        for (const int camera : {0, -1}) {
            request.camera_node = camera;
            EXPECT_THAT(render(renderer, request)[0].rgba, Each(testing::Ge(0)));
        }
    }
}

View view_with(float yfov) {
    View view;
    view.camera_to_world = Imath::M44f(NAN);
    view.projection.yfov = yfov;
    return view;
}

TEST(Renderer, NamesWhatIsWrongWithARequest) {
    RenderScene scene;
    scene.add_square(1, {0, 0, 0}, flat_color(1, 1, 1));
    Renderer renderer(scene.share());
    using Request = RenderRequest;
    const std::pair<const char*, void (*)(Request&)> cases[] = {
        {"width", [](Request& r) { r.width = 0; }},
        {"height", [](Request& r) { r.height = 40000; }},
        {"samples", [](Request& r) { r.samples = 0; }},
        {"pixel_aspect", [](Request& r) { r.pixel_aspect = NAN; }},
        {"seconds", [](Request& r) { r.seconds = NAN; }},
        {"node 1 has no camera", [](Request& r) { r.camera_node = 1; }},
        {"no node 9", [](Request& r) { r.camera_node = 9; }},
        {"beauty has the wrong size", [](Request& r) { r.width = 9; }},
        {"region",
         [](Request& r) {
             r.region = {0, 0, 9, 8};
         }},
        {"region",
         [](Request& r) {
             r.region = {-1, 0, 8, 8};
         }},
        {"region",
         [](Request& r) {
             r.region = {4, 4, 4, 8};
         }},
        {"region",
         [](Request& r) {
             r.region = {6, 0, 2, 8};
         }},
        {"yfov", [](Request& r) { r.view = view_with(0); }},
        {"yfov", [](Request& r) { r.view = view_with(3.2f); }},
        {"yfov", [](Request& r) { r.view = view_with(NAN); }},
        {"no exception", [](Request& r) { r.view = view_with(3.14f); }},
    };
    for (const auto& [fault, spoil] : cases) {
        RenderRequest request = request_of(8, 8);
        spoil(request);
        std::vector<float> pixels(std::size_t{4} * 8 * 8);
        EXPECT_THAT(message_of([&] { renderer.render(request, {pixels, {}}); }), testing::HasSubstr(fault));
    }
}

/// Remembers what a render says, and answers the report of that number with false.
class ProgressLog : public RenderProgress {
public:
    explicit ProgressLog(std::size_t stop_at = 9999) : m_stop_at(stop_at) {}

    void set_title(const char* title) override { said.push_back(title); }
    bool progress(int done, int total) override {
        const std::lock_guard lock(m_mutex);
        said.push_back(std::to_string(done) + "/" + std::to_string(total));
        return ++reports != m_stop_at;
    }

    Texts said;
    std::size_t reports = 0;

private:
    const std::size_t m_stop_at;
    std::mutex m_mutex;
};

RenderResult render_with(Renderer& renderer, int width, int height, RenderProgress& progress) {
    std::vector<float> pixels(static_cast<std::size_t>(width * height) * 4);
    return renderer.render(request_of(width, height, 1), {pixels, {}}, &progress);
}

TEST(RenderProgress, TellsBothPhasesToTheirEnd) {
    Renderer renderer(busy_scene().share(), {.threads = 2});
    Texts expected = {"Preparing Objects", "0/0", "1/5", "2/5", "3/5", "4/5", "5/5", "Rendering Image"};
    for (int tile = 1; tile <= 12; ++tile)
        expected.push_back(std::to_string(tile) + "/12");
    // The second frame finds the meshes built. Tiles may be told of in another order, but for the last.
    for (const bool first : {true, false}) {
        if (!first) expected.erase(expected.begin() + 2, expected.begin() + 7);
        if (!first) expected.insert(expected.begin() + 2, "1/1");
        ProgressLog log;
        EXPECT_EQ(render_with(renderer, 100, 70, log), RenderResult::complete);
        EXPECT_THAT(log.said, testing::UnorderedElementsAreArray(expected));
        log.said.resize(expected.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end() - 12, log.said.begin()));
        EXPECT_EQ(log.said.back(), "12/12");
    }
}

TEST(RenderProgress, StopsTheRenderWhereverItSaysNo) {
    const auto scene = busy_scene().share();
    for (const std::size_t stop_at : {1u, 2u, 5u, 7u, 21u}) {
        Renderer renderer(scene, {.threads = 2});
        ProgressLog log(stop_at);
        EXPECT_EQ(render_with(renderer, 320, 320, log), RenderResult::aborted);
        EXPECT_LE(log.reports, stop_at + 1) << "the other thread may finish its tile";
        ProgressLog again;
        EXPECT_EQ(render_with(renderer, 32, 32, again), RenderResult::complete);
    }
}

TEST(RenderProgress, ComesFromSeveralThreadsAtOnce) {
    // The first of nine tiles stops the render unless the second is told of meanwhile.
    struct Meeting : RenderProgress {
        void set_title(const char*) override {}
        bool progress(int done, int total) override {
            if (total == 9 && done == 2) second.set_value();
            return total != 9 || done != 1 ||
                   second.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready;
        }
        std::promise<void> second;
    } meeting;
    Renderer renderer(RenderScene().share(), {.threads = 2});
    EXPECT_EQ(render_with(renderer, 96, 96, meeting), RenderResult::complete);
}

}  // namespace
}  // namespace corrivane::host::test
