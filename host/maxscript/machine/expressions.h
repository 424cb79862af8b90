#pragma once

#include "maxscript/machine/code.h"
#include "maxscript/machine/globals.h"
#include "maxscript/machine/operators.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The nodes that compute a value. A `slot` is the first of a node's own temporaries.
namespace corrivane::host {

class Literal final : public Node {
public:
    Literal(int line, Value* value) : Node(line), m_value(value) {}
    Value* eval(Activation&) const override { return m_value; }

private:
    Value* m_value;
};

/// Whatever can stand left of `=`.
class Target : public Node {
public:
    using Node::Node;
    /// Evaluates what the target consists of into its temporaries; false when the evaluation goes
    /// on elsewhere.
    virtual bool locate(Activation& activation) const = 0;
    /// Reads and writes what locate has found. The content is rooted by the caller.
    virtual Value* load(Activation& activation) const = 0;
    virtual void store(Activation& activation, Value* content) const = 0;
    /// Whether reading it gives a copy, which has to be stored back when it was changed.
    virtual bool gives_copies() const { return true; }
    /// What a part is asked of: `node.pos` in `node.pos.x`; null for none.
    virtual Node* object() const { return nullptr; }
    /// Gives the target other temporaries, two at most.
    virtual void move_slots(std::size_t /*slot*/) {}
    /// What `&target` gives, for what locate has found. Needs no root for the next moment.
    virtual Value* make_reference(Activation& activation) const = 0;

    Value* eval(Activation& activation) const override {
        return locate(activation) ? load(activation) : nullptr;
    }
};

class Variable final : public Target {
public:
    /// `self` is the structure that a member function works on.
    /// A reference is a local variable whose content lies in a ReferenceValue once somebody else uses it too: a
    /// parameter that stands for what the caller gave with `&`, a variable that a function within uses, in which
    /// it is captured.
    enum class Kind { local, reference, captured, member, self, global };

    Variable(int line, Kind kind, std::size_t number) : Target(line), m_kind(kind), m_number(number) {}
    Variable(int line, Global* global_variable)
        : Target(line), m_kind(Kind::global), m_global(global_variable) {}

    /// Makes a local variable a member of the structure around it: members may be used above
    /// their definition.
    void become_member(std::size_t number) {
        m_kind = Kind::member;
        m_number = number;
    }

    /// Says of a local variable that somebody else uses it too.
    void become_reference() { m_kind = Kind::reference; }

    bool locate(Activation&) const override { return true; }
    Value* load(Activation& activation) const override;
    void store(Activation& activation, Value* content) const override;
    Value* make_reference(Activation& activation) const override;
    bool gives_copies() const override { return m_kind == Kind::global && m_global->is_computed(); }

private:
    Kind m_kind;
    std::size_t m_number = 0;
    Global* m_global = nullptr;
};

class PropertyAccess final : public Target {
public:
    PropertyAccess(int line, Node* object, std::string name, std::size_t slot)
        : Target(line), m_object(object), m_name(std::move(name)), m_slot(slot) {}

    bool locate(Activation& activation) const override;
    Value* load(Activation& activation) const override;
    void store(Activation& activation, Value* content) const override;
    Node* object() const override { return m_object; }
    void move_slots(std::size_t slot) override { m_slot = slot; }
    Value* make_reference(Activation& activation) const override;

private:
    Node* m_object;
    std::string m_name;
    std::size_t m_slot;
};

class Element final : public Target {
public:
    Element(int line, Node* object, const Node* index, std::size_t slot)
        : Target(line), m_object(object), m_index(index), m_slot(slot) {}

    bool locate(Activation& activation) const override;
    Value* load(Activation& activation) const override;
    void store(Activation& activation, Value* content) const override;
    Node* object() const override { return m_object; }
    void move_slots(std::size_t slot) override { m_slot = slot; }
    Value* make_reference(Activation& activation) const override;

private:
    Node* m_object;
    const Node* m_index;
    std::size_t m_slot;
};

/// `target = content`, or `target += content` with an operator.
class Assignment final : public Node {
public:
    Assignment(int line, const Target* target, std::optional<Operator> operation, const Node* content,
               std::size_t slot)
        : Node(line), m_target(target), m_operation(operation), m_content(content), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    const Target* m_target;
    std::optional<Operator> m_operation;
    const Node* m_content;
    std::size_t m_slot;
};

class ArrayLiteral final : public Node {
public:
    ArrayLiteral(int line, std::vector<const Node*> elements, std::size_t slot)
        : Node(line), m_elements(std::move(elements)), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    std::vector<const Node*> m_elements;
    std::size_t m_slot;
};

/// Operations of one rank, from left to right: `a + b - c`.
class Chain final : public Node {
public:
    struct Link {
        Operator operation;
        const Node* operand;
    };
    Chain(int line, const Node* first, std::size_t slot) : Node(line), m_first(first), m_slot(slot) {}
    void add(Operator operation, const Node* operand) { m_links.push_back({operation, operand}); }
    Value* eval(Activation& activation) const override;

private:
    const Node* m_first;
    std::vector<Link> m_links;
    std::size_t m_slot;
};

/// `a and b and c`, or with `or`: stops at the first operand that decides.
class LogicalChain final : public Node {
public:
    LogicalChain(int line, bool stops_at, const Node* first)
        : Node(line), m_stops_at(stops_at), m_operands{first} {}
    void add(const Node* operand) { m_operands.push_back(operand); }
    Value* eval(Activation& activation) const override;

private:
    bool m_stops_at;
    std::vector<const Node*> m_operands;
};

class Not final : public Node {
public:
    Not(int line, const Node* operand) : Node(line), m_operand(operand) {}
    Value* eval(Activation& activation) const override;

private:
    const Node* m_operand;
};

class Negation final : public Node {
public:
    Negation(int line, const Node* operand) : Node(line), m_operand(operand) {}
    Value* eval(Activation& activation) const override;

private:
    const Node* m_operand;
};

/// `callee argument argument keyword:argument`. The callee, the arguments and the keyword arguments lie in
/// the temporaries from `slot` on, in this order.
class Call final : public Node {
public:
    struct Keyword {
        std::string name;
        const Node* value;
    };
    Call(int line, const Node* callee, std::string name, std::size_t slot)
        : Node(line), m_callee(callee), m_name(std::move(name)), m_slot(slot) {}
    void add(const Node* argument) { m_arguments.push_back(argument); }
    void add(std::string keyword, const Node* value) { m_keywords.push_back({std::move(keyword), value}); }
    Value* eval(Activation& activation) const override;

private:
    const Node* m_callee;
    std::string m_name;
    std::vector<const Node*> m_arguments;
    std::vector<Keyword> m_keywords;
    std::size_t m_slot;
};

/// The truth of a condition; a MAXScript error that names the part of the language for anything but
/// a Boolean.
bool condition_holds(Value* value, const char* test);

}  // namespace corrivane::host
