#pragma once

#include "core/core.h"
#include "maxscript/machine/script_value.h"

#include <memory>
#include <string>

namespace corrivane::host {

/// A scene time: prints as frames, `25f` or `25.5f`. Properties: `frame` (a float) and `ticks`.
class TimeScriptValue final : public ScriptValue {
public:
    TimeScriptValue(TimeValue ticks, int ticks_per_frame)
        : m_ticks(ticks), m_ticks_per_frame(ticks_per_frame) {}

    TimeValue ticks() const { return m_ticks; }
    std::string text() const;

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    bool equals(Value* other) override;

private:
    TimeValue m_ticks;
    int m_ticks_per_frame;
};

/// A span of time: prints as `(interval 0f 100f)`. Properties: `start` and `end`.
class IntervalScriptValue final : public ScriptValue {
public:
    IntervalScriptValue(Interval interval, int ticks_per_frame)
        : m_interval(interval), m_ticks_per_frame(ticks_per_frame) {}

    Interval interval() const { return m_interval; }

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    bool equals(Value* other) override;

private:
    Interval m_interval;
    int m_ticks_per_frame;
};

/// Three numbers: prints as `[1,2.5,-3]`. Properties: `x`, `y` and `z`.
class Point3ScriptValue final : public ScriptValue {
public:
    explicit Point3ScriptValue(const Imath::V3f& point) : m_point(point) {}

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    bool equals(Value* other) override;

private:
    Imath::V3f m_point;
};

/// A placement: prints as `(matrix3 [..] [..] [..] [..])`. Properties: `row1` to `row4`; the last one is
/// the position.
class Matrix3ScriptValue final : public ScriptValue {
public:
    explicit Matrix3ScriptValue(const Imath::M44f& matrix) : m_matrix(matrix) {}

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    bool equals(Value* other) override;

private:
    Imath::V3f row(int index) const;

    Imath::M44f m_matrix;
};

/// A node of the open scene: prints as `$name`. Properties: `name`; at the current time `pos` (also
/// `position`) and `transform`. Using it after its scene was closed is a MAXScript error.
class NodeScriptValue final : public ScriptValue {
public:
    /// `node` is an index of the open scene's.
    NodeScriptValue(Core& core, int node) : m_core(core), m_scene(core.document().scene()), m_node(node) {}

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    Value* get_property(const std::string& name) override;
    bool equals(Value* other) override;

private:
    /// Throws unless the node's scene is still the open one.
    Document& document() const;
    std::string name() const;

    Core& m_core;
    std::weak_ptr<const Scene> m_scene;
    int m_node;
};

}  // namespace corrivane::host
