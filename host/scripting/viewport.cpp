#include "maxscript/machine/signature.h"
#include "scripting/names.h"
#include "scripting/node_value.h"

/// The one viewport: what a job without a camera of its own renders through.
namespace corrivane::host {

namespace {

Document& document() {
    return ScriptedScene::instance().document();
}

bool set_camera(NodeValue& camera) {
    if (camera.node().camera < 0)
        raise_runtime_error("Viewport: this node is no camera: " + camera.node().name);
    document().set_active_view(camera.node().name);
    return true;
}

Value* camera() {
    return node_value(document().view_camera());
}

Value* view_type() {
    return make_name(document().view_camera() < 0 ? "view_persp_user" : "view_camera");
}

bool set_view_type(const NameValue& type) {
    if (type.key() == "view_camera") return document().view_camera() >= 0;
    if (type.key() != "view_persp_user") raise_absent("view #" + type.text());
    document().set_active_view({});
    return true;
}

}  // namespace

void define_viewport_functions() {
    define_functions({
        {"viewport.setCamera", set_camera},
        {"viewport.getCamera", camera},
        {"viewport.getType", [](std::optional<int>) { return view_type(); }},
        {"viewport.setType", set_view_type},
        {"viewport.isEnabled", [](int number) { return number == 1; }},
        {"viewport.ResetAllViews", [] { document().set_active_view({}); }},
        {"redrawViews", [] {}},
        {"completeRedraw", [] {}},
        {"forceCompleteRedraw", [](const Keyword<"doDisabled", bool>&) {}},
        {"disableSceneRedraw", [] {}},
        {"enableSceneRedraw", [] {}},
    });
    define_constant("viewport.numViews", make_integer(1));
    define_variable(
        "viewport.activeViewport", [] { return make_integer(1); },
        [](Value* number) {
            if (to_integer(number) != 1) raise_absent("second viewport");
        });
    for (const char* name : {"viewport.setTM", "viewport.setFOV", "viewport.getTM", "viewport.getFOV",
                             "viewport.setLayout", "viewport.getViewportDib", "gw"})
        define_absent(name, "picture of a viewport");
}

}  // namespace corrivane::host
