#pragma once

#include "maxscript/machine/signature.h"
#include "maxscript/machine/values.h"
#include "scripting/scripted_scene.h"

#include <max/maxscript/streams.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace corrivane::host {

extern const ValueMetaClass Node_class;
extern const ValueMetaClass NodeCollection_class;

/// What scripts call a node's object.
struct NodeKind {
    const ValueMetaClass& object_class;
    /// "GeometryClass", "camera", "light", "helper".
    const char* super_class;
};
const NodeKind& kind_of(const SceneNode& node);
std::span<const NodeKind> node_kinds();
/// The superclass of a class of objects or materials, by its name in any case; null for others.
const char* super_class_of(std::string_view class_name);

/// A node of the open scene: prints as `$Omnilight:Lamp @ [0,0,5]`. Its properties are the tables of node_properties.cpp,
/// and behind these the object's own. Using it after its scene was closed, or after it was deleted, is a
/// MAXScript error.
class NodeValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Node_class;

    /// `index` is a node's of the open scene.
    explicit NodeValue(int index) : m_document(ScriptedScene::instance().document().id()), m_index(index) {}

    bool is_valid() const;
    /// The node's index; a MAXScript error when the node is gone.
    int index() const;
    const SceneNode& node() const { return ScriptedScene::instance().node(index()); }
    NodeRecord& record() const { return ScriptedScene::instance().record(index()); }
    KeptSettings& kept() { return record().kept; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    const ValueMetaClass& shown_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    void set_property(const std::string& name, Value* content) override;
    bool equals(Value* other) override;

private:
    std::uint64_t m_document;
    int m_index;
};

/// Null for -1.
Value* node_value(int index);

extern const ValueMetaClass TriMesh_class;

/// A node's mesh: how large it is, and no more.
class MeshValue final : public TabledValue<MeshValue> {
public:
    static constexpr const ValueMetaClass& metaclass = TriMesh_class;
    static const PropertyTable<MeshValue>& properties();

    explicit MeshValue(NodeValue& owner) : m_owner(&owner) {}

    NodeValue& owner() const { return *m_owner; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override { stream->puts("TriMesh"); }
    void gc_trace() override { gc_mark(m_owner); }

private:
    NodeValue* m_owner;
};

/// Nodes that scripts go through: `objects`, `selection`, `$lamp*`. Which ones is asked each time.
class NodeCollection final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = NodeCollection_class;

    NodeCollection(std::string text, std::function<std::vector<int>()> members)
        : m_text(std::move(text)), m_members(std::move(members)) {}

    std::vector<int> members() const { return m_members(); }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    /// Of all its nodes.
    void set_property(const std::string& name, Value* content) override;
    Value* get_element(Value* index) override;
    bool is_collection() const override { return true; }
    Value* collection_element(std::size_t index) override;
    Value* converted(const ValueMetaClass& wanted) override;

private:
    std::string m_text;
    std::function<std::vector<int>()> m_members;
    /// Kept while a loop goes through them, which may change which ones there are.
    std::vector<int> m_current;
};

/// The properties that every node has, and those of its object: null for an object without any.
const PropertyTable<NodeValue>& node_properties();
const PropertyTable<NodeValue>* object_properties(const NodeValue& node);

/// A parameter for a node, a collection or an array of nodes: their indices.
struct Nodes {
    std::vector<int> indices;
};
template <>
struct FromScript<Nodes> {
    static constexpr bool is_object = true;
    static bool accepts(Value* value) {
        return value->is(Node_class) || value->is(NodeCollection_class) || value->is(Array_class);
    }
    static Nodes from(Value* value);
};

/// Whether a pattern with * and ? stands for a node's name, in any case.
bool is_named(int node, const std::string& pattern);

}  // namespace corrivane::host
