#include "maxscript/machine/geometry.h"

#include "maxscript/machine/errors.h"
#include "maxscript/machine/operators.h"

#include <max/maxscript/streams.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>

namespace corrivane::host {

const ValueMetaClass Point2_class{"Point2"};
const ValueMetaClass Point3_class{"Point3"};
const ValueMetaClass Point4_class{"Point4"};
const ValueMetaClass Color_class{"Color"};
const ValueMetaClass Quat_class{"Quat"};
const ValueMetaClass EulerAngles_class{"EulerAngles"};
const ValueMetaClass AngleAxis_class{"AngleAxis"};
const ValueMetaClass Matrix3_class{"Matrix3"};
const ValueMetaClass Box3_class{"Box3"};

namespace {

constexpr float degrees = 180.0F / std::numbers::pi_v<float>;

std::string number_text(float number) {
    // A zero that came of a rotation has a sign that nobody means.
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%g", static_cast<double>(number == 0.0F ? 0.0F : number));
    return text.data();
}

template <typename Vector>
std::string joined(const Vector& vector, unsigned count, const char* separator) {
    std::string text;
    for (unsigned i = 0; i < count; ++i)
        text += (i == 0 ? "" : separator) + number_text(vector[static_cast<int>(i)]);
    return text;
}

template <typename Vector>
constexpr unsigned size_of = Vector::dimensions();

/// The result part by part; null for what is no arithmetic.
template <typename Vector>
std::optional<Vector> arithmetic(Operator operation, const Vector& left, const Vector& right) {
    Vector result = left;
    for (unsigned part = 0; part < size_of<Vector>; ++part) {
        const int i = static_cast<int>(part);
        switch (operation) {
            case Operator::add:
                result[i] = left[i] + right[i];
                break;
            case Operator::subtract:
                result[i] = left[i] - right[i];
                break;
            case Operator::multiply:
                result[i] = left[i] * right[i];
                break;
            case Operator::divide:
                if (right[i] == 0.0F) raise_runtime_error("Division by zero");
                result[i] = left[i] / right[i];
                break;
            default:
                return std::nullopt;
        }
    }
    return result;
}

Imath::V3f row(const Imath::M44f& matrix, int number) {
    return {matrix[number][0], matrix[number][1], matrix[number][2]};
}

void set_row(Imath::M44f& matrix, int number, const Imath::V3f& content) {
    for (int i = 0; i < 3; ++i)
        matrix[number][i] = content[i];
}

/// A property that is one of the parts of a vector.
template <typename Self>
Property<Self> part(const char* name, int index) {
    return property(
        name, [index](Self& self) { return self.content()[index]; },
        [index](Self& self, float number) { self.content()[index] = number; });
}

int element_index(Value* index, unsigned count) {
    const std::size_t number = array_index(index);
    if (number >= count) raise_runtime_error("index out of range: " + excerpt(index));
    return static_cast<int>(number);
}

/// Hue, saturation and value of a colour, 0 to 255.
Imath::V3f hsv_of(const Imath::V4f& color) {
    const float most = std::max({color.x, color.y, color.z});
    const float span = most - std::min({color.x, color.y, color.z});
    float sixth = 0;
    if (span > 0 && most == color.x) sixth = std::fmod((color.y - color.z) / span + 6, 6.0F);
    if (span > 0 && most != color.x)
        sixth = most == color.y ? (color.z - color.x) / span + 2 : (color.x - color.y) / span + 4;
    return {sixth * 255 / 6, most > 0 ? span / most * 255 : 0, most};
}

void set_hsv(Imath::V4f& color, const Imath::V3f& hsv) {
    const float sixth = hsv.x * 6 / 255;
    for (int i = 0; i < 3; ++i) {
        const float away =
            std::fmod(sixth + static_cast<float>(std::array{5, 3, 1}[static_cast<std::size_t>(i)]), 6.0F);
        const float share = std::max(0.0F, std::min({away, 4 - away, 1.0F}));
        color[i] = hsv.z - hsv.z * hsv.y / 255 * share;
    }
}

Property<ColorValue> hsv_part(const char* name, int index) {
    return property(
        name, [index](ColorValue& color) { return hsv_of(color.content())[index]; },
        [index](ColorValue& color, float number) {
            Imath::V3f hsv = hsv_of(color.content());
            hsv[index] = number;
            set_hsv(color.content(), hsv);
        });
}

AngleAxis turn_of(const Imath::Quatf& rotation) {
    const Imath::Quatf unit = rotation.normalized();
    const float length = unit.v.length();
    if (length < 1e-6F) return {};
    return {2 * std::atan2(length, unit.r) * degrees, unit.v / length};
}

}  // namespace

std::string point_text(const Imath::V3f& point) {
    return "[" + joined(point, 3, ",") + "]";
}

template <>
const PropertyTable<Point2Value>& Point2Value::properties() {
    static const PropertyTable<Point2Value> table{part<Point2Value>("x", 0), part<Point2Value>("y", 1)};
    return table;
}

template <>
const PropertyTable<Point3Value>& Point3Value::properties() {
    static const PropertyTable<Point3Value> table{part<Point3Value>("x", 0), part<Point3Value>("y", 1),
                                                  part<Point3Value>("z", 2)};
    return table;
}

template <>
const PropertyTable<Point4Value>& Point4Value::properties() {
    static const PropertyTable<Point4Value> table{part<Point4Value>("x", 0), part<Point4Value>("y", 1),
                                                  part<Point4Value>("z", 2), part<Point4Value>("w", 3)};
    return table;
}

template <>
const PropertyTable<ColorValue>& ColorValue::properties() {
    using C = ColorValue;
    static const PropertyTable<C> table{part<C>("r", 0),           part<C>("g", 1),     part<C>("b", 2),
                                        part<C>("a", 3),           part<C>("red", 0),   part<C>("green", 1),
                                        part<C>("blue", 2),        part<C>("alpha", 3), hsv_part("h", 0),
                                        hsv_part("s", 1),          hsv_part("v", 2),    hsv_part("hue", 0),
                                        hsv_part("saturation", 1), hsv_part("value", 2)};
    return table;
}

template <typename Vector, const ValueMetaClass& Class>
void VectorValue<Vector, Class>::sprin1(CharStream* stream) {
    const Vector& parts = this->content();
    if constexpr (&Class == &Color_class) {
        stream->puts(("(color " + joined(parts, parts[3] == 255.0F ? 3 : 4, " ") + ")").c_str());
    } else {
        stream->puts(("[" + joined(parts, size_of<Vector>, ",") + "]").c_str());
    }
}

template <typename Vector, const ValueMetaClass& Class>
Value* VectorValue<Vector, Class>::operate(Operator operation, Value* other, bool reversed) {
    if constexpr (&Class == &Point3_class) {
        if (operation == Operator::multiply && !reversed) {
            if (const auto* matrix = value_as<Matrix3Value>(other))
                return new VectorValue(this->content() * matrix->content());
            if (const auto* rotation = value_as<QuatValue>(other))
                return new VectorValue(this->content() * rotation->content().toMatrix44());
        }
    }
    Vector others;
    if (const auto* vector = value_as<VectorValue>(other)) {
        others = vector->content();
    } else if (is_number(other)) {
        others = Vector(to_float(other));
        // A number changes a colour, not how opaque it is.
        if (&Class == &Color_class)
            others[size_of<Vector> - 1] =
                operation == Operator::add || operation == Operator::subtract ? 0.0F : 1.0F;
    } else {
        return nullptr;
    }
    const Vector& own = this->content();
    std::optional<Vector> result =
        reversed ? arithmetic(operation, others, own) : arithmetic(operation, own, others);
    if (!result) return nullptr;
    if constexpr (&Class == &Color_class) {
        if (other->is(Color_class)) (*result)[3] = own[3];
    }
    return new VectorValue(*result);
}

template <typename Vector, const ValueMetaClass& Class>
Value* VectorValue<Vector, Class>::converted(const ValueMetaClass& wanted) {
    const Vector& parts = this->content();
    if (&wanted == &Point2_class) return new Point2Value({parts[0], parts[1]});
    if constexpr (size_of < Vector >> 2) {
        if (&wanted == &Point3_class) return new Point3Value({parts[0], parts[1], parts[2]});
        if (&wanted == &Color_class) return new ColorValue({parts[0], parts[1], parts[2], 255.0F});
        if (&wanted == &Point4_class) return new Point4Value({parts[0], parts[1], parts[2], 0.0F});
    }
    if constexpr (&Class == &Point3_class) {
        if (&wanted == &Matrix3_class) return new Matrix3Value(Imath::M44f().setTranslation(parts));
    }
    return nullptr;
}

template <typename Vector, const ValueMetaClass& Class>
Value* VectorValue<Vector, Class>::get_element(Value* index) {
    return make_float(this->content()[element_index(index, size_of<Vector>)]);
}

template <typename Vector, const ValueMetaClass& Class>
void VectorValue<Vector, Class>::set_element(Value* index, Value* content) {
    this->content()[element_index(index, size_of<Vector>)] = to_float(content);
}

template class VectorValue<Imath::V2f, Point2_class>;
template class VectorValue<Imath::V3f, Point3_class>;
template class VectorValue<Imath::V4f, Point4_class>;
template class VectorValue<Imath::V4f, Color_class>;

Imath::V3f FromScript<Imath::V3f>::from(Value* value) {
    if (const auto* color = value_as<ColorValue>(value))
        return {color->content().x, color->content().y, color->content().z};
    return FromScript<Point3Value&>::from(value).content();
}

Imath::Quatf rotation_of(const Imath::V3f& euler_angles) {
    return Imath::Eulerf(euler_angles / degrees).toQuat();
}

Imath::Quatf rotation_of(const AngleAxis& turn) {
    Imath::Quatf rotation;
    rotation.setAxisAngle(turn.axis, turn.angle / degrees);
    return rotation;
}

Imath::V3f euler_angles_of(const Imath::Quatf& rotation) {
    Imath::Eulerf angles;
    angles.extract(rotation.normalized().toMatrix44());
    return Imath::V3f(angles.x, angles.y, angles.z) * degrees;
}

Imath::V3f scale_part(const Imath::M44f& matrix) {
    Imath::V3f scale(row(matrix, 0).length(), row(matrix, 1).length(), row(matrix, 2).length());
    // A mirrored placement has a negative scale; a rotation cannot mirror.
    return row(matrix, 0).cross(row(matrix, 1)).dot(row(matrix, 2)) < 0 ? -scale : scale;
}

Imath::Quatf rotation_part(const Imath::M44f& matrix) {
    const Imath::V3f scale = scale_part(matrix);
    Imath::M44f axes;
    for (int i = 0; i < 3; ++i)
        if (scale[i] != 0.0F) set_row(axes, i, row(matrix, i) / scale[i]);
    return Imath::extractQuat(axes);
}

Imath::M44f placement(const Imath::V3f& position, const Imath::Quatf& rotation, const Imath::V3f& scale) {
    Imath::M44f matrix = rotation.toMatrix44();
    for (int i = 0; i < 3; ++i)
        set_row(matrix, i, row(matrix, i) * scale[i]);
    set_row(matrix, 3, position);
    return matrix;
}

bool FromScript<Imath::Quatf>::accepts(Value* value) {
    return value->is(Quat_class) || value->is(EulerAngles_class) || value->is(AngleAxis_class) ||
           value->is(Matrix3_class);
}

Imath::Quatf to_rotation(Value* value) {
    if (const auto* angles = value_as<EulerAnglesValue>(value)) return rotation_of(angles->content());
    if (const auto* turn = value_as<AngleAxisValue>(value)) return rotation_of(turn->content());
    if (const auto* matrix = value_as<Matrix3Value>(value)) return rotation_part(matrix->content());
    return FromScript<QuatValue&>::from(value).content();
}

namespace {

/// `as` among the kinds of rotation.
Value* rotation_as(const Imath::Quatf& rotation, const ValueMetaClass& wanted) {
    if (&wanted == &Quat_class) return new QuatValue(rotation);
    if (&wanted == &EulerAngles_class) return new EulerAnglesValue(euler_angles_of(rotation));
    if (&wanted == &AngleAxis_class) return new AngleAxisValue(turn_of(rotation));
    if (&wanted == &Matrix3_class) return new Matrix3Value(rotation.normalized().toMatrix44());
    return nullptr;
}

}  // namespace

const PropertyTable<QuatValue>& QuatValue::properties() {
    using Q = QuatValue;
    static const auto part_of_axis = [](const char* name, int index) {
        return property(
            name, [index](Q& self) { return self.content().v[index]; },
            [index](Q& self, float number) { self.content().v[index] = number; });
    };
    static const PropertyTable<Q> table{
        part_of_axis("x", 0),
        part_of_axis("y", 1),
        part_of_axis("z", 2),
        property(
            "w", [](Q& self) { return self.content().r; },
            [](Q& self, float number) { self.content().r = number; }),
        read_only("angle", [](Q& self) { return turn_of(self.content()).angle; }),
        read_only("axis", [](Q& self) { return turn_of(self.content()).axis; }),
    };
    return table;
}

void QuatValue::sprin1(CharStream* stream) {
    stream->puts(("(quat " + joined(content().v, 3, " ") + " " + number_text(content().r) + ")").c_str());
}

Value* QuatValue::operate(Operator operation, Value* other, bool reversed) {
    if (is_number(other) && operation == Operator::multiply)
        return new QuatValue(content() * to_float(other));
    if (!FromScript<Imath::Quatf>::accepts(other) || reversed) return nullptr;
    const Imath::Quatf others = to_rotation(other);
    switch (operation) {
        case Operator::add:
            return new QuatValue(content() + others);
        case Operator::subtract:
            return new QuatValue(content() - others);
        case Operator::multiply:
            // The left one turns first, as with matrices.
            return new QuatValue(others * content());
        case Operator::divide:
            return new QuatValue(others.inverse() * content());
        default:
            return nullptr;
    }
}

Value* QuatValue::converted(const ValueMetaClass& wanted) {
    return rotation_as(content(), wanted);
}

const PropertyTable<EulerAnglesValue>& EulerAnglesValue::properties() {
    using E = EulerAnglesValue;
    static const PropertyTable<E> table{part<E>("x", 0), part<E>("y", 1), part<E>("z", 2)};
    return table;
}

void EulerAnglesValue::sprin1(CharStream* stream) {
    stream->puts(("(eulerAngles " + joined(content(), 3, " ") + ")").c_str());
}

Value* EulerAnglesValue::converted(const ValueMetaClass& wanted) {
    return rotation_as(rotation_of(content()), wanted);
}

const PropertyTable<AngleAxisValue>& AngleAxisValue::properties() {
    using A = AngleAxisValue;
    static const PropertyTable<A> table{
        property(
            "angle", [](A& self) { return self.content().angle; },
            [](A& self, float number) { self.content().angle = number; }),
        property(
            "axis", [](A& self) { return self.content().axis; },
            [](A& self, const Imath::V3f& axis) { self.content().axis = axis; }),
    };
    return table;
}

void AngleAxisValue::sprin1(CharStream* stream) {
    stream->puts(
        ("(angleAxis " + number_text(content().angle) + " " + point_text(content().axis) + ")").c_str());
}

Value* AngleAxisValue::converted(const ValueMetaClass& wanted) {
    return rotation_as(rotation_of(content()), wanted);
}

const PropertyTable<Matrix3Value>& Matrix3Value::properties() {
    using M = Matrix3Value;
    static const auto row_property = [](const char* name, int number) {
        return property(
            name, [number](M& self) { return row(self.content(), number); },
            [number](M& self, const Imath::V3f& point) { set_row(self.content(), number, point); });
    };
    static const auto rotation = [](M& self) -> Value* {
        return new QuatValue(rotation_part(self.content()));
    };
    static const auto scale = [](M& self) { return scale_part(self.content()); };
    static const PropertyTable<M> table{
        row_property("row1", 0),
        row_property("row2", 1),
        row_property("row3", 2),
        row_property("row4", 3),
        row_property("translation", 3),
        row_property("translationPart", 3),
        row_property("position", 3),
        row_property("pos", 3),
        property("rotation", rotation,
                 [](M& self, const Imath::Quatf& turned) {
                     self.content() =
                         placement(row(self.content(), 3), turned.normalized(), scale_part(self.content()));
                 }),
        read_only("rotationPart", rotation),
        property("scale", scale,
                 [](M& self, const Imath::V3f& scaled) {
                     self.content() =
                         placement(row(self.content(), 3), rotation_part(self.content()), scaled);
                 }),
        read_only("scalePart", scale),
    };
    return table;
}

void Matrix3Value::sprin1(CharStream* stream) {
    std::string text = "(matrix3";
    for (int i = 0; i < 4; ++i)
        text += " " + point_text(row(content(), i));
    stream->puts((text + ")").c_str());
}

Value* Matrix3Value::operate(Operator operation, Value* other, bool reversed) {
    const auto* matrix = value_as<Matrix3Value>(other);
    if (matrix == nullptr || reversed) return nullptr;
    if (operation == Operator::multiply) return new Matrix3Value(content() * matrix->content());
    if (operation == Operator::add) return new Matrix3Value(content() + matrix->content());
    if (operation == Operator::subtract) return new Matrix3Value(content() - matrix->content());
    return nullptr;
}

Value* Matrix3Value::converted(const ValueMetaClass& wanted) {
    return rotation_as(rotation_part(content()), wanted);
}

Value* Matrix3Value::get_element(Value* index) {
    return new Point3Value(row(content(), element_index(index, 4)));
}

const PropertyTable<Box3Value>& Box3Value::properties() {
    using B = Box3Value;
    static const PropertyTable<B> table{
        read_only("min", [](B& self) { return self.content().min; }),
        read_only("max", [](B& self) { return self.content().max; }),
        read_only("center", [](B& self) { return (self.content().min + self.content().max) / 2.0F; }),
        read_only("size", [](B& self) { return self.content().max - self.content().min; }),
    };
    return table;
}

void Box3Value::sprin1(CharStream* stream) {
    stream->puts(("(Box3 " + point_text(content().min) + " " + point_text(content().max) + ")").c_str());
}

}  // namespace corrivane::host
