#include "maxscript/machine/structs.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"

#include <max/maxscript/streams.h>

namespace corrivane::host {

std::optional<std::size_t> StructText::find(const std::string& member) const {
    const auto found = index.find(member);
    if (found == index.end()) return std::nullopt;
    return found->second;
}

void StructText::add(Member member) {
    index.emplace(lower_case(member.name), members.size());
    members.push_back(std::move(member));
}

void StructDefinition::make_functions(Activation& activation) {
    for (std::size_t i = 0; i < m_functions.size(); ++i) {
        const FunctionText* text = m_text->members[i].function;
        if (text == nullptr) continue;
        m_functions[i] = new ScriptFunction(m_code, text);
        m_functions[i]->capture(activation);
    }
    for (const FunctionText* text : m_text->handlers) {
        m_handlers.push_back(new ScriptFunction(m_code, text));
        m_handlers.back()->capture(activation);
    }
}

void StructDefinition::sprin1(CharStream* stream) {
    std::string printed = "#Struct:" + m_text->name + "(";
    const char* separator = "\n  ";
    for (const StructText::Member& member : m_text->members) {
        printed += separator + member.name + (member.function != nullptr ? ":<fn>" : ":<data>");
        separator = ",\n  ";
    }
    stream->puts((printed + ")").c_str());
}

void StructDefinition::gc_trace() {
    gc_mark(m_code);
    for (ScriptFunction* function : m_functions)
        gc_mark(function);
    for (ScriptFunction* handler : m_handlers)
        gc_mark(handler);
}

Value* StructDefinition::get_property(const std::string& name) {
    const std::optional<std::size_t> found = m_text->find(name);
    if (!found || m_functions[*found] == nullptr) return ScriptValue::get_property(name);
    return m_functions[*found];
}

/// Stores the arguments, and says which members have been given.
std::vector<bool> StructDefinition::fill(StructInstance& instance, const Arguments& arguments) const {
    std::vector<bool> given(m_text->members.size());
    std::size_t position = 0;
    for (std::size_t i = 0; i < given.size() && position < arguments.count(); ++i) {
        if (m_functions[i] != nullptr) continue;
        instance.set_member(i, arguments[position++]);
        given[i] = true;
    }
    if (position < arguments.count())
        raise_argument_count(m_text->name, std::to_string(position) + " or less", arguments.count());
    for (std::size_t i = 0; i < arguments.keyword_count(); ++i) {
        const KeywordArgument& keyword = arguments.keywords()[i];
        const std::optional<std::size_t> member = m_text->find(*keyword.name);
        if (!member || m_functions[*member] != nullptr)
            raise_runtime_error(m_text->name + " has no member " + *keyword.name + ":");
        instance.set_member(*member, keyword.value);
        given[*member] = true;
    }
    return given;
}

Value* StructDefinition::call(Arguments& arguments) {
    count_step();
    auto* instance = new StructInstance(this);
    const Rooted root(instance);
    const std::vector<bool> given = fill(*instance, arguments);
    for (std::size_t i = 0; i < given.size(); ++i) {
        const CodeUnit* first_value = m_text->members[i].first_value;
        if (given[i] || first_value == nullptr) continue;
        instance->set_member(i, run_unit(*first_value, {this, instance}, [](Activation&) {}));
    }
    for (ScriptFunction* handler : m_handlers) {
        if (lower_case(handler->text().name) != "create") continue;
        Arguments none(handler->text().name, nullptr, 0, nullptr, 0);
        handler->call_on(instance, none);
    }
    return instance;
}

StructInstance::StructInstance(StructDefinition* definition) : m_definition(definition) {
    const std::vector<StructText::Member>& members = definition->text().members;
    m_held.update(members.size() * sizeof(Value*));
    m_data.reserve(members.size());
    for (const StructText::Member& member : members)
        m_data.push_back(member.function != nullptr ? nullptr : &undefined);
}

Value* StructInstance::member(std::size_t number) {
    ScriptFunction* function = m_definition->function(number);
    return function != nullptr ? new BoundFunction(function, this) : m_data[number];
}

void StructInstance::set_member(std::size_t number, Value* content) {
    if (m_definition->function(number) != nullptr)
        raise_runtime_error("a member function cannot be assigned: " +
                            m_definition->text().members[number].name);
    m_data[number] = content;
}

void StructInstance::sprin1(CharStream* stream) {
    stream->puts(("(" + m_definition->text().name).c_str());
    // A structure that holds itself is printed once.
    if (!m_printing) {
        check_stack(thread_state());
        const PrintingScope printing(m_printing);
        for (std::size_t i = 0; i < m_data.size(); ++i) {
            if (m_data[i] == nullptr) continue;
            stream->puts((" " + m_definition->text().members[i].name + ":").c_str());
            m_data[i]->sprin1(stream);
        }
    }
    stream->puts(")");
}

void StructInstance::gc_trace() {
    gc_mark(m_definition);
    for (Value* value : m_data)
        gc_mark(value);
}

std::size_t StructInstance::find(const std::string& name) {
    const std::optional<std::size_t> found = m_definition->text().find(name);
    if (!found) raise_unknown_property(name, this);
    return *found;
}

std::size_t StructInstance::find_public(const std::string& name) {
    const std::size_t number = find(name);
    if (m_definition->text().members[number].is_private)
        raise_runtime_error("the member " + name + " is private in " + m_definition->text().name);
    return number;
}

Value* StructInstance::own_member(const std::string& name) {
    return member(find(name));
}

void StructInstance::set_own_member(const std::string& name, Value* content) {
    set_member(find(name), content);
}

Value* StructInstance::get_property(const std::string& name) {
    return member(find_public(name));
}

void StructInstance::set_property(const std::string& name, Value* content) {
    set_member(find_public(name), content);
}

Value* StructInstance::copied() {
    auto* copy = new StructInstance(m_definition);
    copy->m_data = m_data;
    return copy;
}

}  // namespace corrivane::host
