#include "scripting/scripted_scene.h"

#include "maxscript/machine/geometry.h"
#include "maxscript/machine/times.h"

namespace corrivane::host {

ScriptedScene& ScriptedScene::instance() {
    static ScriptedScene scene(Core::instance());
    return scene;
}

ScriptedScene::State& ScriptedScene::state() {
    if (m_state.document != document().id()) {
        m_state = State{};
        m_state.document = document().id();
    }
    m_state.nodes.resize(scene().nodes.size());
    m_state.kept_of_materials.resize(scene().materials.size());
    return m_state;
}

void ScriptedScene::restore(State known) {
    m_state = std::move(known);
    m_state.document = document().id();
}

NodeRecord& ScriptedScene::record(int node) {
    return state().nodes.at(static_cast<std::size_t>(node));
}

void ScriptedScene::change_node(int index, const std::function<void(SceneNode&)>& change) {
    document().change_scene([&](Scene& scene) { change(scene.nodes[static_cast<std::size_t>(index)]); });
}

void ScriptedScene::show_and_hide() {
    const State& known = state();
    const auto all = known.kept.find("rendHidden");
    const bool shows_hidden = all != known.kept.end() && std::any_cast<bool>(all->second);
    document().change_scene([&](Scene& scene) {
        for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
            const NodeRecord& node = known.nodes[i];
            const LayerRecord& layer = known.layers[static_cast<std::size_t>(node.layer)];
            scene.nodes[i].shown = node.renderable && node.visible && layer.renderable &&
                                   (shows_hidden || !(node.hidden || layer.hidden));
        }
    });
}

std::vector<int> ScriptedScene::nodes() {
    std::vector<int> found;
    const State& known = state();
    for (std::size_t i = 0; i < known.nodes.size(); ++i)
        if (!known.nodes[i].deleted) found.push_back(static_cast<int>(i));
    return found;
}

std::vector<int>& ScriptedScene::selection() {
    return state().selection;
}

std::vector<LayerRecord>& ScriptedScene::layers() {
    return state().layers;
}

int& ScriptedScene::current_layer() {
    return state().current_layer;
}

KeptSettings& ScriptedScene::kept() {
    return state().kept;
}

KeptSettings& ScriptedScene::kept_of_renderer() {
    return state().kept_of_renderer;
}

KeptSettings& ScriptedScene::kept_of_material(int material) {
    return state().kept_of_materials.at(static_cast<std::size_t>(material));
}

TimeValue ScriptedScene::time() {
    return script_time();
}

Value* color_value(const Imath::C3f& color) {
    return new ColorValue(Imath::V4f(color.x * 255, color.y * 255, color.z * 255, 255));
}

}  // namespace corrivane::host
