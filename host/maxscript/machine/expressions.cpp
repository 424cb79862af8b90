#include "maxscript/machine/expressions.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/structs.h"

#include <array>

namespace corrivane::host {

namespace {

StructInstance& instance_of(const Activation& activation) {
    auto* instance = activation.self == nullptr ? nullptr : value_as<StructInstance>(activation.self);
    if (instance == nullptr)
        raise_runtime_error("a member is used in a function that was called on no instance");
    return *instance;
}

Value* property_of(Value* object, const std::string& name) {
    if (name == "count" && object->is(String_class))
        return make_integer(static_cast<int>(static_cast<String*>(object)->size()));
    if (auto* value = dynamic_cast<ScriptValue*>(object))
        return call_host([&] { return value->get_property(name); });
    raise_unknown_property(name, object);
}

Value* character_of(Value* text, Value* index) {
    const std::size_t position = array_index(index);
    if (position >= static_cast<String*>(text)->size()) return &undefined;
    return make_string({text->to_string() + position, 1});
}

}  // namespace

bool condition_holds(Value* value, const char* test) {
    if (!value->is(Boolean_class))
        raise_type_error(std::string(test) + " requires " + Boolean_class.name + ", got: " + excerpt(value));
    return value == &true_value;
}

Value* Variable::load(Activation& activation) const {
    if (m_kind == Kind::local) return activation.locals[m_number];
    if (m_kind == Kind::captured) return static_cast<ScriptFunction*>(activation.owner)->captured(m_number);
    activation.thread.place.line = line();
    if (m_kind == Kind::global) return m_global->get();
    StructInstance& instance = instance_of(activation);
    return m_kind == Kind::self ? &instance : instance.member(m_number);
}

void Variable::store(Activation& activation, Value* content) const {
    activation.thread.place.line = line();
    switch (m_kind) {
        case Kind::local:
            activation.locals[m_number] = content;
            return;
        case Kind::global:
            m_global->set(content);
            return;
        case Kind::member:
            instance_of(activation).set_member(m_number, content);
            return;
        default:
            raise_runtime_error("this name cannot be assigned here");
    }
}

bool Property::locate(Activation& activation) const {
    return (activation.temporaries[m_slot] = evaluate(m_object, activation)) != nullptr;
}

Value* Property::load(Activation& activation) const {
    activation.thread.place.line = line();
    return property_of(activation.temporaries[m_slot], m_name);
}

void Property::store(Activation& activation, Value* content) const {
    activation.thread.place.line = line();
    Value* object = activation.temporaries[m_slot];
    auto* value = dynamic_cast<ScriptValue*>(object);
    if (value == nullptr) raise_unknown_property(m_name, object);
    call_host([&] { value->set_property(m_name, content); });
}

bool Element::locate(Activation& activation) const {
    Value** slots = activation.temporaries + m_slot;
    return (slots[0] = evaluate(m_object, activation)) != nullptr &&
           (slots[1] = evaluate(m_index, activation)) != nullptr;
}

Value* Element::load(Activation& activation) const {
    activation.thread.place.line = line();
    Value** slots = activation.temporaries + m_slot;
    if (auto* array = value_as<ArrayValue>(slots[0])) return array->get_element(slots[1]);
    if (slots[0]->is(String_class)) return character_of(slots[0], slots[1]);
    auto* value = dynamic_cast<ScriptValue*>(slots[0]);
    if (value == nullptr) raise_no_function("get", slots[0]);
    return call_host([&] { return value->get_element(slots[1]); });
}

void Element::store(Activation& activation, Value* content) const {
    activation.thread.place.line = line();
    Value** slots = activation.temporaries + m_slot;
    auto* value = dynamic_cast<ScriptValue*>(slots[0]);
    if (value == nullptr) raise_no_function("put", slots[0]);
    call_host([&] { value->set_element(slots[1], content); });
}

Value* Assignment::eval(Activation& activation) const {
    if (!m_target->locate(activation)) return nullptr;
    Value*& content = activation.temporaries[m_slot];
    if (!m_operation) {
        content = evaluate(m_content, activation);
        if (content == nullptr) return nullptr;
    } else {
        content = m_target->load(activation);
        Value* operand = evaluate(m_content, activation);
        if (operand == nullptr) return nullptr;
        activation.thread.place.line = line();
        content = apply(*m_operation, content, operand);
    }
    m_target->store(activation, content);
    return content;
}

Value* ArrayLiteral::eval(Activation& activation) const {
    auto* array = new ArrayValue;
    activation.temporaries[m_slot] = array;
    for (const Node* element : m_elements) {
        Value* value = evaluate(element, activation);
        if (value == nullptr) return nullptr;
        array->append(value);
    }
    return array;
}

Value* Chain::eval(Activation& activation) const {
    Value* result = evaluate(m_first, activation);
    if (result == nullptr) return nullptr;
    Value*& left = activation.temporaries[m_slot];
    for (const Link& link : m_links) {
        left = result;
        Value* right = evaluate(link.operand, activation);
        if (right == nullptr) return nullptr;
        activation.thread.place.line = link.operand->line();
        result = apply(link.operation, left, right);
    }
    return result;
}

Value* LogicalChain::eval(Activation& activation) const {
    Value* result = nullptr;
    for (const Node* operand : m_operands) {
        result = evaluate(operand, activation);
        if (result == nullptr) return nullptr;
        activation.thread.place.line = operand->line();
        if (condition_holds(result, m_stops_at ? "or" : "and") == m_stops_at) break;
    }
    return result;
}

Value* Not::eval(Activation& activation) const {
    Value* value = evaluate(m_operand, activation);
    if (value == nullptr) return nullptr;
    activation.thread.place.line = line();
    return make_boolean(!condition_holds(value, "not"));
}

Value* Negation::eval(Activation& activation) const {
    Value* value = evaluate(m_operand, activation);
    if (value == nullptr) return nullptr;
    activation.thread.place.line = line();
    return negate(value);
}

Value* Call::eval(Activation& activation) const {
    Value** slots = activation.temporaries + m_slot;
    if ((slots[0] = evaluate(m_callee, activation)) == nullptr) return nullptr;
    Value** values = slots + 1;
    for (const Node* argument : m_arguments)
        if ((*values++ = evaluate(argument, activation)) == nullptr) return nullptr;
    std::vector<KeywordArgument> keywords;
    for (const Keyword& keyword : m_keywords) {
        if ((*values = evaluate(keyword.value, activation)) == nullptr) return nullptr;
        keywords.push_back({&keyword.name, *values++});
    }
    activation.thread.place.line = line();
    Arguments arguments(m_name, slots + 1, m_arguments.size(), keywords.data(), keywords.size());
    return call_value(slots[0], arguments);
}

}  // namespace corrivane::host
