#include "app/script_globals.h"

#include "core/fault_injection.h"
#include "core/processor_faults.h"
#include "maxscript/machine/scene_access.h"
#include "maxscript/machine/times.h"
#include "maxscript/runtime.h"
#include "scripting/names.h"
#include "scripting/scripted_scene.h"

#include <algorithm>
#include <type_traits>

namespace corrivane::host {

namespace {

/// What the language asks of the open scene.
class OpenScene final : public SceneAccess {
public:
    explicit OpenScene(Core& core) : m_core(core) {}

    Value* find_path(const std::string& path) override { return host::find_path(path); }
    int ticks_per_frame() override { return m_core.document().ticks_per_frame(); }
    int slider_time() override { return m_core.GetTime(); }

private:
    Core& m_core;
};

void define_time(Core& core) {
    static const PropertyTable<Core> times{
        read_only("currentTime", [](Core&) { return Ticks{script_time()}; }),
        property(
            "sliderTime", [](Core& scene) { return Ticks{scene.GetTime()}; },
            [](Core& scene, Ticks time) { scene.SetTime(time.ticks, TRUE); }),
        property(
            "animationRange",
            [](Core& scene) -> Value* {
                const Interval range = scene.document().animation_range();
                return new IntervalScriptValue(range.Start(), range.End());
            },
            [](Core& scene, IntervalScriptValue& range) {
                as_script_error([&] { scene.document().set_animation_range({range.start(), range.end()}); });
            }),
        read_only("ticksPerFrame", [](Core& scene) { return scene.document().ticks_per_frame(); }),
    };
    define_globals(times, core);
}

/// What a frame of the open scene is saved as, for whoever wants to find it: a line `size` with width and height, a
/// line `skip` where frames whose file is there are skipped, a line `main` with the output's name where the plug-in
/// saves it, and for each render element that is saved `element` and its name. Asked between frames, since during one
/// the names have its number.
std::string output_lines(Core& core) {
    std::string lines;
    const RenderSettings& settings = core.document().settings();
    lines += "size " + std::to_string(settings.width) + ' ' + std::to_string(settings.height) + '\n';
    if (core.GetSkipRenderedFrames()) lines += "skip\n";
    constexpr int saves_itself = 2;  // a renderer's requirement
    if (core.GetRendSaveFile() && !std::ranges::count(settings.renderer_requirements, saves_itself))
        lines += std::string("main ") + core.GetRendFileBI().Name() + '\n';
    RenderElements& elements = core.document().elements();
    for (int i = 0; elements.GetElementsActive() && i < elements.NumRenderElements(); ++i) {
        PBBitmap* target = nullptr;
        elements.GetRenderElement(i)->GetPBBitmap(target);
        if (target != nullptr) {
            lines += std::string("element ") + target->bi.Name() + '\n';
        }
    }
    return lines;
}

void define_outputs(Core& core) {
    define_functions({{"standin.outputs", [&core] { return output_lines(core); }}});
}

void define_failures() {
    define_function("standin.fault", [](Arguments& arguments) -> Value* {
        arguments.require(2);
        as_script_error([&] { fault_at_next(arguments.text(0), arguments.text(1)); });
        return &ok;
    });
    define_function("standin.throwNext", [](Arguments& arguments) -> Value* {
        arguments.require(3);
        as_script_error([&] { throw_at_next(arguments.text(0), arguments.text(1), arguments.text(2)); });
        return &ok;
    });
    define_function("standin.crash", [](Arguments& arguments) -> Value* {
        arguments.require(1);
        as_script_error([&] { return &find_processor_fault(arguments.text(0)); })->provoke();
        return &ok;
    });
}

Value* script_argument(const std::variant<int, std::string>& content) {
    if (const int* number = std::get_if<int>(&content)) {
        return make_integer(*number);
    }
    return make_string(std::get<std::string>(content));
}

void define_script_arguments(const HostOptions& options) {
    const Rooted dictionary(make_dictionary());
    for (const auto& [key, content] : options.script_arguments) {
        const Rooted value(script_argument(content));
        set_in_dictionary(dictionary.get(), key, value.get());
    }
    define_constant("maxOps.mxsCmdLineArgs", dictionary.get());
}

}  // namespace

void define_script_globals(Core& core, const HostOptions& options) {
    define_time(core);
    define_node_functions();
    define_material_functions();
    define_layer_functions();
    define_render_globals();
    define_render_element_functions();
    define_bitmap_functions();
    define_render_function();
    define_scene_file_functions();
    define_viewport_functions();
    define_failures();
    define_outputs(core);
    define_script_arguments(options);
    static OpenScene scene(core);
    set_scene_access(&scene);
    core.set_render_hooks({[] { run_callbacks("preRenderFrame"); }, [] { run_callbacks("postRenderFrame"); },
                           [] { run_callbacks("preRender"); }, [] { run_callbacks("postRender"); }});
}

}  // namespace corrivane::host
