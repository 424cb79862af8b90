#include "maxscript/machine/statements.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/times.h"

namespace corrivane::host {

namespace {

/// A for loop that is running: what it has collected, and its rounds so far.
struct Rounds {
    Value*& collected;
    int number = 0;
    int passed = 0;
};

/// Whether a part of the loop's head holds; nothing where the evaluation goes on elsewhere.
std::optional<bool> part_holds(const Node* part, Activation& activation, const char* name) {
    if (part == nullptr) return true;
    Value* value = evaluate(part, activation);
    if (value == nullptr) return std::nullopt;
    return condition_holds(value, name);
}

/// One round of a for loop.
Round run_for_round(const ForParts& parts, Activation& activation, Value* content, Rounds& rounds) {
    activation.locals[*parts.locals[0]] = content;
    if (parts.locals[1]) activation.locals[*parts.locals[1]] = make_integer(++rounds.number);
    if (parts.locals[2]) activation.locals[*parts.locals[2]] = make_integer(rounds.passed + 1);
    const std::optional<bool> goes_on = part_holds(parts.while_part, activation, "while");
    if (!goes_on) return Round::unwind;
    if (!*goes_on) return Round::leave;
    const std::optional<bool> wanted = part_holds(parts.where, activation, "where");
    if (!wanted) return Round::unwind;
    if (!*wanted) {
        count_step();
        return Round::next;
    }
    ++rounds.passed;
    Value* result = nullptr;
    const Round round = run_round(parts.body, activation, result);
    if (parts.collects && round == Round::next && result != nullptr)
        static_cast<ArrayValue*>(rounds.collected)->append(result);
    return round;
}

void start_collecting(const ForParts& parts, Value*& collected) {
    collected = parts.collects ? static_cast<Value*>(new ArrayValue) : &ok;
}

/// Keeps the error that a handler handles where getCurrentException and throw() find it.
class CaughtScope {
public:
    CaughtScope(ThreadState& state, CaughtError error) : m_state(state) {
        state.caught.push_back(std::move(error));
    }
    ~CaughtScope() { m_state.caught.pop_back(); }
    CaughtScope(const CaughtScope&) = delete;
    CaughtScope& operator=(const CaughtScope&) = delete;

private:
    ThreadState& m_state;
};

}  // namespace

Value* Block::eval(Activation& activation) const {
    for (std::size_t i = 0; i < m_local_count; ++i)
        activation.locals[m_first_local + i] = &undefined;
    Value* result = &ok;
    for (const Node* expression : m_expressions) {
        result = evaluate(expression, activation);
        if (result == nullptr) return nullptr;
    }
    return result;
}

Value* If::eval(Activation& activation) const {
    Value* condition = evaluate(m_condition, activation);
    if (condition == nullptr) return nullptr;
    activation.thread.place.line = line();
    if (condition_holds(condition, "if-test")) return evaluate(m_then, activation);
    return m_else != nullptr ? evaluate(m_else, activation) : &undefined;
}

Value* Case::eval(Activation& activation) const {
    Value*& subject = activation.temporaries[m_slot];
    subject = &true_value;
    if (m_subject != nullptr && (subject = evaluate(m_subject, activation)) == nullptr) return nullptr;
    const Node* chosen = nullptr;
    for (const Branch& branch : m_branches) {
        if (branch.label == nullptr) {
            chosen = branch.body;
            continue;
        }
        Value* label = evaluate(branch.label, activation);
        if (label == nullptr) return nullptr;
        if (values_equal(subject, label)) return evaluate(branch.body, activation);
    }
    return chosen != nullptr ? evaluate(chosen, activation) : &undefined;
}

Round run_round(const Node* body, Activation& activation, Value*& result) {
    count_step();
    Value* value = evaluate(body, activation);
    if (value != nullptr) {
        result = value;
        return Round::next;
    }
    if (activation.flow == Flow::return_function) return Round::unwind;
    const bool leaves = activation.flow == Flow::exit_loop;
    activation.flow = Flow::none;
    if (!leaves) return Round::next;
    result = activation.carried;
    return Round::leave;
}

Value* While::eval(Activation& activation) const {
    Value*& result = activation.temporaries[m_slot];
    result = &undefined;
    for (bool test = !m_body_first;; test = true) {
        if (test) {
            Value* condition = evaluate(m_condition, activation);
            if (condition == nullptr) return nullptr;
            activation.thread.place.line = m_condition->line();
            if (!condition_holds(condition, "while-test")) return result;
        }
        const Round round = run_round(m_body, activation, result);
        if (round == Round::unwind) return nullptr;
        if (round == Round::leave) return result;
    }
}

void ForRange::fail_on_step() const {
    raise_runtime_error("the step of a for loop must not be 0");
}

Value* ForRange::run_integers(Activation& activation, std::int64_t from, std::int64_t last,
                              std::int64_t step) const {
    if (step == 0) fail_on_step();
    Rounds rounds{activation.temporaries[m_slot]};
    for (std::int64_t i = from; step > 0 ? i <= last : i >= last; i += step) {
        const Round round = run_for_round(m_parts, activation, make_integer(static_cast<int>(i)), rounds);
        if (round == Round::unwind) return nullptr;
        if (round == Round::leave) break;
    }
    return rounds.collected;
}

Value* ForRange::run_floats(Activation& activation, float from, float last, float step) const {
    if (step == 0.0F) fail_on_step();
    Rounds rounds{activation.temporaries[m_slot]};
    for (double round_number = 0;; ++round_number) {
        // Not a running sum, whose error would grow from round to round.
        const auto number =
            static_cast<float>(static_cast<double>(from) + round_number * static_cast<double>(step));
        const bool runs = step > 0 ? number <= last : number >= last;
        if (!runs) break;
        const Round round = run_for_round(m_parts, activation, make_float(number), rounds);
        if (round == Round::unwind) return nullptr;
        if (round == Round::leave) break;
    }
    return rounds.collected;
}

Value* ForRange::run_times(Activation& activation, Value* const* bounds) const {
    const std::int64_t last = to_ticks(bounds[1]);
    const std::int64_t step = to_ticks(bounds[2]);
    if (step == 0) fail_on_step();
    Rounds rounds{activation.temporaries[m_slot]};
    for (std::int64_t i = to_ticks(bounds[0]); step > 0 ? i <= last : i >= last; i += step) {
        const Round round =
            run_for_round(m_parts, activation, new TimeScriptValue(static_cast<int>(i)), rounds);
        if (round == Round::unwind) return nullptr;
        if (round == Round::leave) break;
    }
    return rounds.collected;
}

Value* ForRange::eval(Activation& activation) const {
    Value** slots = activation.temporaries + m_slot;
    Value** bounds = slots + 1;
    bounds[2] = make_integer(1);
    if ((bounds[0] = evaluate(m_from, activation)) == nullptr) return nullptr;
    if ((bounds[1] = evaluate(m_last, activation)) == nullptr) return nullptr;
    if (m_step != nullptr && (bounds[2] = evaluate(m_step, activation)) == nullptr) return nullptr;
    activation.thread.place.line = line();
    start_collecting(m_parts, slots[0]);
    for (int i = 0; i < 3; ++i)
        if (bounds[i]->is(Time_class)) return run_times(activation, bounds);
    if (bounds[0]->is(Integer_class) && bounds[2]->is(Integer_class))
        return run_integers(activation, to_integer(bounds[0]), to_integer(bounds[1]), to_integer(bounds[2]));
    return run_floats(activation, to_float(bounds[0]), to_float(bounds[1]), to_float(bounds[2]));
}

Value* ForIn::eval(Activation& activation) const {
    Value** slots = activation.temporaries + m_slot;
    if ((slots[1] = evaluate(m_collection, activation)) == nullptr) return nullptr;
    activation.thread.place.line = line();
    auto* collection = dynamic_cast<ScriptValue*>(slots[1]);
    if (collection == nullptr || !collection->is_collection())
        raise_type_error("for-loop requires a collection, got: " + excerpt(slots[1]));
    start_collecting(m_parts, slots[0]);
    Rounds rounds{slots[0]};
    for (std::size_t i = 0;; ++i) {
        Value* element = collection->collection_element(i);
        if (element == nullptr) break;
        const Round round = run_for_round(m_parts, activation, element, rounds);
        if (round == Round::unwind) return nullptr;
        if (round == Round::leave) break;
    }
    return slots[0];
}

Value* Leave::eval(Activation& activation) const {
    Value* carried = &undefined;
    if (m_carried != nullptr && (carried = evaluate(m_carried, activation)) == nullptr) return nullptr;
    activation.carried = carried;
    activation.flow = m_flow;
    return nullptr;
}

Value* Try::handle(Activation& activation, CaughtError error) const {
    const CaughtScope scope(activation.thread, std::move(error));
    return evaluate(m_handler, activation);
}

Value* Try::eval(Activation& activation) const {
    CaughtError caught;
    try {
        return evaluate(m_body, activation);
    } catch (const ScriptStopped&) {
        throw;
    } catch (MAXScriptException& error) {
        caught = {std::current_exception(), exception_text(error)};
    } catch (const std::bad_alloc&) {
        caught = {std::current_exception(), "-- Runtime error: Out of memory"};
    }
    return handle(activation, std::move(caught));
}

Value* FunctionDefinition::eval(Activation& activation) const {
    auto* function = new ScriptFunction(m_code, m_text.get());
    activation.temporaries[m_slot] = function;
    function->capture(activation);
    m_target->store(activation, function);
    return function;
}

Value* StructDefinitionNode::eval(Activation& activation) const {
    auto* definition = new StructDefinition(m_code, &m_text);
    activation.temporaries[m_slot] = definition;
    definition->make_functions(activation);
    m_target->store(activation, definition);
    return definition;
}

Value* Declaration::eval(Activation& activation) const {
    Value* result = &undefined;
    for (const Node* part : m_parts) {
        result = evaluate(part, activation);
        if (result == nullptr) return nullptr;
    }
    return result;
}

}  // namespace corrivane::host
