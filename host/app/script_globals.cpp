#include "app/script_globals.h"

#include "app/element_manager.h"
#include "app/scene_values.h"
#include "core/fault_injection.h"
#include "core/processor_faults.h"
#include "maxscript/machine/scene_access.h"
#include "maxscript/machine/times.h"
#include "maxscript/runtime.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>

namespace corrivane::host {

namespace {

/// Runs a call into the host; what it refuses is an error of the script.
template <typename Call>
auto as_script_error(Call call) {
    try {
        return call();
    } catch (const std::invalid_argument& error) {
        throw RuntimeError(error.what());
    }
}

/// What the language asks of the open scene.
class OpenScene final : public SceneAccess {
public:
    explicit OpenScene(Core& core) : m_core(core) {}

    Value* find_path(const std::string& path) override {
        if (path.empty() || path.find_first_of("*?/\\") != std::string::npos)
            raise_absent("collections of objects: $" + path);
        const HostNode* node = m_core.document().nodes().find(path);
        return node == nullptr ? &undefined : new NodeScriptValue(m_core, node->index());
    }
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

/// A whole number of the render settings.
void define_setting(Core& core, const char* name, int RenderSettings::*field, void (Document::*set)(int)) {
    define_variable(
        name, [&core, field] { return make_integer(core.document().settings().*field); },
        [&core, set](Value* number) {
            as_script_error([&] { (core.document().*set)(to_integer(number)); });
        });
}

void define_render_settings(Core& core) {
    define_setting(core, "frameRate", &RenderSettings::frame_rate, &Document::set_frame_rate);
    define_setting(core, "renderWidth", &RenderSettings::width, &Document::set_width);
    define_setting(core, "renderHeight", &RenderSettings::height, &Document::set_height);
    define_variable(
        "rendOutputFilename", [&core] { return make_string(core.GetRendFileBI().Name()); },
        [&core](Value* name) { core.GetRendFileBI().SetName(to_text(name).c_str()); });
}

/// Length of the folder part of a Windows path, its last separator included.
std::size_t folder_length(const std::string& path) {
    const std::size_t separator = path.find_last_of("\\/");
    return separator == std::string::npos ? 0 : separator + 1;
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

void define_scene(Core& core) {
    define_function("standin.outputs", [&core](Arguments& arguments) -> Value* {
        arguments.require(0);
        return make_string(output_lines(core));
    });
    define_variable("maxFilePath", [&core] {
        const std::string& path = core.document().file_name();
        return make_string(path.substr(0, folder_length(path)));
    });
    define_variable("maxFileName", [&core] {
        const std::string& path = core.document().file_name();
        return make_string(path.substr(folder_length(path)));
    });
    define_function("maxOps.GetCurRenderElementMgr", [&core](Arguments& arguments) -> Value* {
        arguments.require(0);
        return new ElementManagerScriptValue(core);
    });
    define_function("getNodeByName", [&core](Arguments& arguments) -> Value* {
        arguments.require(1);
        const HostNode* node = core.document().nodes().find(arguments.text(0));
        if (node == nullptr) {
            return &undefined;
        }
        return new NodeScriptValue(core, node->index());
    });
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
    define_render_settings(core);
    define_scene(core);
    define_failures();
    define_script_arguments(options);
    static OpenScene scene(core);
    set_scene_access(&scene);
    core.set_render_hooks(
        {[] { run_callbacks("preRenderFrame"); }, [] { run_callbacks("postRenderFrame"); }});
}

}  // namespace corrivane::host
