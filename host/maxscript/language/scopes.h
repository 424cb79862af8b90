#pragma once

#include "maxscript/machine/expressions.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/structs.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace corrivane::host {

/// What the compiler knows while it compiles a structure: the members so far, and the variables that will
/// turn out to be members if one of that name is still to come.
struct StructScope {
    StructText* text;
    std::vector<std::pair<Variable*, std::string>> unsettled;
};

/// What a name means inside one function.
struct Binding {
    Variable::Kind kind = Variable::Kind::local;
    Global* global = nullptr;
    /// The number of the local or captured variable.
    std::size_t number = 0;
    /// Made by its first mention, not by a declaration.
    bool implicit = false;
    /// Others use the variable too.
    bool reference = false;
    /// The nodes that read and write a local variable.
    std::vector<Variable*> mentions{};
};

/// The names of one piece of code that has slots of its own, while it is compiled: a function, a member's
/// first value, or one expression of a script. Names are in lower case.
class UnitScope {
public:
    /// Makes the scope the innermost one; `innermost` is put back at the end.
    UnitScope(UnitScope*& innermost, CodeUnit& unit, FunctionText* function, StructScope* structure);
    ~UnitScope() { m_innermost = outer; }
    UnitScope(const UnitScope&) = delete;
    UnitScope& operator=(const UnitScope&) = delete;

    /// The innermost binding of a name; null when the unit has none.
    Binding* find(const std::string& name);
    /// A new variable in the innermost block.
    Binding& declare(const std::string& name, const ScriptPlace& place);
    /// The name means a global until the innermost block ends.
    void declare_global(const std::string& name, Global& variable);
    /// A variable that ends with undeclare, not with the block.
    std::size_t declare_loop_variable(const std::string& name, const ScriptPlace& place);
    void undeclare(const std::string& name, std::size_t local);

    /// Binds a name to a variable of the code around the function.
    void capture(const std::string& name, const Variable* source);

    /// Blocks in brackets, in which names that nobody knows are local.
    void open_block() { m_blocks.push_back({m_next_local, {}}); }
    /// The block's own locals: the first and how many.
    std::pair<std::size_t, std::size_t> close_block();
    bool in_block() const { return !m_blocks.empty(); }

    /// Temporaries are taken and given back like a stack.
    std::size_t take_temporaries(std::size_t count, const ScriptPlace& place);
    void give_back_temporaries(std::size_t count) { m_next_temporary -= count; }

    UnitScope* const outer;
    /// The function's text; null for other units.
    FunctionText* const function;
    /// The structure whose member the unit is; null for other units.
    StructScope* const structure;
    /// Loops around the code that is compiled.
    int loops = 0;

private:
    struct OpenBlock {
        std::size_t first_local;
        std::vector<std::string> names;
    };

    std::size_t take_local(const ScriptPlace& place);
    void bind(const std::string& name, const Binding& binding) { m_bindings[name].push_back(binding); }
    void unbind(const std::string& name);

    UnitScope*& m_innermost;
    CodeUnit& m_unit;
    std::unordered_map<std::string, std::vector<Binding>> m_bindings;
    std::vector<OpenBlock> m_blocks;
    std::size_t m_next_local = 0;
    std::size_t m_next_temporary = 0;
};

/// The temporaries of one node, for as long as the node's parts are compiled.
class Temporaries {
public:
    Temporaries(UnitScope& scope, std::size_t count, const ScriptPlace& place)
        : m_scope(scope), m_count(count), m_first(scope.take_temporaries(count, place)) {}
    ~Temporaries() { m_scope.give_back_temporaries(m_count); }
    Temporaries(const Temporaries&) = delete;
    Temporaries& operator=(const Temporaries&) = delete;

    std::size_t first() const { return m_first; }
    std::size_t count() const { return m_count; }
    /// One more, behind those that it has.
    void extend(const ScriptPlace& place) {
        m_scope.take_temporaries(1, place);
        ++m_count;
    }

private:
    UnitScope& m_scope;
    std::size_t m_count;
    std::size_t m_first;
};

}  // namespace corrivane::host
