#pragma once

#include <ImathVec.h>

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

/// Triangles with smooth normals and texture coordinates; counter-clockwise from outside.
struct Shape {
    std::vector<Imath::V3f> positions;
    std::vector<Imath::V3f> normals;
    std::vector<Imath::V2f> uvs;
    std::vector<std::array<std::uint32_t, 3>> triangles;
};

/// A curved sheet: a point for each u and v from 0 to 1. Seen from outside, u runs to the right and v down.
using Sheet = std::function<Imath::V3f(float u, float v)>;

/// The sheet as a grid of quads, its texture repeated `tiles` times in each direction.
Shape mesh_sheet(const Sheet& sheet, int columns, int rows, const Imath::V2f& tiles = {1, 1});

Shape sphere(float radius);
/// A box with rounded edges: a superellipsoid. `exponent` 1 is a sphere, small values come close to a box.
Shape rounded_box(const Imath::V3f& half_size, float exponent, int columns = 96);
/// A tube around the (p, q) torus knot.
Shape torus_knot(int p, int q, float radius, float tube);
/// What a profile of (radius, height) points, from top to bottom, sweeps out around the y axis.
Shape turned(const std::vector<Imath::V2f>& profile, const Imath::V2f& tiles = {1, 1});
/// A floor that curves up into a wall behind it: the photographer's backdrop.
Shape backdrop(float width, float depth, float height);
