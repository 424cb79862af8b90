#include "maxscript/machine/expressions.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/references.h"
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

Value* character_of(Value* text, Value* index) {
    const std::size_t position = array_index(index);
    if (position >= static_cast<String*>(text)->size()) return &undefined;
    return make_string({text->to_string() + position, 1});
}

/// `node.pos.x = 5`: a part of a value that its owner keeps is assigned by way of the owner.
void write_back(const Node* owner, Activation& activation, Value* changed) {
    auto* value = dynamic_cast<ScriptValue*>(changed);
    if (value == nullptr || !value->is_part()) return;
    const auto* target = dynamic_cast<const Target*>(owner);
    if (target != nullptr && target->gives_copies()) target->store(activation, changed);
}

void set_character(String& text, Value* index, Value* content) {
    const std::size_t position = array_index(index);
    if (position >= text.size()) raise_runtime_error("string index out of range: " + excerpt(index));
    if (!content->is(String_class)) raise_conversion_error(content, String_class.name);
    text.replace(position, 1, to_text(content));
}

Value* property_of(Activation& activation, Value* object, const std::string& name) {
    if (auto* instance = value_as<StructInstance>(object)) {
        // Its own functions see what is private.
        if (activation.self == instance) return instance->own_member(name);
    }
    if (auto* value = dynamic_cast<ScriptValue*>(object))
        return call_host([&] { return value->get_property(name); });
    if (name == "count" && object->is(String_class))
        return make_integer(static_cast<int>(static_cast<String*>(object)->size()));
    raise_unknown_property(name, object);
}

void set_property_of(Activation& activation, Value* object, const std::string& name, Value* content) {
    auto* instance = value_as<StructInstance>(object);
    if (instance != nullptr && activation.self == instance) return instance->set_own_member(name, content);
    auto* value = dynamic_cast<ScriptValue*>(object);
    if (value == nullptr) raise_unknown_property(name, object);
    call_host([&] { value->set_property(name, content); });
}

Value* element_of(Value* object, Value* index) {
    if (auto* array = value_as<ArrayValue>(object)) return array->get_element(index);
    if (object->is(String_class)) return character_of(object, index);
    auto* value = dynamic_cast<ScriptValue*>(object);
    if (value == nullptr) raise_no_function("get", object);
    return call_host([&] { return value->get_element(index); });
}

void set_element_of(Value* object, Value* index, Value* content) {
    if (object->is(String_class)) return set_character(static_cast<String&>(*object), index, content);
    auto* value = dynamic_cast<ScriptValue*>(object);
    if (value == nullptr) raise_no_function("put", object);
    call_host([&] { value->set_element(index, content); });
}

ReferenceValue* captured_cell(const Activation& activation, std::size_t number) {
    return static_cast<ReferenceValue*>(static_cast<ScriptFunction*>(activation.owner)->captured(number));
}

}  // namespace

bool condition_holds(Value* value, const char* test) {
    if (!value->is(Boolean_class))
        raise_type_error(std::string(test) + " requires " + Boolean_class.name + ", got: " + excerpt(value));
    return value == &true_value;
}

Value* Variable::load(Activation& activation) const {
    if (m_kind == Kind::local) return activation.locals[m_number];
    if (m_kind == Kind::captured) return captured_cell(activation, m_number)->get();
    activation.thread.place.line = line();
    if (m_kind == Kind::global) return m_global->get();
    if (m_kind == Kind::reference) {
        auto* reference = value_as<ReferenceValue>(activation.locals[m_number]);
        return reference != nullptr ? reference->get() : activation.locals[m_number];
    }
    StructInstance& instance = instance_of(activation);
    return m_kind == Kind::self ? &instance : instance.member(m_number);
}

void Variable::store(Activation& activation, Value* content) const {
    activation.thread.place.line = line();
    switch (m_kind) {
        case Kind::local:
            activation.locals[m_number] = content;
            return;
        case Kind::reference:
            if (auto* reference = value_as<ReferenceValue>(activation.locals[m_number])) {
                reference->set(content);
            } else {
                activation.locals[m_number] = content;
            }
            return;
        case Kind::captured:
            captured_cell(activation, m_number)->set(content);
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

Value* Variable::make_reference(Activation& activation) const {
    switch (m_kind) {
        case Kind::global:
            return new ReferenceValue(*m_global);
        case Kind::captured:
            return captured_cell(activation, m_number);
        case Kind::local:
        case Kind::reference:
            if (value_as<ReferenceValue>(activation.locals[m_number]) == nullptr)
                activation.locals[m_number] = new ReferenceValue(activation.locals[m_number]);
            return activation.locals[m_number];
        case Kind::member:
            return new ReferenceValue(instance_of(activation), m_number);
        default:
            return new ReferenceValue(load(activation));
    }
}

bool PropertyAccess::locate(Activation& activation) const {
    return (activation.temporaries[m_slot] = evaluate(m_object, activation)) != nullptr;
}

Value* PropertyAccess::load(Activation& activation) const {
    activation.thread.place.line = line();
    return property_of(activation, activation.temporaries[m_slot], m_name);
}

void PropertyAccess::store(Activation& activation, Value* content) const {
    activation.thread.place.line = line();
    set_property_of(activation, activation.temporaries[m_slot], m_name, content);
    write_back(m_object, activation, activation.temporaries[m_slot]);
}

Value* PropertyAccess::make_reference(Activation& activation) const {
    return new ReferenceValue(*activation.temporaries[m_slot], m_name);
}

bool Element::locate(Activation& activation) const {
    Value** slots = activation.temporaries + m_slot;
    return (slots[0] = evaluate(m_object, activation)) != nullptr &&
           (slots[1] = evaluate(m_index, activation)) != nullptr;
}

Value* Element::load(Activation& activation) const {
    activation.thread.place.line = line();
    Value** slots = activation.temporaries + m_slot;
    return element_of(slots[0], slots[1]);
}

void Element::store(Activation& activation, Value* content) const {
    activation.thread.place.line = line();
    Value** slots = activation.temporaries + m_slot;
    set_element_of(slots[0], slots[1], content);
    write_back(m_object, activation, slots[0]);
}

Value* Element::make_reference(Activation& activation) const {
    Value** slots = activation.temporaries + m_slot;
    return new ReferenceValue(*slots[0], slots[1]);
}

Value* ReferenceValue::get() const {
    if (m_global != nullptr) return m_global->get();
    if (m_index != nullptr) return element_of(m_object, m_index);
    if (auto* instance = m_is_member ? value_as<StructInstance>(m_object) : nullptr)
        return instance->member(m_number);
    if (m_name.empty()) return m_object;
    auto* value = dynamic_cast<ScriptValue*>(m_object);
    if (value == nullptr) raise_unknown_property(m_name, m_object);
    return call_host([&] { return value->get_property(m_name); });
}

void ReferenceValue::set(Value* content) {
    if (m_global != nullptr) return m_global->set(content);
    if (m_index != nullptr) return set_element_of(m_object, m_index, content);
    if (m_is_member) return value_as<StructInstance>(m_object)->set_member(m_number, content);
    if (m_name.empty()) {
        m_object = content;
        return;
    }
    auto* value = dynamic_cast<ScriptValue*>(m_object);
    if (value == nullptr) raise_unknown_property(m_name, m_object);
    call_host([&] { value->set_property(m_name, content); });
}

void ReferenceValue::sprin1(CharStream* stream) {
    stream->puts("&");
    get()->sprin1(stream);
}

void ReferenceValue::gc_trace() {
    gc_mark(m_object);
    gc_mark(m_index);
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
