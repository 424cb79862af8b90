#include "scene/settings_reader.h"

#include "support/message_of.h"

#include <gmock/gmock.h>

namespace corrivane::host {
namespace {

using corrivane::test::message_of;
using testing::ElementsAre;

RenderSettings render_settings(std::string_view extras) {
    return read_render_settings(json::Document(extras).root());
}

std::optional<MultipassEffect> multipass(std::string_view extras) {
    return read_multipass(json::Document(extras).root());
}

TEST(RenderSettings, ReadsEveryKey) {
    const RenderSettings settings = render_settings(R"({"render": {
        "width": 1920, "height": 1080, "pixelAspect": 1.5, "frameRate": 25, "samples": 16,
        "output": "C:\\out\\beauty.png", "saveFile": false, "skipExistingFrames": true,
        "activeView": "Camera01", "rendererClassId": ["0x52ad1c02", 287125436], "rendererRequirements": [2, 3],
        "elementsActive": false,
        "elements": [{"type": "depth", "output": "C:\\out\\depth.exr"}, {"type": "ambientOcclusion"}],
        "tga": {"alphaSplit": true}, "xrefs": ["set.gltf"], "unknown": {}}})");
    EXPECT_EQ(settings.width, 1920);
    EXPECT_EQ(settings.height, 1080);
    EXPECT_EQ(settings.pixel_aspect, 1.5f);
    EXPECT_EQ(settings.frame_rate, 25);
    EXPECT_EQ(settings.samples, 16);
    EXPECT_EQ(settings.output, "C:\\out\\beauty.png");
    EXPECT_FALSE(settings.save_file);
    EXPECT_TRUE(settings.skip_existing_frames);
    EXPECT_EQ(settings.active_view, "Camera01");
    EXPECT_EQ(settings.renderer_class_id, (ClassId{0x52ad1c02, 287125436}));
    EXPECT_THAT(settings.renderer_requirements, ElementsAre(2, 3));
    EXPECT_FALSE(settings.elements_active);
    ASSERT_EQ(settings.elements.size(), 2u);
    EXPECT_EQ(settings.elements[0].output, "C:\\out\\depth.exr");
    EXPECT_EQ(settings.elements[1].type, ElementType::ambient_occlusion);
    EXPECT_EQ(element_type_name(settings.elements[1].type), "ambientOcclusion");
    EXPECT_TRUE(settings.tga_alpha_split);
    EXPECT_THAT(settings.xrefs, ElementsAre("set.gltf"));
}

TEST(RenderSettings, AreOptional) {
    for (const char* extras : {"{}", "null", "7", R"({"render": {}})", R"({"render": null})", R"([1])"}) {
        const RenderSettings settings = render_settings(extras);
        EXPECT_EQ(settings.width, 640) << extras;
        EXPECT_EQ(settings.samples, 4) << extras;
        EXPECT_TRUE(settings.save_file) << extras;
    }
}

TEST(RenderSettings, OfTheWrongTypeOrRangeAreNamed) {
    const std::pair<const char*, const char*> cases[] = {
        {R"([])", "render should be an object"},
        {R"({"width": 0})", "render.width should be a whole number from 1 to 32768"},
        {R"({"width": 40000})", "render.width should be a whole number from 1 to 32768"},
        {R"({"width": 10.5})", "render.width should be a whole number from 1 to 32768"},
        {R"({"height": "480"})", "render.height should be a whole number from 1 to 32768"},
        {R"({"height": 18446744073709551615})", "render.height should be a whole number from 1 to 32768"},
        {R"({"pixelAspect": 0})", "render.pixelAspect should be a number from 0.01 to 100"},
        {R"({"frameRate": 5000})", "render.frameRate should be a whole number from 1 to 4800"},
        {R"({"samples": -1})", "render.samples should be a whole number from 1 to 4096"},
        {R"({"output": 5})", "render.output should be a string"},
        {R"({"output": "a\u0000b"})", "render.output should be a string without NUL characters"},
        {R"({"saveFile": 1})", "render.saveFile should be true or false"},
        {R"({"activeView": null})", "render.activeView should be a string"},
        {R"({"rendererClassId": [1]})", "render.rendererClassId should be an array of two 32-bit numbers"},
        {R"({"rendererClassId": [1, "0xfffffffff"]})",
         "render.rendererClassId[1] should be a 32-bit number or a string such as \"0x52ad1c02\""},
        {R"({"rendererClassId": ["12 ", 0]})",
         "render.rendererClassId[0] should be a 32-bit number or a string such as \"0x52ad1c02\""},
        {R"({"rendererRequirements": [2, "3"]})",
         "render.rendererRequirements[1] should be a whole number from 0 to 1000000"},
        {R"({"elements": {}})", "render.elements should be an array"},
        {R"({"elements": [{}]})", "render.elements[0] lacks \"type\""},
        {R"({"elements": [{"type": "shadow"}]})",
         "render.elements[0].type should be depth, normal, albedo, alpha or ambientOcclusion, not "
         "\"shadow\""},
        {R"({"elements": [{"type": "depth", "output": []}]})",
         "render.elements[0].output should be a string"},
        {R"({"tga": []})", "render.tga should be an object"},
        {R"({"tga": {"alphaSplit": "yes"}})", "render.tga.alphaSplit should be true or false"},
        {R"({"xrefs": [1]})", "render.xrefs[0] should be a string"},
    };
    for (const auto& [render, expected] : cases) {
        const std::string extras = std::string(R"({"render": )") + render + "}";
        EXPECT_EQ(message_of([&] { render_settings(extras); }), expected) << render;
    }
}

TEST(Multipass, ReadsBothEffects) {
    EXPECT_FALSE(multipass("{}").has_value());
    const auto depth = multipass(R"({"multipass": {"effect": "depthOfField", "passes": 12, "enabled": false,
        "radius": 0.25, "focusDistance": 3, "classId": ["0x1", 2]}})");
    ASSERT_TRUE(depth.has_value());
    EXPECT_EQ(depth->kind, MultipassEffect::Kind::depth_of_field);
    EXPECT_EQ(depth->passes, 12);
    EXPECT_FALSE(depth->enabled);
    EXPECT_EQ(depth->radius, 0.25f);
    EXPECT_EQ(depth->focus_distance, 3);
    EXPECT_EQ(depth->class_id, (ClassId{1, 2}));
    const auto blur = multipass(R"({"multipass": {"effect": "motionBlur", "duration": 0.75}})");
    ASSERT_TRUE(blur.has_value());
    EXPECT_EQ(blur->kind, MultipassEffect::Kind::motion_blur);
    EXPECT_TRUE(blur->enabled);
    EXPECT_EQ(blur->duration_frames, 0.75f);
}

TEST(Multipass, NamesWhatIsWrong) {
    const std::pair<const char*, const char*> cases[] = {
        {"true", "multipass should be an object"},
        {"{}", "multipass lacks \"effect\""},
        {R"({"effect": "bloom"})", "multipass.effect should be depthOfField or motionBlur, not \"bloom\""},
        {R"({"effect": "motionBlur", "passes": 0})",
         "multipass.passes should be a whole number from 1 to 1000"},
        {R"({"effect": "depthOfField", "radius": -1})",
         "multipass.radius should be a number from 0 to 1e+06"},
        {R"({"effect": "depthOfField", "focusDistance": 0})",
         "multipass.focusDistance should be a number from 1e-06 to 1e+09"},
    };
    for (const auto& [effect, expected] : cases) {
        const std::string extras = std::string(R"({"multipass": )") + effect + "}";
        EXPECT_EQ(message_of([&] { multipass(extras); }), expected) << effect;
    }
}

}  // namespace
}  // namespace corrivane::host
