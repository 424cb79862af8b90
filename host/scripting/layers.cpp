#include "scripting/layers.h"

#include "maxscript/machine/functions.h"
#include "maxscript/machine/references.h"
#include "maxscript/machine/signature.h"
#include "scripting/names.h"

#include <algorithm>

namespace corrivane::host {

const ValueMetaClass Layer_class{"MixinInterface"};

namespace {

ScriptedScene& open_scene() {
    return ScriptedScene::instance();
}

std::vector<LayerRecord>& records() {
    return open_scene().layers();
}

/// The indices of layers that are there.
std::vector<int> present() {
    std::vector<int> found;
    for (std::size_t i = 0; i < records().size(); ++i)
        if (!records()[i].deleted) found.push_back(static_cast<int>(i));
    return found;
}

int find_layer(const std::string& name) {
    for (const int index : present())
        if (lower_case(records()[static_cast<std::size_t>(index)].name) == lower_case(name)) return index;
    return -1;
}

Value* layer_value(int index) {
    return index < 0 ? &undefined : static_cast<Value*>(new LayerValue(index));
}

/// Counted from 0, unlike the rest of MAXScript.
Value* get_layer(int number) {
    const std::vector<int> all = present();
    if (number < 0 || static_cast<std::size_t>(number) >= all.size()) return &undefined;
    return layer_value(all[static_cast<std::size_t>(number)]);
}

/// Undefined when there is one of this name.
Value* new_layer(const std::string& name) {
    if (find_layer(name) >= 0) return &undefined;
    records().push_back({name});
    return layer_value(static_cast<int>(records().size()) - 1);
}

Value* new_unnamed_layer() {
    for (int number = 1;; ++number) {
        char name[32];
        std::snprintf(name, sizeof name, "Layer%03d", number);
        if (find_layer(name) < 0) return new_layer(name);
    }
}

/// Only of a layer without nodes, and not of the first one.
bool delete_layer(const std::string& name) {
    const int index = find_layer(name);
    if (index <= 0 || !LayerValue(index).nodes().empty()) return false;
    records()[static_cast<std::size_t>(index)].deleted = true;
    if (open_scene().current_layer() == index) open_scene().current_layer() = 0;
    return true;
}

/// A function of a layer, as `layer.name` gives it.
template <typename Function>
Property<LayerValue> method(const char* name, Function function) {
    return {name,
            [name, function](LayerValue& layer) -> Value* {
                const int index = layer.index();
                return new PrimitiveFunction(name, Builtin(name, function(index)).function);
            },
            {}};
}

template <bool LayerRecord::*Flag, bool Shown>
void set_flag(LayerValue& layer, bool on) {
    layer.record().*Flag = on == Shown;
    open_scene().show_and_hide();
}

void add_node(int layer, const NodeValue& node) {
    node.record().layer = layer;
    open_scene().show_and_hide();
}

Value* nodes_as_array(int layer) {
    const Rooted array(make_array());
    for (const int node : LayerValue(layer).nodes())
        append_to_array(array.get(), node_value(node));
    return array.get();
}

}  // namespace

int LayerValue::index() const {
    if (open_scene().document().id() != m_document || records()[static_cast<std::size_t>(m_index)].deleted)
        raise_runtime_error("Attempt to access deleted layer");
    return m_index;
}

LayerRecord& LayerValue::record() const {
    return records()[static_cast<std::size_t>(index())];
}

std::vector<int> LayerValue::nodes() const {
    std::vector<int> found = open_scene().nodes();
    std::erase_if(found, [&](int node) { return open_scene().record(node).layer != m_index; });
    return found;
}

void LayerValue::sprin1(CharStream* stream) {
    stream->puts(("<MixinInterface:" + record().name + ">").c_str());
}

bool LayerValue::equals(Value* other) {
    const auto* layer = value_as<LayerValue>(other);
    return layer != nullptr && layer->m_document == m_document && layer->m_index == m_index;
}

const PropertyTable<LayerValue>& LayerValue::properties() {
    static const PropertyTable<LayerValue> table{
        property(
            "name", [](LayerValue& layer) { return layer.record().name; },
            [](LayerValue& layer, const std::string& name) { layer.record().name = name; }),
        property(
            "on", [](LayerValue& layer) { return !layer.record().hidden; },
            set_flag<&LayerRecord::hidden, false>),
        property(
            "isHidden", [](LayerValue& layer) { return layer.record().hidden; },
            set_flag<&LayerRecord::hidden, true>),
        property(
            "renderable", [](LayerValue& layer) { return layer.record().renderable; },
            set_flag<&LayerRecord::renderable, true>),
        property(
            "current", [](LayerValue& layer) { return open_scene().current_layer() == layer.index(); },
            [](LayerValue& layer, bool on) {
                if (on) open_scene().current_layer() = layer.index();
            }),
        host::kept<LayerValue>("isFrozen", false),
        host::kept<LayerValue>("lock", false),
        host::kept<LayerValue>("display", 0),
        method("setName",
               [](int index) {
                   return [index](const std::string& name) {
                       const bool free = find_layer(name) < 0;
                       if (free) LayerValue(index).record().name = name;
                       return free;
                   };
               }),
        method(
            "getNumNodes",
            [](int index) { return [index] { return static_cast<int>(LayerValue(index).nodes().size()); }; }),
        method("addNode", [](int index) { return [index](NodeValue& node) { add_node(index, node); }; }),
        method("addNodes",
               [](int index) {
                   return [index](const Nodes& nodes) {
                       for (const int node : nodes.indices)
                           open_scene().record(node).layer = index;
                       open_scene().show_and_hide();
                   };
               }),
        method("nodes",
               [](int index) {
                   return [index](ReferenceValue& nodes) {
                       const Rooted array(nodes_as_array(index));
                       nodes.set(array.get());
                       return true;
                   };
               }),
        method("getNodes", [](int index) { return [index] { return nodes_as_array(index); }; }),
        method("select",
               [](int index) {
                   return [index](bool on) {
                       open_scene().selection() = on ? LayerValue(index).nodes() : std::vector<int>();
                   };
               }),
        method("canDelete",
               [](int index) { return [index] { return index > 0 && LayerValue(index).nodes().empty(); }; }),
    };
    return table;
}

void define_layer_functions() {
    define_functions({
        {"layerManager.getLayer", [](int number) { return get_layer(number); }},
        {"layerManager.getLayer", [](const std::string& name) { return layer_value(find_layer(name)); }},
        {"layerManager.getLayerFromName",
         [](const std::string& name) { return layer_value(find_layer(name)); }},
        {"layerManager.newLayer", new_unnamed_layer},
        {"layerManager.newLayerFromName", new_layer},
        {"layerManager.doesLayerExist", [](const std::string& name) { return find_layer(name) >= 0; }},
        {"layerManager.deleteLayerByName", delete_layer},
    });
    define_variable("layerManager.count", [] { return make_integer(static_cast<int>(present().size())); });
    define_variable("layerManager.current", [] { return layer_value(open_scene().current_layer()); });
}

}  // namespace corrivane::host
