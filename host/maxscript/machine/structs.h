#pragma once

#include "maxscript/machine/functions.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace corrivane::host {

/// A structure as it is written. Members are data or functions; both are numbered in the order of
/// their mention.
struct StructText {
    struct Member {
        std::string name;
        /// For data: what gives its first value; null for undefined.
        const CodeUnit* first_value = nullptr;
        /// For a function: its text.
        const FunctionText* function = nullptr;
        bool is_private = false;
    };

    /// The number of a member, by its name in lower case.
    std::optional<std::size_t> find(const std::string& member) const;
    void add(Member member);

    std::string name;
    std::vector<Member> members;
    /// `on create do`: run on a new instance.
    std::vector<const FunctionText*> handlers;
    std::unordered_map<std::string, std::size_t> index;
};

class StructInstance;

/// A structure that a script defines: calling it makes an instance.
class StructDefinition final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = StructDefinition_class;

    /// `code` owns `text`.
    StructDefinition(CompiledCode* code, const StructText* text)
        : m_code(code), m_text(text), m_functions(text->members.size()) {}

    const StructText& text() const { return *m_text; }
    /// Makes the functions; this definition is rooted meanwhile.
    void make_functions(Activation& activation);
    ScriptFunction* function(std::size_t member) const { return m_functions[member]; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;
    /// A member function, which then runs on no instance.
    Value* get_property(const std::string& name) override;
    Value* call(Arguments& arguments) override;

private:
    std::vector<bool> fill(StructInstance& instance, const Arguments& arguments) const;

    CompiledCode* m_code;
    const StructText* m_text;
    /// One for each member; null for data.
    std::vector<ScriptFunction*> m_functions;
    /// One for each handler.
    std::vector<ScriptFunction*> m_handlers;
};

class StructInstance final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Struct_class;

    explicit StructInstance(StructDefinition* definition);

    StructDefinition& definition() const { return *m_definition; }
    /// A member by its number: a value, or for a function what can be called.
    Value* member(std::size_t number);
    /// Data only.
    void set_member(std::size_t number, Value* content);
    /// A member by its name, private or not.
    Value* own_member(const std::string& name);
    void set_own_member(const std::string& name, Value* content);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;
    Value* get_property(const std::string& name) override;
    void set_property(const std::string& name, Value* content) override;
    Value* copied() override;

private:
    std::size_t find(const std::string& name);
    std::size_t find_public(const std::string& name);

    StructDefinition* m_definition;
    /// One for each member; null for functions.
    std::vector<Value*> m_data;
    HeldBytes m_held;
    bool m_printing = false;
};

}  // namespace corrivane::host
