#include "maxscript/machine/times.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/operators.h"
#include "maxscript/machine/scene_access.h"
#include "maxscript/machine/time_text.h"

#include <max/maxscript/streams.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

namespace corrivane::host {

const ValueMetaClass Time_class{"Time"};
const ValueMetaClass Interval_class{"Interval"};

namespace {

constexpr int ticks_per_second = 4800;
constexpr int default_ticks_per_frame = ticks_per_second / 30;

double frames_of(int ticks) {
    return static_cast<double>(ticks) / ticks_per_frame();
}

std::string time_text(int ticks) {
    char text[32];
    std::snprintf(text, sizeof text, "%gf", frames_of(ticks));
    return text;
}

TimeScriptValue* time_of_frames(double frames) {
    return new TimeScriptValue(checked_ticks(frames * ticks_per_frame()));
}

bool read_part(std::string_view text, double& number) {
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    return !text.empty() && error == std::errc() && end == last;
}

/// `minutes:seconds.frames`.
bool read_clock(std::string_view text, std::size_t colon, double& seconds, double& frames) {
    const std::size_t point = text.find('.', colon);
    double minutes = 0;
    if (!read_part(text.substr(0, colon), minutes)) return false;
    if (!read_part(text.substr(colon + 1, point - colon - 1), seconds)) return false;
    seconds += 60 * minutes;
    return point == std::string_view::npos || read_part(text.substr(point + 1), frames);
}

}  // namespace

bool read_time(std::string_view text, double& seconds, double& frames, std::int64_t& ticks) {
    seconds = frames = 0;
    ticks = 0;
    const std::size_t colon = text.find(':');
    if (colon != std::string_view::npos) return read_clock(text, colon, seconds, frames);
    while (!text.empty()) {
        const std::size_t unit = text.find_first_not_of("0123456789.");
        double amount = 0;
        if (unit == std::string_view::npos || !read_part(text.substr(0, unit), amount)) return false;
        switch (text[unit]) {
            case 'm':
                seconds += 60 * amount;
                break;
            case 's':
                seconds += amount;
                break;
            case 'f':
                frames += amount;
                break;
            case 't':
                if (amount > std::numeric_limits<int>::max()) return false;
                ticks += static_cast<std::int64_t>(amount);
                break;
            default:
                return false;
        }
        text.remove_prefix(unit + 1);
    }
    return true;
}

int ticks_per_frame() {
    SceneAccess* scene = find_scene_access();
    return scene != nullptr ? scene->ticks_per_frame() : default_ticks_per_frame;
}

int script_time() {
    const std::optional<int>& context = thread_state().context.time;
    return context ? *context : scene_access().slider_time();
}

int checked_ticks(double ticks) {
    const double rounded = std::round(ticks);
    // Not a number fails both comparisons.
    if (!(rounded >= std::numeric_limits<int>::min() && rounded <= std::numeric_limits<int>::max()))
        raise_runtime_error("Time out of range");
    return static_cast<int>(rounded);
}

int to_ticks(Value* value) {
    if (const auto* time = value_as<TimeScriptValue>(value)) return time->ticks();
    if (!is_number(value)) raise_conversion_error(value, Time_class.name);
    return checked_ticks(to_double(value) * ticks_per_frame());
}

Value* text_as_time(const std::string& text) {
    double seconds = 0;
    double frames = 0;
    std::int64_t ticks = 0;
    if (read_part(text, frames)) return time_of_frames(frames);
    if (text.empty() || !read_time(lower_case(text), seconds, frames, ticks)) return &undefined;
    return new TimeScriptValue(
        checked_ticks(seconds * ticks_per_second + frames * ticks_per_frame() + static_cast<double>(ticks)));
}

const PropertyTable<TimeScriptValue>& TimeScriptValue::properties() {
    using T = TimeScriptValue;
    static const PropertyTable<T> table{
        read_only("frame", [](T& time) { return static_cast<float>(frames_of(time.m_ticks)); }),
        read_only("ticks", [](T& time) { return time.m_ticks; }),
    };
    return table;
}

void TimeScriptValue::sprin1(CharStream* stream) {
    stream->puts(time_text(m_ticks).c_str());
}

Value* TimeScriptValue::operate(Operator operation, Value* other, bool reversed) {
    if (!is_number(other) && !other->is(Time_class)) return nullptr;
    const double own = frames_of(m_ticks);
    const double others = frames_of(to_ticks(other));
    const Rooted left(make_double(reversed ? others : own));
    const Rooted right(make_double(reversed ? own : others));
    Value* result = apply(operation, left.get(), right.get());
    return result->is(Double_class) ? time_of_frames(to_double(result)) : result;
}

Value* TimeScriptValue::converted(const ValueMetaClass& wanted) {
    if (&wanted == &Integer_class) return make_integer(m_ticks);
    if (&wanted == &Float_class) return make_float(static_cast<float>(m_ticks));
    if (&wanted == &Integer64_class) return make_integer64(m_ticks);
    if (&wanted == &Double_class) return make_double(m_ticks);
    return nullptr;
}

bool TimeScriptValue::equals(Value* other) {
    if (is_number(other)) return frames_of(m_ticks) == to_double(other);
    const auto* time = value_as<TimeScriptValue>(other);
    return time != nullptr && time->m_ticks == m_ticks;
}

const PropertyTable<IntervalScriptValue>& IntervalScriptValue::properties() {
    using I = IntervalScriptValue;
    static const PropertyTable<I> table{
        property(
            "start", [](I& interval) { return Ticks{interval.m_start}; },
            [](I& interval, Ticks time) { interval.m_start = time.ticks; }),
        property(
            "end", [](I& interval) { return Ticks{interval.m_end}; },
            [](I& interval, Ticks time) { interval.m_end = time.ticks; }),
    };
    return table;
}

void IntervalScriptValue::sprin1(CharStream* stream) {
    stream->puts(("(interval " + time_text(m_start) + " " + time_text(m_end) + ")").c_str());
}

bool IntervalScriptValue::equals(Value* other) {
    const auto* interval = value_as<IntervalScriptValue>(other);
    return interval != nullptr && interval->m_start == m_start && interval->m_end == m_end;
}

}  // namespace corrivane::host
