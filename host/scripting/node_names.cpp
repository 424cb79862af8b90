#include "core/units.h"
#include "maxscript/library/callbacks.h"
#include "maxscript/library/library.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/geometry.h"
#include "maxscript/machine/globals.h"
#include "maxscript/machine/overloads.h"
#include "maxscript/machine/signature.h"
#include "scripting/names.h"
#include "scripting/node_value.h"
#include "scripting/scene_edits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>

namespace corrivane::host {

namespace {

ScriptedScene& open_scene() {
    return ScriptedScene::instance();
}

double seconds() {
    return to_seconds(ScriptedScene::time());
}

// Collections

std::vector<int> nodes_of_class(const char* super_class) {
    std::vector<int> found = open_scene().nodes();
    std::erase_if(found, [&](int node) {
        return std::string_view(kind_of(open_scene().node(node)).super_class) != super_class;
    });
    return found;
}

std::vector<int> root_nodes() {
    std::vector<int> found = open_scene().nodes();
    std::erase_if(found, [&](int node) { return open_scene().node(node).parent >= 0; });
    return found;
}

std::vector<int> selected_nodes() {
    return open_scene().selection();
}

/// `a/b*`: whether a node and those above it are named so.
bool is_on_path(int node, const std::string& path) {
    const std::size_t separator = path.find_last_of("/\\");
    if (!is_named(node, path.substr(separator == std::string::npos ? 0 : separator + 1))) return false;
    if (separator == std::string::npos) return true;
    const int parent = open_scene().node(node).parent;
    return parent >= 0 && is_on_path(parent, path.substr(0, separator));
}

std::vector<int> nodes_on_path(const std::string& path) {
    std::vector<int> found = open_scene().nodes();
    // What follows three dots may be at any depth below.
    std::erase_if(found, [&](int node) { return !is_on_path(node, path); });
    return found;
}

/// `getNodeByName "name" exact:true all:true`.
Value* node_by_name(const std::string& name, const Keyword<"exact", bool>& exact,
                    const Keyword<"all", bool>& all, const Keyword<"ignoreCase", bool>& ignores_case) {
    const Rooted array(make_array());
    for (const int node : open_scene().nodes()) {
        const std::string& known = open_scene().node(node).name;
        const bool same = exact.value_or(false) || !ignores_case.value_or(true)
                              ? known == name
                              : lower_case(known) == lower_case(name);
        if (!same) continue;
        if (!all.value_or(false)) return node_value(node);
        append_to_array(array.get(), node_value(node));
    }
    return all.value_or(false) ? array.get() : &undefined;
}

/// `uniqueName "lamp"`: the text with the first number that no node has.
std::string unique_name(const std::string& prefix, const Keyword<"numDigits", int>& digits) {
    const int width = std::clamp(digits.value_or(3), 1, 9);
    for (int number = 1;; ++number) {
        std::string text = std::to_string(number);
        text.insert(0, static_cast<std::size_t>(std::max(0, width - static_cast<int>(text.size()))), '0');
        if (nodes_on_path(prefix + text).empty()) return prefix + text;
    }
}

const ValueMetaClass root_class{"RootNode"};

/// What nodes without a parent hang below.
class RootNode final : public TabledValue<RootNode> {
public:
    static const PropertyTable<RootNode>& properties() {
        static const PropertyTable<RootNode> table{
            read_only("name", [](RootNode&) { return std::string("Scene Root"); }),
            read_only("children", [](RootNode&) -> Value* { return new NodeCollection("$/*", root_nodes); }),
        };
        return table;
    }
    const ValueMetaClass& value_class() const override { return root_class; }
    void sprin1(CharStream* stream) override { stream->puts("$<root>"); }
    bool equals(Value* other) override { return dynamic_cast<RootNode*>(other) != nullptr; }
};

// Selection, and what shows

void notify_selection() {
    run_callbacks("selectionSetChanged");
}

void select(const Nodes& nodes) {
    open_scene().selection() = nodes.indices;
    notify_selection();
}

void select_more(const Nodes& nodes) {
    std::vector<int>& selection = open_scene().selection();
    for (const int node : nodes.indices)
        if (std::find(selection.begin(), selection.end(), node) == selection.end()) selection.push_back(node);
    notify_selection();
}

void deselect(const Nodes& nodes) {
    for (const int node : nodes.indices)
        std::erase(open_scene().selection(), node);
    notify_selection();
}

void clear_selection() {
    open_scene().selection().clear();
    notify_selection();
}

template <bool Hidden>
void hide(const Nodes& nodes) {
    for (const int node : nodes.indices)
        open_scene().record(node).hidden = Hidden;
    open_scene().show_and_hide();
}

void delete_nodes(const Nodes& nodes) {
    for (const int node : nodes.indices) {
        if (open_scene().record(node).deleted) continue;
        run_callbacks("nodePreDelete", node_value(node));
        open_scene().document().change_scene([&](Scene& scene) { delete_node(scene, node, seconds()); });
        open_scene().record(node).deleted = true;
        std::erase(open_scene().selection(), node);
        run_callbacks("nodePostDelete");
    }
}

bool is_valid_node(Value* value) {
    const auto* node = value_as<NodeValue>(value);
    return node != nullptr && node->is_valid();
}

// Movement: with `in coordsys` as properties have it

void change_property(const Nodes& nodes, const char* name, const std::function<Value*(Value*)>& change) {
    for (const int index : nodes.indices) {
        const Rooted node(node_value(index));
        auto* value = static_cast<NodeValue*>(node.get());
        const Rooted before(value->get_property(name));
        const Rooted after(change(before.get()));
        value->set_property(name, after.get());
    }
}

void move(const Nodes& nodes, const Imath::V3f& way) {
    change_property(nodes, "pos", [&](Value* place) -> Value* {
        return new Point3Value(FromScript<Imath::V3f>::from(place) + way);
    });
}

void rotate(const Nodes& nodes, const Imath::Quatf& turn) {
    change_property(nodes, "rotation",
                    [&](Value* before) -> Value* { return new QuatValue(to_rotation(before) * turn); });
}

void scale(const Nodes& nodes, const Imath::V3f& factors) {
    change_property(nodes, "scale", [&](Value* before) -> Value* {
        return new Point3Value(FromScript<Imath::V3f>::from(before) * factors);
    });
}

/// `deleteKeys node #allKeys`.
void delete_keys(const Nodes& nodes, Rest) {
    for (const int node : nodes.indices)
        open_scene().document().change_scene([&](Scene& scene) { remove_keys(scene, node, seconds()); });
}

// Classes

std::string class_name_of(Value* value) {
    if (const auto* described = value_as<ClassValue>(value)) return described->described().name;
    if (const auto* own = dynamic_cast<ScriptValue*>(value)) return own->shown_class().name;
    return value->value_class().name;
}

constexpr std::array<ValueMetaClass, 7> super_classes{
    {{"Value"}, {"GeometryClass"}, {"camera"}, {"light"}, {"helper"}, {"material"}, {"textureMap"}}};

const ValueMetaClass& super_class(const std::string& name) {
    std::string_view known = super_class_of(name) == nullptr ? "Value" : super_class_of(name);
    if (name == "PhysicalMaterial") known = "material";
    if (name == "Bitmaptexture") known = "textureMap";
    return *std::ranges::find(super_classes, known, &ValueMetaClass::name);
}

/// Scripts may call variables of their own so.
void define_super_classes() {
    for (const ValueMetaClass& described : super_classes) {
        Global& variable = global(described.name);
        variable.forget();
        variable.declare();
        variable.set(new ClassValue(described));
    }
    for (const NodeKind& kind : node_kinds())
        define_class(kind.object_class,
                     {kind.object_class.name, []() -> Value* { raise_absent("making of objects"); }});
}

Value* super_class_value(Value* value) {
    if (value == &undefined) return &undefined;
    return new ClassValue(super_class(class_name_of(value)));
}

bool is_kind_of(Value* value, const ClassValue& wanted) {
    const std::string name = class_name_of(value);
    return name == wanted.described().name ||
           super_class(name).name == std::string_view(wanted.described().name);
}

/// `getClassInstances Omnilight`: nodes of a class of objects.
Value* class_instances(const ClassValue& wanted) {
    const Rooted array(make_array());
    for (const int node : open_scene().nodes())
        if (std::string_view(kind_of(open_scene().node(node)).object_class.name) == wanted.described().name)
            append_to_array(array.get(), node_value(node));
    return array.get();
}

// User properties: lines `key = value`

std::string trimmed(const std::string& text) {
    const std::size_t start = text.find_first_not_of(" \t\r");
    return start == std::string::npos ? "" : text.substr(start, text.find_last_not_of(" \t\r") + 1 - start);
}

/// Goes through a node's lines; keeps those for which `keep(key, line)` says so.
template <typename Keep>
void filter_lines(NodeValue& node, Keep keep) {
    std::istringstream lines(node.record().user_text);
    std::string kept_lines;
    for (std::string line; std::getline(lines, line);)
        if (keep(lower_case(trimmed(line.substr(0, line.find('=')))), line))
            kept_lines += trimmed(line) + "\n";
    node.record().user_text = kept_lines;
}

Value* user_property(NodeValue& node, const std::string& key) {
    std::optional<std::string> text;
    filter_lines(node, [&](const std::string& name, const std::string& line) {
        if (name == lower_case(key))
            text = trimmed(line.substr(std::min(line.find('='), line.size() - 1) + 1));
        return true;
    });
    if (!text) return &undefined;
    if (lower_case(*text) == "true" || lower_case(*text) == "false")
        return make_boolean(lower_case(*text) == "true");
    const char* end = text->data() + text->size();
    int whole = 0;
    if (std::from_chars(text->data(), end, whole).ptr == end && !text->empty()) return make_integer(whole);
    float number = 0;
    if (std::from_chars(text->data(), end, number).ptr == end && !text->empty()) return make_float(number);
    return make_string(*text);
}

void delete_user_property(NodeValue& node, const std::string& key) {
    filter_lines(node, [&](const std::string& name, const std::string&) { return name != lower_case(key); });
}

void set_user_property(NodeValue& node, const std::string& key, Value* content) {
    delete_user_property(node, key);
    const std::string text =
        content->is(String_class) || content->is(Name_class) ? to_text(content) : printed_form(content);
    node.record().user_text += key + " = " + text + "\n";
}

// Properties by name

std::vector<std::string> names_of(const NodeValue& node) {
    std::vector<std::string> names;
    const auto add = [&](const PropertyTable<NodeValue>& table) {
        for (const Property<NodeValue>& row : table.rows())
            if (!row.absent) names.push_back(row.name);
    };
    if (const auto* own = object_properties(node)) add(*own);
    add(node_properties());
    return names;
}

/// `showProperties node to:stream`: the names, one in a line.
void show_properties(NodeValue& node, const Keyword<"to", CharStream*>& output) {
    CharStream& stream = output ? **output : *thread_state().locals.current_stdout;
    for (const std::string& name : names_of(node))
        stream.puts(("  ." + name + "\n").c_str());
}

bool has_property(ScriptValue& value, const std::string& name) {
    try {
        value.get_property(lower_case(name));
        return true;
    } catch (const MAXScriptException&) {
        return false;
    }
}

}  // namespace

Value* find_path(const std::string& path) {
    if (path.empty()) {
        const std::vector<int> selected = selected_nodes();
        if (selected.empty()) return &undefined;
        return selected.size() == 1 ? node_value(selected.front())
                                    : new NodeCollection("$selection", selected_nodes);
    }
    if (path.find_first_of("*?") != std::string::npos)
        return new NodeCollection("$" + path, [path] { return nodes_on_path(path); });
    const std::vector<int> found = nodes_on_path(path);
    return found.empty() ? &undefined : node_value(found.front());
}

void define_node_functions() {
    define_super_classes();
    const auto collection = [](const char* name, std::function<std::vector<int>()> members) {
        define_constant(name, new NodeCollection(std::string("$") + name, std::move(members)));
    };
    collection("objects", [] { return open_scene().nodes(); });
    collection("selection", selected_nodes);
    collection("geometry", [] { return nodes_of_class("GeometryClass"); });
    collection("cameras", [] { return nodes_of_class("camera"); });
    collection("lights", [] { return nodes_of_class("light"); });
    collection("helpers", [] { return nodes_of_class("helper"); });
    for (const char* none : {"shapes", "systems", "spacewarps"})
        collection(none, [] { return std::vector<int>(); });
    define_variable("rootNode", []() -> Value* { return new RootNode; });
    define_functions({
        {"getNodeByName", node_by_name},
        {"uniqueName", unique_name},
        {"select", select},
        {"selectMore", select_more},
        {"deselect", deselect},
        {"clearSelection", clear_selection},
        {"getCurrentSelection",
         [] {
             const Rooted array(make_array());
             for (const int node : selected_nodes())
                 append_to_array(array.get(), node_value(node));
             return array.get();
         }},
        {"hide", hide<true>},
        {"unhide", [](const Nodes& nodes, std::optional<bool>) { hide<false>(nodes); }},
        {"delete", delete_nodes},
        {"isValidNode", is_valid_node},
        {"isDeleted", [](NodeValue& node) { return !node.is_valid(); }},
        {"deleteKeys", delete_keys},
        {"superClassOf", super_class_value},
        {"isKindOf", is_kind_of},
        {"getClassInstances", class_instances},
        {"getUserProp", user_property},
        {"setUserProp", set_user_property},
        {"deleteUserProp", delete_user_property},
        {"getUserPropBuffer", [](NodeValue& node) { return node.record().user_text; }},
        {"setUserPropBuffer",
         [](NodeValue& node, const std::string& text) { node.record().user_text = text; }},
        {"getPropNames", [](NodeValue& node) { return names_of(node); }},
        {"showProperties", show_properties},
        {"isProperty", [](ScriptValue& value, const std::string& name) { return has_property(value, name); }},
        {"hasProperty",
         [](ScriptValue& value, const std::string& name) { return has_property(value, name); }},
        {"getProperty",
         [](ScriptValue& value, const std::string& name) { return value.get_property(lower_case(name)); }},
        {"setProperty",
         [](ScriptValue& value, const std::string& name, Value* content) {
             value.set_property(lower_case(name), content);
             return content;
         }},
    });
    define_overloads({
        {"move", move},
        {"rotate", rotate},
        {"scale", scale},
    });
}

}  // namespace corrivane::host
