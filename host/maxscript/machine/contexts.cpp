#include "maxscript/machine/contexts.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/times.h"
#include "maxscript/machine/values.h"

namespace corrivane::host {

/// Sets what a part says; false where the evaluation goes on elsewhere.
bool ContextExpression::apply(const Part& part, std::size_t number, Activation& activation) const {
    Value*& operand = activation.temporaries[m_slot + number];
    operand = part.operand == nullptr ? &undefined : evaluate(part.operand, activation);
    if (operand == nullptr) return false;
    activation.thread.place.line = line();
    ScriptContext& context = activation.thread.context;
    switch (part.kind) {
        case Kind::time:
            context.time = to_ticks(operand);
            break;
        case Kind::animate:
            context.animate = to_boolean(operand);
            break;
        case Kind::print_all_elements:
            context.print_all_elements = to_boolean(operand);
            break;
        case Kind::coordinate_system:
            context.coordinate_system = part.system;
            context.coordinate_object = part.operand == nullptr ? nullptr : operand;
            break;
        case Kind::other:
            break;
    }
    return true;
}

Value* ContextExpression::eval(Activation& activation) const {
    std::optional<ContextScope> scope;
    if (m_body != nullptr) scope.emplace(activation.thread);
    for (std::size_t i = 0; i < m_parts.size(); ++i)
        if (!apply(m_parts[i], i, activation)) return nullptr;
    return m_body == nullptr ? &ok : evaluate(m_body, activation);
}

}  // namespace corrivane::host
