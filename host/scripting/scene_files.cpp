#include "maxscript/library/callbacks.h"
#include "maxscript/library/paths.h"
#include "maxscript/machine/signature.h"
#include "maxscript/streams/file_access.h"
#include "scene/load_scene.h"
#include "scene/merge_scene.h"
#include "scripting/names.h"
#include "scripting/scripted_scene.h"

#include <system/drive_map.h>

#include <memory>

namespace corrivane::host {

namespace {

using Quiet = Keyword<"quiet", bool>;
using Units = Keyword<"useFileUnits", bool>;

Core& core() {
    return ScriptedScene::instance().core();
}

std::string file_name() {
    return core().document().file_name();
}

/// `loadMaxFile name`: false for a scene that cannot be loaded; the open one then stays.
bool load(const std::string& name, const Quiet&, const Units&, const Keyword<"allowPrompts", bool>&) {
    check_file_access();
    const Rooted text(make_string(name));
    run_callbacks("filePreOpen", text.get());
    const bool loaded = core().load_scene_file(name);
    if (loaded) run_callbacks("filePostOpen", text.get());
    return loaded;
}

bool is_scene(const std::string& name) {
    check_file_access();
    return is_scene_file(machine_path(name));
}

/// `mergeMAXFile name`: adds the scene's nodes.
bool merge(const std::string& name, Rest, const Quiet&, const Units&) {
    check_file_access();
    const Rooted text(make_string(name));
    const NativePath path = native_path(name);
    LoadOptions options;
    options.root = path.root;
    run_callbacks("filePreMerge", text.get());
    try {
        const std::shared_ptr<const Scene> part = load_scene(path.path, options);
        core().document().change_scene([&](Scene& scene) { merge_scene(*part, scene); });
    } catch (const SceneError& error) {
        core().log().error("mergeMAXFile", error.what());
        return false;
    }
    run_callbacks("filePostMerge", text.get());
    return true;
}

bool reset(const NameValue*) {
    run_callbacks("systemPreReset");
    core().reset_scene();
    run_callbacks("systemPostReset");
    return true;
}

/// What holdMaxFile keeps.
struct HeldScene {
    std::shared_ptr<const Scene> scene;
    std::string name;
    ScriptedScene::State known;
};
HeldScene& held() {
    static HeldScene kept;
    return kept;
}

void hold() {
    const auto copy = std::make_shared<Scene>(*core().document().scene());
    copy->settings = core().document().settings();
    held() = {copy, file_name(), ScriptedScene::instance().state()};
}

bool fetch(const Keyword<"quiet", bool>&) {
    if (held().scene == nullptr) raise_runtime_error("fetchMaxFile: nothing is held");
    core().open_scene(held().scene, held().name);
    ScriptedScene::instance().restore(held().known);
    return true;
}

int& exit_code() {
    static int code = 0;
    return code;
}

/// 3ds Max ends when it has nothing else to do: when the script, and a session that it is part of, is over.
bool quit(const NameValue*, const Keyword<"exitCode", int>& code, const Keyword<"quiet", bool>&) {
    run_callbacks("preSystemShutdown");
    exit_code() = code.value_or(0);
    return true;
}

/// Release, API and revision, as 3ds Max numbers them.
Value* version() {
    const Rooted array(make_array());
    for (const int number : {9000, 21, 0})
        append_to_array(array.get(), make_integer(number));
    return array.get();
}

}  // namespace

int requested_exit_code() {
    return exit_code();
}

void define_scene_file_functions() {
    define_variable("maxFilePath", [] { return make_string(split_path(file_name()).first); });
    define_variable("maxFileName", [] { return make_string(split_path(file_name()).second); });
    define_functions({
        {"loadMaxFile", load},
        {"isMaxFile", is_scene},
        {"mergeMAXFile", merge},
        {"resetMaxFile", reset},
        {"holdMaxFile", hold},
        {"fetchMaxFile", fetch},
        {"checkForSave", [] { return true; }},
        {"getSaveRequired", [] { return false; }},
        {"setSaveRequired", [](bool) {}},
        {"maxVersion", version},
        {"quitMAX", quit},
    });
}

}  // namespace corrivane::host
