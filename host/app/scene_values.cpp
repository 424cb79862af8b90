#include "app/scene_values.h"

#include "maxscript/runtime.h"

#include <cstdio>

namespace corrivane::host {

namespace {

const ValueMetaClass time_class{"Time"};
const ValueMetaClass interval_class{"Interval"};
const ValueMetaClass point3_class{"Point3"};
const ValueMetaClass matrix3_class{"Matrix3"};
const ValueMetaClass node_class{"Node"};

std::string number_text(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", number);
    return text;
}

std::string time_text(TimeValue ticks, int ticks_per_frame) {
    return number_text(static_cast<double>(ticks) / ticks_per_frame) + "f";
}

std::string point_text(const Imath::V3f& point) {
    return "[" + number_text(point.x) + "," + number_text(point.y) + "," + number_text(point.z) + "]";
}

}  // namespace

std::string TimeScriptValue::text() const {
    return time_text(m_ticks, m_ticks_per_frame);
}

const ValueMetaClass& TimeScriptValue::value_class() const {
    return time_class;
}

void TimeScriptValue::sprin1(CharStream* stream) {
    stream->puts(text().c_str());
}

Value* TimeScriptValue::get_property(const std::string& name) {
    if (name == "frame") {
        return make_float(static_cast<float>(m_ticks) / static_cast<float>(m_ticks_per_frame));
    }
    if (name == "ticks") {
        return make_integer(m_ticks);
    }
    return ScriptValue::get_property(name);
}

bool TimeScriptValue::equals(Value* other) {
    const auto* time = dynamic_cast<const TimeScriptValue*>(other);
    return time != nullptr && time->m_ticks == m_ticks;
}

const ValueMetaClass& IntervalScriptValue::value_class() const {
    return interval_class;
}

void IntervalScriptValue::sprin1(CharStream* stream) {
    const std::string start = time_text(m_interval.Start(), m_ticks_per_frame);
    const std::string end = time_text(m_interval.End(), m_ticks_per_frame);
    stream->puts(("(interval " + start + " " + end + ")").c_str());
}

Value* IntervalScriptValue::get_property(const std::string& name) {
    if (name == "start") {
        return new TimeScriptValue(m_interval.Start(), m_ticks_per_frame);
    }
    if (name == "end") {
        return new TimeScriptValue(m_interval.End(), m_ticks_per_frame);
    }
    return ScriptValue::get_property(name);
}

bool IntervalScriptValue::equals(Value* other) {
    const auto* interval = dynamic_cast<const IntervalScriptValue*>(other);
    return interval != nullptr && interval->m_interval.Start() == m_interval.Start() &&
           interval->m_interval.End() == m_interval.End();
}

const ValueMetaClass& Point3ScriptValue::value_class() const {
    return point3_class;
}

void Point3ScriptValue::sprin1(CharStream* stream) {
    stream->puts(point_text(m_point).c_str());
}

Value* Point3ScriptValue::get_property(const std::string& name) {
    if (name == "x") {
        return make_float(m_point.x);
    }
    if (name == "y") {
        return make_float(m_point.y);
    }
    if (name == "z") {
        return make_float(m_point.z);
    }
    return ScriptValue::get_property(name);
}

bool Point3ScriptValue::equals(Value* other) {
    const auto* point = dynamic_cast<const Point3ScriptValue*>(other);
    return point != nullptr && point->m_point == m_point;
}

const ValueMetaClass& Matrix3ScriptValue::value_class() const {
    return matrix3_class;
}

Imath::V3f Matrix3ScriptValue::row(int index) const {
    return {m_matrix[index][0], m_matrix[index][1], m_matrix[index][2]};
}

void Matrix3ScriptValue::sprin1(CharStream* stream) {
    std::string text = "(matrix3";
    for (int index = 0; index < 4; ++index) {
        text += " " + point_text(row(index));
    }
    stream->puts((text + ")").c_str());
}

Value* Matrix3ScriptValue::get_property(const std::string& name) {
    if (name.size() == 4 && name.starts_with("row") && name[3] >= '1' && name[3] <= '4') {
        return new Point3ScriptValue(row(name[3] - '1'));
    }
    return ScriptValue::get_property(name);
}

bool Matrix3ScriptValue::equals(Value* other) {
    const auto* matrix = dynamic_cast<const Matrix3ScriptValue*>(other);
    return matrix != nullptr && matrix->m_matrix == m_matrix;
}

const ValueMetaClass& NodeScriptValue::value_class() const {
    return node_class;
}

Document& NodeScriptValue::document() const {
    Document& open = m_core.document();
    if (open.scene() != m_scene.lock()) {
        throw RuntimeError("Attempt to access deleted scene object");
    }
    return open;
}

std::string NodeScriptValue::name() const {
    return document().nodes().at(m_node)->GetName();
}

void NodeScriptValue::sprin1(CharStream* stream) {
    const bool deleted = m_core.document().scene() != m_scene.lock();
    stream->puts(deleted ? "<Deleted scene node>" : ("$" + name()).c_str());
}

Value* NodeScriptValue::get_property(const std::string& name) {
    if (name == "name") {
        return make_string(this->name());
    }
    if (name == "pos" || name == "position") {
        return new Point3ScriptValue(document().node_placement(m_node).translation());
    }
    if (name == "transform") {
        return new Matrix3ScriptValue(document().node_placement(m_node));
    }
    return ScriptValue::get_property(name);
}

bool NodeScriptValue::equals(Value* other) {
    const auto* node = dynamic_cast<const NodeScriptValue*>(other);
    return node != nullptr && node->m_node == m_node && node->m_scene.lock() == m_scene.lock();
}

}  // namespace corrivane::host
