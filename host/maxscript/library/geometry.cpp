#include "maxscript/machine/geometry.h"

#include "maxscript/library/library.h"
#include "maxscript/machine/bit_array.h"
#include "maxscript/machine/times.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace corrivane::host {

namespace {

using Imath::M44f;
using Imath::Quatf;
using Imath::V2f;
using Imath::V3f;

constexpr float degrees = 180.0F / std::numbers::pi_v<float>;

M44f turned_about(int axis, float angle) {
    V3f direction(0.0F);
    direction[axis] = 1.0F;
    return M44f().setAxisAngle(direction, angle / degrees);
}

template <int Axis>
M44f rotation_matrix(float angle) {
    return turned_about(Axis, angle);
}

/// `rotateX matrix angle`: behind what the matrix does; with Before, in front of it. The matrix itself changes.
template <int Axis, bool Before>
Value* turn(Matrix3Value& matrix, float angle) {
    M44f& own = matrix.content();
    own = Before ? turned_about(Axis, angle) * own : own * turned_about(Axis, angle);
    return &matrix;
}

template <bool Before>
Value* combine(Matrix3Value& matrix, const M44f& other) {
    matrix.content() = Before ? other * matrix.content() : matrix.content() * other;
    return &matrix;
}

template <bool Before>
Value* move(Matrix3Value& matrix, const V3f& by) {
    return combine<Before>(matrix, M44f().setTranslation(by));
}

template <bool Before>
Value* turn_by(Matrix3Value& matrix, const Quatf& rotation) {
    return combine<Before>(matrix, rotation.toMatrix44());
}

template <bool Before>
Value* stretch(Matrix3Value& matrix, const V3f& by) {
    return combine<Before>(matrix, M44f().setScale(by));
}

M44f moving_matrix(const V3f& by) {
    return M44f().setTranslation(by);
}

M44f scaling_matrix(const V3f& by) {
    return M44f().setScale(by);
}

Value* set_identity(Matrix3Value& matrix) {
    matrix.content().makeIdentity();
    return &matrix;
}

bool is_identity(const M44f& matrix) {
    return matrix == M44f();
}

M44f inverse_matrix(const M44f& matrix) {
    return matrix.determinant() == 0.0F ? M44f() : matrix.inverse();
}

M44f orthogonal(const M44f& matrix) {
    return placement({matrix[3][0], matrix[3][1], matrix[3][2]}, rotation_part(matrix), V3f(1.0F));
}

/// `matrix3 1`, or four rows.
M44f make_matrix(Value* first, const std::optional<V3f>& second, const std::optional<V3f>& third,
                 const std::optional<V3f>& fourth) {
    M44f matrix;
    if (!second) {
        if (to_integer(first) == 0) matrix *= M44f().setScale(0.0F);
        return matrix;
    }
    const V3f rows[] = {FromScript<V3f>::from(first), *second, third.value_or(V3f(0, 0, 1)),
                        fourth.value_or(V3f(0.0F))};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 3; ++j)
            matrix[i][j] = rows[i][j];
    return matrix;
}

/// `quat x y z w`, or an angle and its axis.
Quatf make_rotation(Value* first, Value* second, std::optional<float> z, std::optional<float> w) {
    if (!z) return rotation_of(AngleAxis{to_float(first), FromScript<V3f>::from(second)});
    return {w.value_or(0.0F), to_float(first), to_float(second), *z};
}

Quatf conjugate(const Quatf& rotation) {
    return ~rotation;
}

Quatf inverse_rotation(const Quatf& rotation) {
    return rotation.inverse();
}

Quatf normalized_rotation(const Quatf& rotation) {
    return rotation.normalized();
}

Quatf between(const Quatf& from, const Quatf& to, float share) {
    return Imath::slerpShortestArc(from, to, share);
}

Value* make_euler_angles(float x, float y, float z) {
    return new EulerAnglesValue({x, y, z});
}

Value* make_angle_axis(float angle, const V3f& axis) {
    return new AngleAxisValue({angle, axis});
}

Value* make_point4(float x, float y, float z, float w) {
    return new Point4Value({x, y, z, w});
}

Value* make_color(float red, float green, float blue, std::optional<float> alpha) {
    return new ColorValue({red, green, blue, alpha.value_or(255.0F)});
}

Value* make_box(const V3f& one, const V3f& other) {
    Box3 box;
    for (int i = 0; i < 3; ++i) {
        box.min[i] = std::min(one[i], other[i]);
        box.max[i] = std::max(one[i], other[i]);
    }
    return new Box3Value(box);
}

Value* make_interval(Ticks start, Ticks end) {
    return new IntervalScriptValue(start.ticks, end.ticks);
}

struct NamedColor {
    const char* name;
    V3f parts;
};

void define_named_values() {
    for (const auto& [name, parts] : std::initializer_list<NamedColor>{{"red", {255, 0, 0}},
                                                                       {"green", {0, 255, 0}},
                                                                       {"blue", {0, 0, 255}},
                                                                       {"white", {255, 255, 255}},
                                                                       {"black", {0, 0, 0}},
                                                                       {"gray", {128, 128, 128}},
                                                                       {"yellow", {255, 255, 0}},
                                                                       {"orange", {255, 128, 0}},
                                                                       {"brown", {128, 64, 0}}})
        define_constant(name, new ColorValue({parts.x, parts.y, parts.z, 255.0F}));
    for (int axis = 0; axis < 3; ++axis) {
        V3f direction(0.0F);
        direction[axis] = 1.0F;
        define_constant(std::string(1, "xyz"[axis]) + "_axis", new Point3Value(direction));
    }
}

}  // namespace

void define_geometry_functions() {
    define_class(Point2_class, {"point2", [](float x, float y) { return V2f(x, y); }});
    define_class(Point3_class, {"point3", [](float x, float y, float z) { return V3f(x, y, z); }});
    define_class(Point4_class, {"point4", make_point4});
    define_class(Color_class, {"color", make_color});
    define_class(Quat_class, {"quat", make_rotation});
    define_class(EulerAngles_class, {"eulerAngles", make_euler_angles});
    define_class(AngleAxis_class, {"angleAxis", make_angle_axis});
    define_class(Matrix3_class, {"matrix3", make_matrix});
    define_class(Box3_class, {"box3", make_box});
    define_class(Interval_class, {"interval", make_interval});
    define_constant(Time_class.name, new ClassValue(Time_class));
    define_constant(BitArray_class.name, new ClassValue(BitArray_class));
    define_functions({
        {"length", [](const V3f& point) { return point.length(); }},
        {"length", [](const V2f& point) { return point.length(); }},
        {"distance", [](const V3f& one, const V3f& other) { return (one - other).length(); }},
        {"distance", [](const V2f& one, const V2f& other) { return (one - other).length(); }},
        {"dot", [](const V3f& one, const V3f& other) { return one.dot(other); }},
        {"dot", [](const V2f& one, const V2f& other) { return one.dot(other); }},
        {"cross", [](const V3f& one, const V3f& other) { return one.cross(other); }},
        {"normalize", [](const V3f& point) { return point.normalized(); }},
        {"normalize", [](const V2f& point) { return point.normalized(); }},
        {"normalize", normalized_rotation},
        {"inverse", inverse_matrix},
        {"inverse", inverse_rotation},
        {"conjugate", conjugate},
        {"slerp", between},
        {"transpose", [](const M44f& matrix) { return matrix.transposed(); }},
        {"orthogonalize", orthogonal},
        {"identity", set_identity},
        {"isIdentity", is_identity},
        {"transMatrix", moving_matrix},
        {"scaleMatrix", scaling_matrix},
        {"rotateXMatrix", rotation_matrix<0>},
        {"rotateYMatrix", rotation_matrix<1>},
        {"rotateZMatrix", rotation_matrix<2>},
        {"rotateX", turn<0, false>},
        {"rotateY", turn<1, false>},
        {"rotateZ", turn<2, false>},
        {"preRotateX", turn<0, true>},
        {"preRotateY", turn<1, true>},
        {"preRotateZ", turn<2, true>},
        {"translate", move<false>},
        {"preTranslate", move<true>},
        {"preRotate", turn_by<true>},
        {"preScale", stretch<true>},
        {"eulerToQuat", [](EulerAnglesValue& angles) { return rotation_of(angles.content()); }},
        {"quatToEuler",
         [](const Quatf& rotation) -> Value* { return new EulerAnglesValue(euler_angles_of(rotation)); }},
    });
    define_named_values();
}

}  // namespace corrivane::host
