#include "maxscript/machine/globals.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/heap.h"
#include "maxscript/machine/rooted.h"

#include <max/maxscript/streams.h>

namespace corrivane::host {

namespace {

using GlobalTable = std::unordered_map<std::string, std::unique_ptr<Global>>;

GlobalTable& table();

void trace_globals() {
    for (const auto& [name, variable] : table())
        variable->trace();
}

GlobalTable& table() {
    // Never destroyed: a library withdraws its interfaces while the program ends.
    static auto* const globals = [] {
        add_root_tracer(trace_globals);
        return new GlobalTable;
    }();
    return *globals;
}

Global& find_or_make(GlobalTable& globals, const std::string& name) {
    std::unique_ptr<Global>& variable = globals[lower_case(name)];
    if (variable == nullptr) variable = std::make_unique<Global>(name);
    return *variable;
}

/// The variable that a name with or without a dot means.
Global& variable_of(const std::string& name) {
    const std::size_t dot = name.find('.');
    if (dot == std::string::npos) return global(name);
    Global& parent = global(name.substr(0, dot));
    if (value_as<NamespaceValue>(parent.get()) == nullptr)
        parent.define_constant(new NamespaceValue(parent.name()));
    return static_cast<NamespaceValue*>(parent.get())->member(name.substr(dot + 1));
}

}  // namespace

Value* Global::compute() const {
    return call_host(m_get);
}

void Global::set(Value* content) {
    if (m_set) return call_host([&] { m_set(content); });
    if (m_read_only) raise_runtime_error("Cannot assign to read-only variable: " + m_name);
    m_value = content;
    m_known = true;
}

void Global::define_constant(Value* value) {
    forget();
    m_value = value;
    m_known = m_read_only = true;
}

void Global::define_variable(VariableGetter get, VariableSetter set) {
    forget();
    m_get = std::move(get);
    m_set = std::move(set);
    m_known = true;
    m_read_only = !m_set;
}

void Global::define_absent(const std::string& what) {
    define_variable([what]() -> Value* { raise_absent(what); }, [what](Value*) { raise_absent(what); });
    m_absent = true;
}

void Global::declare() {
    if (m_absent) forget();
    m_known = true;
}

void Global::forget() {
    m_value = &undefined;
    m_get = nullptr;
    m_set = nullptr;
    m_known = m_read_only = m_absent = false;
}

Global& global(const std::string& name) {
    return find_or_make(table(), name);
}

Global* find_global(const std::string& lower_name) {
    const auto found = table().find(lower_name);
    return found != table().end() && found->second->known() ? found->second.get() : nullptr;
}

void end_globals() {
    for (const auto& [name, variable] : table())
        variable->forget();
    collect_garbage();
    table().clear();
}

Global& NamespaceValue::member(const std::string& name) {
    return find_or_make(m_members, name);
}

void NamespaceValue::sprin1(CharStream* stream) {
    stream->puts(("#Struct:" + m_name).c_str());
}

void NamespaceValue::gc_trace() {
    for (const auto& [name, variable] : m_members)
        variable->trace();
}

Global* NamespaceValue::find(const std::string& lower_name) {
    const auto found = m_members.find(lower_name);
    return found == m_members.end() ? nullptr : found->second.get();
}

Value* NamespaceValue::get_property(const std::string& name) {
    const Global* found = find(name);
    return found != nullptr ? found->get() : ScriptValue::get_property(name);
}

void NamespaceValue::set_property(const std::string& name, Value* content) {
    Global* found = find(name);
    if (found == nullptr) return ScriptValue::set_property(name, content);
    found->set(content);
}

void define_function(const std::string& name, HostFunction function) {
    const Rooted value(new PrimitiveFunction(name, std::move(function)));
    variable_of(name).define_constant(value.get());
}

void define_variable(const std::string& name, VariableGetter get, VariableSetter set) {
    variable_of(name).define_variable(std::move(get), std::move(set));
}

void define_absent(const std::string& name, const std::string& what) {
    variable_of(name).define_absent(what + ": " + name);
}

void define_constant(const std::string& name, Value* value) {
    const Rooted root(value);
    variable_of(name).define_constant(value);
}

}  // namespace corrivane::host
