#pragma once

#include "core/core.h"
#include "maxscript/machine/properties.h"

#include <ImathVec.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace corrivane::host {

/// What scripts know of a node beside the scene.
struct NodeRecord {
    bool hidden = false;
    bool renderable = true;
    bool visible = true;
    bool deleted = false;
    int layer = 0;
    Imath::V4f wire_color{150, 150, 150, 255};
    /// The lines of the user properties, as they are written.
    std::string user_text{};
    KeptSettings kept{};
};

struct LayerRecord {
    std::string name;
    bool hidden = false;
    bool renderable = true;
    bool deleted = false;
    KeptSettings kept{};
};

/// The open document as scripts see and change it. What they have set goes with the document: another scene starts
/// afresh. There is one, over the one core; it belongs to the main thread.
class ScriptedScene {
public:
    static ScriptedScene& instance();

    Core& core() { return m_core; }
    Document& document() { return m_core.document(); }
    const Scene& scene() { return *document().scene(); }

    /// By the node's index in the scene.
    NodeRecord& record(int node);
    const SceneNode& node(int index) { return scene().nodes[static_cast<std::size_t>(index)]; }
    void change_node(int index, const std::function<void(SceneNode&)>& change);
    /// After a change of what hides nodes: tells the scene.
    void show_and_hide();

    /// The indices of nodes that are there, in the scene's order.
    std::vector<int> nodes();
    std::vector<int>& selection();
    std::vector<LayerRecord>& layers();
    int& current_layer();
    KeptSettings& kept();
    KeptSettings& kept_of_renderer();
    KeptSettings& kept_of_material(int material);

    /// Where scripts see the scene: the time of `at time`, or the slider's.
    static TimeValue time();

    /// All that goes with the document.
    struct State {
        std::uint64_t document = 0;
        std::vector<NodeRecord> nodes{};
        std::vector<int> selection{};
        std::vector<LayerRecord> layers{{"0"}};
        int current_layer = 0;
        KeptSettings kept{};
        KeptSettings kept_of_renderer{};
        std::vector<KeptSettings> kept_of_materials{};
    };
    State& state();
    /// Gives another document what was known of one with the same nodes.
    void restore(State known);

private:
    explicit ScriptedScene(Core& core) : m_core(core) {}

    Core& m_core;
    State m_state;
};

/// Runs a call into the host; what it refuses is an error of the script.
template <typename Call>
auto as_script_error(Call call) {
    try {
        return call();
    } catch (const std::invalid_argument& error) {
        raise_runtime_error(error.what());
    }
}

/// A colour's parts, 0 to 255, for the scene's, which are 0 to 1.
inline Imath::C3f scene_color(const Imath::V3f& color) {
    return {color.x / 255, color.y / 255, color.z / 255};
}
Value* color_value(const Imath::C3f& color);

}  // namespace corrivane::host
