#pragma once

#include "maxscript/machine/define.h"
#include "maxscript/machine/script_value.h"
#include "maxscript/machine/values.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace corrivane::host {

/// A global variable: one of a script's, a constant of the host's, or one that is computed. Stays at its
/// address while the runtime runs, so that compiled code may point to it; what it holds is a root.
class Global {
public:
    explicit Global(std::string name) : m_name(std::move(name)) {}
    Global(const Global&) = delete;
    Global& operator=(const Global&) = delete;

    const std::string& name() const { return m_name; }
    Value* get() const { return m_get ? compute() : m_value; }
    /// A MAXScript error when it is read-only.
    void set(Value* content);
    /// Whether it has been defined or declared; otherwise nothing but a mention in forgotten code is left
    /// of it.
    bool known() const { return m_known; }

    /// Makes it a script's variable, if it is nothing yet or a name that the host does not have.
    void declare();
    bool is_read_only() const { return m_read_only; }
    bool is_computed() const { return static_cast<bool>(m_get); }
    void define_constant(Value* value);
    void define_variable(VariableGetter get, VariableSetter set);
    /// A name of 3ds Max: using or assigning it is an error, "this host has no <what>".
    void define_absent(const std::string& what);
    void forget();
    void trace() const { Collectable::gc_mark(m_value); }

private:
    Value* compute() const;

    std::string m_name;
    Value* m_value = &undefined;
    VariableGetter m_get;
    VariableSetter m_set;
    bool m_known = false;
    bool m_read_only = false;
    bool m_absent = false;
};

/// A global by its name in any case; made when there is none.
Global& global(const std::string& name);
/// Null when no global of this name is known.
Global* find_global(const std::string& lower_name);
/// Ends all globals, and collects what they held. No compiled code is run after that.
void end_globals();

/// Names below a name: `standin.fault`.
class NamespaceValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Namespace_class;

    explicit NamespaceValue(std::string name) : m_name(std::move(name)) {}

    /// A member by its name in any case; made when there is none.
    Global& member(const std::string& name);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;
    Value* get_property(const std::string& name) override;
    void set_property(const std::string& name, Value* content) override;

private:
    Global* find(const std::string& lower_name);

    std::string m_name;
    std::unordered_map<std::string, std::unique_ptr<Global>> m_members;
};

}  // namespace corrivane::host
