#include "maxscript/machine/geometry.h"
#include "maxscript/machine/signature.h"
#include "maxscript/machine/times.h"
#include "scripting/names.h"
#include "scripting/node_value.h"
#include "scripting/rows.h"

#include <cmath>

/// The settings of a render as globals. `fixed` rows are what this host renders in one way only, `kept` rows what it
/// has no use for.
namespace corrivane::host {

namespace {

/// What the render globals are of: the open document, whichever that is.
class RenderGlobals {
public:
    static RenderGlobals& instance() {
        static RenderGlobals globals;
        return globals;
    }
    KeptSettings& kept() { return ScriptedScene::instance().kept(); }
    Document& document() { return ScriptedScene::instance().document(); }
    const RenderSettings& settings() { return document().settings(); }
};

using Globals = RenderGlobals;

/// A row of the document's settings that the document checks.
template <typename T, typename Content>
Property<Globals> setting(const char* name, T RenderSettings::*field, void (Document::*set)(Content)) {
    return property(
        name, [field](Globals& globals) { return globals.settings().*field; },
        [set](Globals& globals, T content) { as_script_error([&] { (globals.document().*set)(content); }); });
}

/// As the height follows from the width.
void set_image_aspect(Globals& globals, float aspect) {
    if (!(aspect > 0)) raise_runtime_error("an image's aspect must be above 0");
    const RenderSettings& settings = globals.settings();
    const float height = static_cast<float>(settings.width) * settings.pixel_aspect / aspect;
    as_script_error([&] { globals.document().set_height(static_cast<int>(std::lround(height))); });
}

/// 1: a single frame, 2: the active segment, 3: a range, 4: numbers of frames.
void set_time_type(Globals& globals, int type) {
    if (type < 1 || type > 4)
        raise_runtime_error("rendTimeType must be 1 to 4, got: " + std::to_string(type));
    globals.kept()["rendTimeType"] = type;
}

int whole(Globals& globals, const char* name, int otherwise) {
    const auto found = globals.kept().find(std::string_view(name));
    return found == globals.kept().end() ? otherwise : std::any_cast<int>(found->second);
}

/// A time that is the start or end of the active segment until it is set.
Property<Globals> moment(const char* name, bool end) {
    return property(
        name,
        [name, end](Globals& globals) {
            const Interval range = globals.document().animation_range();
            return Ticks{whole(globals, name, end ? range.End() : range.Start())};
        },
        [name](Globals& globals, Ticks time) { globals.kept()[name] = time.ticks; });
}

Property<Globals> counted(const char* name, int otherwise, int least) {
    return property(
        name, [name, otherwise](Globals& globals) { return whole(globals, name, otherwise); },
        [name, least](Globals& globals, int number) {
            if (number < least)
                raise_runtime_error(std::string(name) + " must be at least " + std::to_string(least) +
                                    ", got: " + std::to_string(number));
            globals.kept()[name] = number;
        });
}

void set_render_hidden(Globals& globals, bool on) {
    globals.kept()["rendHidden"] = on;
    ScriptedScene::instance().show_and_hide();
}

bool renders_hidden(Globals& globals) {
    const auto found = globals.kept().find(std::string_view("rendHidden"));
    return found != globals.kept().end() && std::any_cast<bool>(found->second);
}

const PropertyTable<Globals>& globals_table() {
    static const PropertyTable<Globals> table{
        setting("renderWidth", &RenderSettings::width, &Document::set_width),
        setting("renderHeight", &RenderSettings::height, &Document::set_height),
        setting("renderPixelAspect", &RenderSettings::pixel_aspect, &Document::set_pixel_aspect),
        setting("frameRate", &RenderSettings::frame_rate, &Document::set_frame_rate),
        setting("rendSaveFile", &RenderSettings::save_file, &Document::set_save_file),
        setting("skipRenderedFrames", &RenderSettings::skip_existing_frames,
                &Document::set_skip_existing_frames),
        property(
            "rendOutputFilename",
            [](Globals& globals) { return std::string(globals.document().output().Name()); },
            [](Globals& globals, const std::string& name) {
                globals.document().output().SetName(name.c_str());
            }),
        property(
            "rendImageAspectRatio", [](Globals& globals) { return image_aspect(globals.settings()); },
            set_image_aspect),
        property(
            "rendTimeType", [](Globals& globals) { return whole(globals, "rendTimeType", 1); },
            set_time_type),
        moment("rendStart", false),
        moment("rendEnd", true),
        counted("rendNThFrame", 1, 1),
        counted("rendFileNumberBase", 0, INT32_MIN),
        kept<Globals>("rendPickupFrames", std::string("1,3,5-12")),
        property("rendHidden", renders_hidden, set_render_hidden),
        kept<Globals>("rendShowVFB", true),
        kept<Globals>("rendUseActiveView", true),
        kept<Globals>("rendLockImageAspectRatio", false),
        kept<Globals>("rendLockPixelAspectRatio", false),
        kept<Globals>("rendUseDevice", false),
        kept<Globals>("rendUseNet", false),
        kept<Globals>("rendColorCheck", false),
        kept<Globals>("rendVidCorrectMethod", 0),
        kept<Globals>("rendAtmosphere", true),
        kept<Globals>("rendEffects", true),
        kept<Globals>("renderEffects", true),
        kept<Globals>("rendDisplacement", true),
        kept<Globals>("renderDisplacements", true),
        kept<Globals>("rendDitherTrue", true),
        kept<Globals>("rendDitherPaletted", true),
        kept<Globals>("rendSuperBlack", false),
        kept<Globals>("rendMultiThread", true),
        kept<Globals>("rendSimplifyAreaLights", false),
        kept<Globals>("rendUseIterative", false),
        kept<Globals>("rendNetUseJobName", false),
        kept<Globals>("showRendProgressBar", true),
        kept<Globals>("useEnvironmentMap", false),
        fixed<Globals>("rendFieldRender", false, "rendering in fields"),
        fixed<Globals>("rendForce2Side", false, "two-sided rendering of everything"),
        read_only("backgroundColor",
                  [](Globals&) {
                      return color_value({0, 0, 0});
                  }),
        absent<Globals>("ambientColor", "ambient light"),
        absent<Globals>("lightTintColor", "tint of all lights"),
        absent<Globals>("lightLevel", "strength of all lights"),
        absent<Globals>("environmentMap", "environment maps"),
        absent<Globals>("rendViewID", "choice of a viewport to render"),
        absent<Globals>("rendViewIndex", "choice of a viewport to render"),
    };
    return table;
}

extern const ValueMetaClass Renderer_class;

/// The one renderer.
class RendererValue final : public TabledValue<RendererValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Renderer_class;
    static const PropertyTable<RendererValue>& properties() {
        static const PropertyTable<RendererValue> table{
            property(
                "samples", [](RendererValue&) { return Globals::instance().settings().samples; },
                [](RendererValue&, int samples) {
                    as_script_error([&] { Globals::instance().document().set_samples(samples); });
                }),
            read_only("name", [](RendererValue&) { return std::string(metaclass.name); }),
            fixed<RendererValue>("antiAliasing", true, "rendering without antialiasing"),
            fixed<RendererValue>("mapping", true, "rendering without maps"),
            fixed<RendererValue>("shadows", true, "rendering without shadows"),
            fixed<RendererValue>("autoReflect", true, "rendering without reflections"),
            fixed<RendererValue>("forceWireframe", false, "wire rendering"),
            fixed<RendererValue>("imageMotionBlur", false, "image motion blur"),
            fixed<RendererValue>("objectMotionBlur", false, "object motion blur"),
            host::kept<RendererValue>("enablePixelSampler", true),
            host::kept<RendererValue>("conserveMemory", false),
        };
        return table;
    }
    KeptSettings& kept() { return ScriptedScene::instance().kept_of_renderer(); }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override {
        stream->puts("Default_Scanline_Renderer:Default_Scanline_Renderer");
    }
    bool equals(Value* other) override { return other->is(metaclass); }
};

const ValueMetaClass Renderer_class{"Default_Scanline_Renderer"};

Value* current_renderer() {
    return ScriptedScene::instance().document().renderer() == nullptr ? &undefined : new RendererValue;
}

}  // namespace

void define_render_globals() {
    define_globals(globals_table(), Globals::instance());
    define_class(Renderer_class, {"Default_Scanline_Renderer", []() -> Value* { return new RendererValue; }});
    const auto set_renderer = [](Value* renderer) { FromScript<RendererValue&>::from(renderer); };
    define_variable("renderers.current", current_renderer, set_renderer);
    define_variable("renderers.production", current_renderer, set_renderer);
    define_functions({
        {"renderSceneDialog.close", [] {}},
        {"renderSceneDialog.commit", [] {}},
        {"renderSceneDialog.update", [] {}},
        {"renderSceneDialog.isOpen", [] { return false; }},
        {"renderSceneDialog.open", [] { raise_absent("user interface"); }},
    });
}

}  // namespace corrivane::host
