#pragma once

#include "maxscript/machine/properties.h"
#include "maxscript/machine/values.h"

#include <string>

namespace corrivane::host {

extern const ValueMetaClass Time_class;
extern const ValueMetaClass Interval_class;

/// A scene time, in ticks of 4800 a second: prints as frames, `25f` or `25.5f`. Where times and numbers are mixed,
/// a number is one of frames.
class TimeScriptValue final : public TabledValue<TimeScriptValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Time_class;
    static const PropertyTable<TimeScriptValue>& properties();

    explicit TimeScriptValue(int ticks) : m_ticks(ticks) {}

    int ticks() const { return m_ticks; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    Value* operate(Operator operation, Value* other, bool reversed) override;
    Value* negated() override { return new TimeScriptValue(-m_ticks); }
    /// Numbers are of ticks.
    Value* converted(const ValueMetaClass& wanted) override;
    bool equals(Value* other) override;

private:
    int m_ticks;
};

/// A span of time: prints as `(interval 0f 100f)`.
class IntervalScriptValue final : public TabledValue<IntervalScriptValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Interval_class;
    static const PropertyTable<IntervalScriptValue>& properties();

    IntervalScriptValue(int start, int end) : m_start(start), m_end(end) {}

    int start() const { return m_start; }
    int end() const { return m_end; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    bool equals(Value* other) override;
    bool is_part() const override { return true; }

private:
    int m_start;
    int m_end;
};

/// Ticks of a frame: the scene's, or those of 30 frames a second where there is none.
int ticks_per_frame();

/// The time at which scripts see the scene: that of `at time`, or else the slider's.
int script_time();

/// The ticks of a time or of a number of frames; a MAXScript error for anything else, and for what is beyond a
/// time's range.
int to_ticks(Value* value);

/// Ticks that are given in parts, rounded; a MAXScript error for what is beyond a time's range.
int checked_ticks(double ticks);

/// `"10f" as time`; undefined for what is none.
Value* text_as_time(const std::string& text);

/// What a parameter takes, and a result gives, as a time.
struct Ticks {
    int ticks;
};
template <>
struct ToScript<Ticks> {
    static Value* value(Ticks time) { return new TimeScriptValue(time.ticks); }
};
template <>
struct FromScript<Ticks> {
    static bool accepts(Value* value) { return is_number(value) || value->is(Time_class); }
    static Ticks from(Value* value) { return {to_ticks(value)}; }
};

}  // namespace corrivane::host
