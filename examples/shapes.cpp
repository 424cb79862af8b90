#include "shapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using Imath::V2f;
using Imath::V3f;

constexpr float pi = std::numbers::pi_v<float>;

/// |cos|^e with the sign kept: what makes a superellipsoid out of a sphere.
float power(float value, float exponent) {
    return std::copysign(std::pow(std::abs(value), exponent), value);
}

/// From small differences, taken a little off the poles, where a sheet closes in one point.
V3f normal_at(const Sheet& sheet, float u, float v) {
    constexpr float step = 1e-3f;
    v = std::clamp(v, 2 * step, 1 - 2 * step);
    const V3f across = sheet(u + step, v) - sheet(u - step, v);
    const V3f down = sheet(u, v + step) - sheet(u, v - step);
    return down.cross(across).normalized();
}

V3f knot_point(int p, int q, float radius, float t) {
    const float angle = 2 * pi * t;
    const float r = radius * (1 + 0.42f * std::cos(static_cast<float>(q) * angle));
    return {r * std::cos(static_cast<float>(p) * angle),
            0.62f * radius * std::sin(static_cast<float>(q) * angle),
            r * std::sin(static_cast<float>(p) * angle)};
}

}  // namespace

Shape mesh_sheet(const Sheet& sheet, int columns, int rows, const V2f& tiles) {
    Shape shape;
    for (int row = 0; row <= rows; ++row) {
        for (int column = 0; column <= columns; ++column) {
            const float u = static_cast<float>(column) / static_cast<float>(columns);
            const float v = static_cast<float>(row) / static_cast<float>(rows);
            shape.positions.push_back(sheet(u, v));
            shape.normals.push_back(normal_at(sheet, u, v));
            shape.uvs.emplace_back(u * tiles.x, v * tiles.y);
        }
    }
    const auto stride = static_cast<std::uint32_t>(columns + 1);
    for (std::uint32_t row = 0; row < static_cast<std::uint32_t>(rows); ++row) {
        for (std::uint32_t column = 0; column + 1 < stride; ++column) {
            const std::uint32_t corner = row * stride + column;
            shape.triangles.push_back({corner, corner + stride, corner + 1});
            shape.triangles.push_back({corner + 1, corner + stride, corner + stride + 1});
        }
    }
    return shape;
}

Shape sphere(float radius) {
    return rounded_box({radius, radius, radius}, 1);
}

Shape rounded_box(const V3f& half_size, float exponent, int columns) {
    const auto sheet = [=](float u, float v) {
        const float around = 2 * pi * u;
        const float down = pi * v;
        const float ring = power(std::sin(down), exponent);
        return V3f(half_size.x * ring * power(std::sin(around), exponent),
                   half_size.y * power(std::cos(down), exponent),
                   half_size.z * ring * power(std::cos(around), exponent));
    };
    return mesh_sheet(sheet, columns, columns * 2 / 3);
}

Shape torus_knot(int p, int q, float radius, float tube) {
    const auto sheet = [=](float u, float v) {
        const V3f center = knot_point(p, q, radius, u);
        const V3f along =
            (knot_point(p, q, radius, u + 1e-3f) - knot_point(p, q, radius, u - 1e-3f)).normalized();
        const V3f side = along.cross(V3f(0, 1, 0)).normalized();
        const V3f up = side.cross(along);
        const float angle = -2 * pi * v;
        return center + (side * std::cos(angle) + up * std::sin(angle)) * tube;
    };
    return mesh_sheet(sheet, 360, 28);
}

Shape turned(const std::vector<V2f>& profile, const V2f& tiles) {
    const auto sheet = [&](float u, float v) {
        const float at = std::clamp(v, 0.0f, 1.0f) * static_cast<float>(profile.size() - 1);
        const auto index = std::min(static_cast<std::size_t>(at), profile.size() - 2);
        const V2f point =
            profile[index] + (profile[index + 1] - profile[index]) * (at - static_cast<float>(index));
        return V3f(point.x * std::sin(2 * pi * u), point.y, point.x * std::cos(2 * pi * u));
    };
    return mesh_sheet(sheet, 128, static_cast<int>(profile.size() - 1) * 4, tiles);
}

Shape backdrop(float width, float depth, float height) {
    const float bend = height * 0.6f;
    const auto sheet = [=](float u, float v) {
        const float x = (u - 0.5f) * width;
        if (v > 0.5f) return V3f(x, 0, -bend + (2 * v - 1) * (depth + bend));
        const float angle = pi / 2 * std::max(2 * v, 0.0f);
        return V3f(x, height * (1 - std::sin(angle)), -bend - bend * std::cos(angle));
    };
    return mesh_sheet(sheet, 8, 64);
}
