#include "maxscript/language/scopes.h"

#include "maxscript/machine/errors.h"

#include <algorithm>

namespace corrivane::host {

namespace {

// A unit's slots lie on the native stack. Written by hand, no function comes near this.
constexpr std::size_t most_slots = 4096;

}  // namespace

UnitScope::UnitScope(UnitScope*& innermost, CodeUnit& unit, FunctionText* function_text,
                     StructScope* struct_scope)
    : outer(innermost),
      function(function_text),
      structure(struct_scope),
      m_innermost(innermost),
      m_unit(unit) {
    innermost = this;
    if (outer != nullptr) open_block();
}

Binding* UnitScope::find(const std::string& name) {
    const auto found = m_bindings.find(name);
    return found == m_bindings.end() || found->second.empty() ? nullptr : &found->second.back();
}

std::size_t UnitScope::take_local(const ScriptPlace& place) {
    if (m_next_local == most_slots) raise_compile_error("too many local variables in one function", place);
    m_unit.local_count = std::max(m_unit.local_count, m_next_local + 1);
    return m_next_local++;
}

Binding& UnitScope::declare(const std::string& name, const ScriptPlace& place) {
    bind(name, {.number = take_local(place)});
    m_blocks.back().names.push_back(name);
    return m_bindings[name].back();
}

void UnitScope::declare_global(const std::string& name, Global& variable) {
    bind(name, {.kind = Variable::Kind::global, .global = &variable});
    m_blocks.back().names.push_back(name);
}

std::size_t UnitScope::declare_loop_variable(const std::string& name, const ScriptPlace& place) {
    const std::size_t local = take_local(place);
    bind(name, {.number = local});
    return local;
}

void UnitScope::undeclare(const std::string& name, std::size_t local) {
    std::vector<Binding>& bindings = m_bindings[name];
    std::erase_if(bindings, [&](const Binding& binding) {
        return binding.kind == Variable::Kind::local && binding.number == local;
    });
}

void UnitScope::capture(const std::string& name, const Variable* source) {
    const std::size_t number = function->captures.size();
    function->captures.push_back({source});
    // Known in the whole function, below what its blocks declare.
    std::vector<Binding>& bindings = m_bindings[name];
    bindings.insert(bindings.begin(), {.kind = Variable::Kind::captured, .number = number});
}

void UnitScope::unbind(const std::string& name) {
    m_bindings[name].pop_back();
}

std::pair<std::size_t, std::size_t> UnitScope::close_block() {
    const OpenBlock block = std::move(m_blocks.back());
    m_blocks.pop_back();
    std::for_each(block.names.rbegin(), block.names.rend(), [&](const std::string& name) { unbind(name); });
    const std::size_t count = m_next_local - block.first_local;
    m_next_local = block.first_local;
    return {block.first_local, count};
}

std::size_t UnitScope::take_temporaries(std::size_t count, const ScriptPlace& place) {
    if (m_next_temporary + count > most_slots)
        raise_compile_error("too many arguments, or expressions nested too deeply", place);
    const std::size_t first = m_next_temporary;
    m_next_temporary += count;
    m_unit.temporary_count = std::max(m_unit.temporary_count, m_next_temporary);
    return first;
}

}  // namespace corrivane::host
