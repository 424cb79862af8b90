#pragma once

#include <max/maxscript/value.h>

#include <cstddef>
#include <string>

namespace corrivane::host {

class Arguments;
enum class Operator;

/// A value of the host's own: what scripts can do with it is what its class overrides. Everything that is
/// not overridden is a MAXScript error that names the value. Names arrive in lower case, since MAXScript
/// ignores case.
///
/// Objects are made with `new` on the MAXScript heap. A constructor must not make another heap object, and an
/// object that refers to other values marks them in gc_trace.
class ScriptValue : public Value {
public:
    /// `value.name`.
    virtual Value* get_property(const std::string& name);
    /// `value.name = content`.
    virtual void set_property(const std::string& name, Value* content);
    /// `value[index]`.
    virtual Value* get_element(Value* index);
    /// `value[index] = content`.
    virtual void set_element(Value* index, Value* content);
    /// `value argument argument keyword:argument`.
    virtual Value* call(Arguments& arguments);
    /// What classOf gives, where that is not the class that functions ask for.
    virtual const ValueMetaClass& shown_class() const { return value_class(); }
    /// `value operation other`, or with `reversed` `other operation value`; null where there is no such operation.
    virtual Value* operate(Operator operation, Value* other, bool reversed);
    /// `-value`; null where there is no such operation.
    virtual Value* negated() { return nullptr; }
    /// `value as wanted`; null where that is not possible. Texts are made of the printed form without this.
    virtual Value* converted(const ValueMetaClass& wanted);
    /// What `for … in` and mapped functions go through, counted from 0; null behind the last one.
    virtual Value* collection_element(std::size_t index);
    /// Whether an owner that hands it out wants it back when it has been changed: a position, a colour.
    virtual bool is_part() const { return false; }
    virtual bool is_collection() const { return false; }
    /// What `copy value` gives: a value of its own, or the same where it cannot be changed.
    virtual Value* copied() { return this; }
    /// `value == other`; the same object unless overridden.
    virtual bool equals(Value* other) { return this == other; }

protected:
    ~ScriptValue() override = default;
};

/// Says of a value that it is being printed, so that one that holds itself ends.
class PrintingScope {
public:
    explicit PrintingScope(bool& printing) : m_printing(printing) { m_printing = true; }
    ~PrintingScope() { m_printing = false; }
    PrintingScope(const PrintingScope&) = delete;
    PrintingScope& operator=(const PrintingScope&) = delete;

private:
    bool& m_printing;
};

}  // namespace corrivane::host
