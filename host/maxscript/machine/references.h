#pragma once

#include "maxscript/machine/globals.h"
#include "maxscript/machine/structs.h"

#include <string>

namespace corrivane::host {

extern const ValueMetaClass Reference_class;

/// What `&variable` gives: `*reference` reads and assigns it.
class ReferenceValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Reference_class;

    /// To a content of its own: that of a local variable which others use too.
    explicit ReferenceValue(Value* content) : m_object(content) {}
    explicit ReferenceValue(Global& variable) : m_global(&variable) {}
    ReferenceValue(Value& object, std::string property) : m_object(&object), m_name(std::move(property)) {}
    ReferenceValue(Value& object, Value* index) : m_object(&object), m_index(index) {}
    ReferenceValue(StructInstance& instance, std::size_t member)
        : m_object(&instance), m_number(member), m_is_member(true) {}

    Value* get() const;
    void set(Value* content);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;

private:
    Global* m_global = nullptr;
    Value* m_object = nullptr;
    std::string m_name;
    Value* m_index = nullptr;
    std::size_t m_number = 0;
    bool m_is_member = false;
};

}  // namespace corrivane::host
