#pragma once

#include "maxscript/machine/properties.h"
#include "maxscript/machine/values.h"

#include <ImathEuler.h>
#include <ImathMatrix.h>
#include <ImathMatrixAlgo.h>
#include <ImathQuat.h>
#include <ImathVec.h>

#include <string>

/// Points, colours, rotations and placements as values. Angles are in degrees; a point is a row, so that
/// `point * matrix` places it.
namespace corrivane::host {

extern const ValueMetaClass Point2_class;
extern const ValueMetaClass Point3_class;
extern const ValueMetaClass Point4_class;
extern const ValueMetaClass Color_class;
extern const ValueMetaClass Quat_class;
extern const ValueMetaClass EulerAngles_class;
extern const ValueMetaClass AngleAxis_class;
extern const ValueMetaClass Matrix3_class;
extern const ValueMetaClass Box3_class;

/// A value that holds one thing of C++ and is handed back to its owner when a part of it is assigned.
template <typename Self, typename Content, const ValueMetaClass& Class>
class GeometryValue : public TabledValue<Self> {
public:
    static constexpr const ValueMetaClass& metaclass = Class;

    explicit GeometryValue(const Content& content) : m_content(content) {}

    const Content& content() const { return m_content; }
    Content& content() { return m_content; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    bool is_part() const override { return true; }
    Value* copied() override { return new Self(m_content); }
    bool equals(Value* other) override {
        const auto* same = value_as<Self>(other);
        return same != nullptr && same->m_content == m_content;
    }

private:
    Content m_content;
};

/// `[x,y]`, `[x,y,z]`, `[x,y,z,w]`, and colours, whose parts are 0 to 255.
template <typename Vector, const ValueMetaClass& Class>
class VectorValue final : public GeometryValue<VectorValue<Vector, Class>, Vector, Class> {
public:
    using GeometryValue<VectorValue, Vector, Class>::GeometryValue;
    static const PropertyTable<VectorValue>& properties();

    void sprin1(CharStream* stream) override;
    Value* operate(Operator operation, Value* other, bool reversed) override;
    Value* negated() override { return new VectorValue(-this->content()); }
    Value* converted(const ValueMetaClass& wanted) override;
    Value* get_element(Value* index) override;
    void set_element(Value* index, Value* content) override;
};

using Point2Value = VectorValue<Imath::V2f, Point2_class>;
using Point3Value = VectorValue<Imath::V3f, Point3_class>;
using Point4Value = VectorValue<Imath::V4f, Point4_class>;
using ColorValue = VectorValue<Imath::V4f, Color_class>;

class QuatValue final : public GeometryValue<QuatValue, Imath::Quatf, Quat_class> {
public:
    using GeometryValue::GeometryValue;
    static const PropertyTable<QuatValue>& properties();

    void sprin1(CharStream* stream) override;
    Value* operate(Operator operation, Value* other, bool reversed) override;
    Value* negated() override { return new QuatValue(-content()); }
    Value* converted(const ValueMetaClass& wanted) override;
};

/// Rotations about x, y and z, in this order.
class EulerAnglesValue final : public GeometryValue<EulerAnglesValue, Imath::V3f, EulerAngles_class> {
public:
    using GeometryValue::GeometryValue;
    static const PropertyTable<EulerAnglesValue>& properties();

    void sprin1(CharStream* stream) override;
    Value* converted(const ValueMetaClass& wanted) override;
};

/// An angle, and the axis that it turns about.
struct AngleAxis {
    float angle = 0;
    Imath::V3f axis{0, 0, 1};
    bool operator==(const AngleAxis&) const = default;
};

class AngleAxisValue final : public GeometryValue<AngleAxisValue, AngleAxis, AngleAxis_class> {
public:
    using GeometryValue::GeometryValue;
    static const PropertyTable<AngleAxisValue>& properties();

    void sprin1(CharStream* stream) override;
    Value* converted(const ValueMetaClass& wanted) override;
};

/// Four rows of three: the axes and the position.
class Matrix3Value final : public GeometryValue<Matrix3Value, Imath::M44f, Matrix3_class> {
public:
    using GeometryValue::GeometryValue;
    static const PropertyTable<Matrix3Value>& properties();

    void sprin1(CharStream* stream) override;
    Value* operate(Operator operation, Value* other, bool reversed) override;
    Value* converted(const ValueMetaClass& wanted) override;
    Value* get_element(Value* index) override;
};

struct Box3 {
    Imath::V3f min{0, 0, 0};
    Imath::V3f max{0, 0, 0};
    bool operator==(const Box3&) const = default;
};

class Box3Value final : public GeometryValue<Box3Value, Box3, Box3_class> {
public:
    using GeometryValue::GeometryValue;
    static const PropertyTable<Box3Value>& properties();

    void sprin1(CharStream* stream) override;
};

/// `[1,2.5,-3]`.
std::string point_text(const Imath::V3f& point);

/// A rotation of any kind: a quaternion, angles, an angle about an axis, or a matrix's.
Imath::Quatf to_rotation(Value* value);
/// Angles in degrees of a rotation.
Imath::V3f euler_angles_of(const Imath::Quatf& rotation);
Imath::Quatf rotation_of(const Imath::V3f& euler_angles);
Imath::Quatf rotation_of(const AngleAxis& turn);
/// A matrix's rotation without its scale, and the scale.
Imath::Quatf rotation_part(const Imath::M44f& matrix);
Imath::V3f scale_part(const Imath::M44f& matrix);
/// The matrix that scales, then rotates, then moves.
Imath::M44f placement(const Imath::V3f& position, const Imath::Quatf& rotation, const Imath::V3f& scale);

template <>
struct ToScript<Imath::V2f> {
    static Value* value(const Imath::V2f& point) { return new Point2Value(point); }
};
template <>
struct ToScript<Imath::V3f> {
    static Value* value(const Imath::V3f& point) { return new Point3Value(point); }
};
template <>
struct ToScript<Imath::Quatf> {
    static Value* value(const Imath::Quatf& rotation) { return new QuatValue(rotation); }
};
template <>
struct ToScript<Imath::M44f> {
    static Value* value(const Imath::M44f& matrix) { return new Matrix3Value(matrix); }
};

/// What parameters take as a point, a colour, a rotation of any kind or a placement.
template <>
struct FromScript<Imath::V3f> {
    static bool accepts(Value* value) { return value->is(Point3_class) || value->is(Color_class); }
    static Imath::V3f from(Value* value);
};
template <>
struct FromScript<Imath::V2f> {
    static bool accepts(Value* value) { return value->is(Point2_class); }
    static Imath::V2f from(Value* value) { return FromScript<Point2Value&>::from(value).content(); }
};
template <>
struct FromScript<Imath::Quatf> {
    static bool accepts(Value* value);
    static Imath::Quatf from(Value* value) { return to_rotation(value); }
};
template <>
struct FromScript<Imath::M44f> {
    static bool accepts(Value* value) { return value->is(Matrix3_class); }
    static Imath::M44f from(Value* value) { return FromScript<Matrix3Value&>::from(value).content(); }
};

}  // namespace corrivane::host
