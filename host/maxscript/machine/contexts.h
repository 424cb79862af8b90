#pragma once

#include "maxscript/machine/code.h"

#include <vector>

/// `at time`, `animate on` and their kin: what holds while an expression runs.
namespace corrivane::host {

/// `with part, part body`; without a body, `set part`, which holds until something else is set.
class ContextExpression final : public Node {
public:
    enum class Kind {
        time,
        animate,
        coordinate_system,
        print_all_elements,
        /// Has no meaning here.
        other
    };
    struct Part {
        Kind kind;
        /// Null where `system` says all.
        const Node* operand = nullptr;
        CoordinateSystem system = CoordinateSystem::object;
    };
    ContextExpression(int line, std::size_t slot) : Node(line), m_slot(slot) {}
    void add(const Part& part) { m_parts.push_back(part); }
    void set_body(const Node* body) { m_body = body; }
    Value* eval(Activation& activation) const override;

private:
    bool apply(const Part& part, std::size_t number, Activation& activation) const;

    std::vector<Part> m_parts;
    const Node* m_body = nullptr;
    std::size_t m_slot;
};

}  // namespace corrivane::host
