#pragma once

#include "maxscript/machine/code.h"
#include "maxscript/machine/expressions.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/structs.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The nodes that steer. A `slot` is the first of a node's own temporaries.
namespace corrivane::host {

/// `( … )`: the value is the last expression's; nothing gives `ok`. The block's own locals start undefined.
class Block final : public Node {
public:
    Block(int line, std::vector<const Node*> expressions, std::size_t first_local, std::size_t local_count)
        : Node(line),
          m_expressions(std::move(expressions)),
          m_first_local(first_local),
          m_local_count(local_count) {}
    Value* eval(Activation& activation) const override;

private:
    std::vector<const Node*> m_expressions;
    std::size_t m_first_local;
    std::size_t m_local_count;
};

/// Without an else part, undefined when the condition does not hold.
class If final : public Node {
public:
    If(int line, const Node* condition, const Node* then_part, const Node* else_part)
        : Node(line), m_condition(condition), m_then(then_part), m_else(else_part) {}
    Value* eval(Activation& activation) const override;

private:
    const Node* m_condition;
    const Node* m_then;
    const Node* m_else;
};

/// `case subject of (label: … default: …)`; a case without a subject takes the first label that is true.
class Case final : public Node {
public:
    struct Branch {
        /// Null for the default.
        const Node* label;
        const Node* body;
    };
    Case(int line, const Node* subject, std::vector<Branch> branches, std::size_t slot)
        : Node(line), m_subject(subject), m_branches(std::move(branches)), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    const Node* m_subject;
    std::vector<Branch> m_branches;
    std::size_t m_slot;
};

/// What a loop's body asked for in one round.
enum class Round { next, leave, unwind };

/// Runs one round of a loop's body. `result` gets the body's value, or what `exit` carries (undefined for
/// none); it stays as it is for `continue`.
Round run_round(const Node* body, Activation& activation, Value*& result);

/// `while … do …` and `do … while …`: the value is the last round's.
class While final : public Node {
public:
    While(int line, const Node* condition, const Node* body, bool body_first, std::size_t slot)
        : Node(line), m_condition(condition), m_body(body), m_body_first(body_first), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    const Node* m_condition;
    const Node* m_body;
    bool m_body_first;
    std::size_t m_slot;
};

/// The parts that the two kinds of `for` share. The value is `ok`, or with `collect` an array of the
/// rounds' values.
struct ForParts {
    /// The loop's variable, the number of the round, and the number among those that where lets pass.
    std::array<std::optional<std::size_t>, 3> locals;
    /// Null for none.
    const Node* while_part = nullptr;
    const Node* where = nullptr;
    const Node* body = nullptr;
    bool collects = false;
};

/// `for i = from to last by step`.
class ForRange final : public Node {
public:
    ForRange(int line, const Node* from, const Node* last, const Node* step, ForParts parts, std::size_t slot)
        : Node(line), m_from(from), m_last(last), m_step(step), m_parts(parts), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    Value* run_integers(Activation& activation, std::int64_t from, std::int64_t last,
                        std::int64_t step) const;
    Value* run_floats(Activation& activation, float from, float last, float step) const;
    Value* run_times(Activation& activation, Value* const* bounds) const;
    [[noreturn]] void fail_on_step() const;

    const Node* m_from;
    const Node* m_last;
    const Node* m_step;
    ForParts m_parts;
    std::size_t m_slot;
};

/// `for x in collection`: sees what the body appends to an array.
class ForIn final : public Node {
public:
    ForIn(int line, const Node* collection, ForParts parts, std::size_t slot)
        : Node(line), m_collection(collection), m_parts(parts), m_slot(slot) {}
    Value* eval(Activation& activation) const override;

private:
    const Node* m_collection;
    ForParts m_parts;
    std::size_t m_slot;
};

/// `exit`, `continue` and `return`, with what they carry.
class Leave final : public Node {
public:
    Leave(int line, Flow flow, const Node* carried) : Node(line), m_flow(flow), m_carried(carried) {}
    Value* eval(Activation& activation) const override;

private:
    Flow m_flow;
    const Node* m_carried;
};

class Try final : public Node {
public:
    Try(int line, const Node* body, const Node* handler) : Node(line), m_body(body), m_handler(handler) {}
    Value* eval(Activation& activation) const override;

private:
    Value* handle(Activation& activation, CaughtError error) const;

    const Node* m_body;
    const Node* m_handler;
};

/// Makes a function and gives it its name.
class FunctionDefinition final : public Node {
public:
    FunctionDefinition(int line, CompiledCode* code, std::unique_ptr<FunctionText> text)
        : Node(line), m_code(code), m_text(std::move(text)) {}

    FunctionText& text() { return *m_text; }
    /// Where the function is stored.
    void set_target(const Target* target, std::size_t slot) {
        m_target = target;
        m_slot = slot;
    }
    Value* eval(Activation& activation) const override;

private:
    CompiledCode* m_code;
    std::unique_ptr<FunctionText> m_text;
    const Target* m_target = nullptr;
    std::size_t m_slot = 0;
};

/// Makes a structure's definition and gives it its name. Owns the text of the member functions.
class StructDefinitionNode final : public Node {
public:
    StructDefinitionNode(int line, CompiledCode* code) : Node(line), m_code(code) {}

    StructText& text() { return m_text; }
    FunctionText* add_function() { return m_functions.emplace_back(std::make_unique<FunctionText>()).get(); }
    CodeUnit* add_first_value() { return m_first_values.emplace_back(std::make_unique<CodeUnit>()).get(); }
    void set_target(const Target* target, std::size_t slot) {
        m_target = target;
        m_slot = slot;
    }
    Value* eval(Activation& activation) const override;

private:
    CompiledCode* m_code;
    StructText m_text;
    std::vector<std::unique_ptr<FunctionText>> m_functions;
    std::vector<std::unique_ptr<CodeUnit>> m_first_values;
    const Target* m_target = nullptr;
    std::size_t m_slot = 0;
};

/// `local a, b = 2` and `global a = 1`.
class Declaration final : public Node {
public:
    Declaration(int line, std::vector<const Node*> parts) : Node(line), m_parts(std::move(parts)) {}
    Value* eval(Activation& activation) const override;

private:
    /// The assignments, in order, and for a local without a value one that makes it undefined again.
    std::vector<const Node*> m_parts;
};

}  // namespace corrivane::host
