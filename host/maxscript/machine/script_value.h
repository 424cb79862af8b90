#pragma once

#include <max/maxscript/value.h>

#include <string>

namespace corrivane::host {

class Arguments;

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
