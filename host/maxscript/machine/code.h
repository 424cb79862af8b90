#pragma once

#include "maxscript/machine/heap.h"
#include "maxscript/machine/stack_check.h"
#include "maxscript/machine/steps.h"
#include "maxscript/machine/thread_state.h"
#include "maxscript/machine/values.h"

#include <max/maxscript/value.h>

#include <stack_pointer.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What the compiler makes of a script: a tree of nodes, run by calling eval on its root.
namespace corrivane::host {

/// Why an evaluation gave no value.
enum class Flow { none, exit_loop, continue_loop, return_function };

/// One running piece of code: a function's body, or one expression of a script. All slots are roots.
struct Activation {
    ThreadState& thread;
    Value** locals;
    /// Where nodes keep intermediate values; the compiler has given each node its slots.
    Value** temporaries;
    /// The value that owns the nodes: the function, structure or expression that is running.
    Value* owner;
    /// The structure that a member function works on; null in other code.
    Value*& self;
    /// What `exit with` and `return` carry.
    Value*& carried;
    Flow flow = Flow::none;
};

/// A part of a script that can be evaluated. Nodes belong to the CompiledCode that they are in.
class Node {
public:
    explicit Node(int line) : m_line(line) {}
    virtual ~Node() = default;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    /// The value, without a root; null when `activation.flow` says where the evaluation goes on.
    virtual Value* eval(Activation& activation) const = 0;

    int line() const { return m_line; }

private:
    int m_line;
};

/// Evaluates a node, with a look at the native stack that is left.
inline Value* evaluate(const Node* node, Activation& activation) {
    if (stack_pointer() < activation.thread.stack_limit) check_stack(activation.thread);
    return node->eval(activation);
}

/// Code with slots of its own.
struct CodeUnit {
    const Node* body = nullptr;
    std::size_t local_count = 0;
    std::size_t temporary_count = 0;
    const std::string* file = nullptr;
};

/// What the compiler gives for one expression of a script; running it evaluates the expression. Owns the
/// nodes of everything in the expression, functions among them, and keeps their constants alive.
class CompiledCode final : public Value {
public:
    static constexpr const ValueMetaClass& metaclass = Code_class;

    template <typename T, typename... Arguments>
    T* make_node(Arguments&&... arguments) {
        m_held.update(m_node_bytes + sizeof(T) + node_overhead);
        m_node_bytes += sizeof(T) + node_overhead;
        auto node = std::make_unique<T>(std::forward<Arguments>(arguments)...);
        T* made = node.get();
        m_nodes.push_back(std::move(node));
        return made;
    }
    /// Keeps a value for as long as the code.
    Value* keep(Value* constant) {
        m_constants.push_back(constant);
        return constant;
    }
    /// The expression itself.
    CodeUnit& main() { return m_main; }

    Value* eval() override;
    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;

private:
    /// About what the system's allocator, the list of nodes, and lists and names in nodes add.
    static constexpr std::size_t node_overhead = 64;

    std::vector<std::unique_ptr<Node>> m_nodes;
    std::vector<Value*> m_constants;
    CodeUnit m_main;
    std::size_t m_node_bytes = 0;
    HeldBytes m_held;
};

/// What run_unit puts into the new activation.
struct UnitArguments {
    /// Kept alive while the unit runs: the value that owns its nodes.
    Value* owner;
    /// Null where there is none.
    Value* self = nullptr;
};

/// Runs a unit in an activation of its own: calls `prepare(activation)` to fill the locals, which are
/// undefined, and evaluates the body. Never null: a return ends the unit with what it carries.
template <typename Prepare>
Value* run_unit(const CodeUnit& unit, const UnitArguments& arguments, Prepare prepare);

}  // namespace corrivane::host

#include "maxscript/machine/run_unit.h"
