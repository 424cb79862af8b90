#include "gltf_builder.h"
#include "paint.h"
#include "shapes.h"

#include <ImathMatrixAlgo.h>
#include <ImathQuat.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>

// Makes the scene that the README and the demonstration render: a carousel of toys in a photographer's
// studio, two seconds long, that plays in a loop.

namespace {

using Imath::C3f;
using Imath::Quatf;
using Imath::V2f;
using Imath::V3f;
using Json = nlohmann::json;

constexpr float pi = std::numbers::pi_v<float>;
constexpr float seconds = 2;  // 48 frames at 24 frames a second

Json json_of(const V3f& v) {
    return {v.x, v.y, v.z};
}
Json json_of(const Quatf& q) {
    return {q.v.x, q.v.y, q.v.z, q.r};
}

Quatf turn(const V3f& axis, float angle) {
    Quatf q;
    q.setAxisAngle(axis, angle);
    return q;
}

/// The rotation of a camera or light at `eye` that looks at `target`.
Quatf look_at(const V3f& eye, const V3f& target) {
    const V3f back = (eye - target).normalized();
    const V3f right = V3f(0, 1, 0).cross(back).normalized();
    const V3f up = back.cross(right);
    const Imath::M44f matrix(right.x, right.y, right.z, 0, up.x, up.y, up.z, 0, back.x, back.y, back.z, 0, 0,
                             0, 0, 1);
    return Imath::extractQuat(matrix);
}

/// Turns the node evenly about an axis, a whole number of times, in quarters so that each goes the short way.
void spin(GltfBuilder& gltf, int node, const V3f& axis, int turns) {
    std::vector<float> times;
    std::vector<float> values;
    const int keys = 4 * std::abs(turns);
    for (int i = 0; i <= keys; ++i) {
        times.push_back(seconds * static_cast<float>(i) / static_cast<float>(keys));
        const Quatf q = turn(axis, std::copysign(pi / 2, static_cast<float>(turns)) * static_cast<float>(i));
        values.insert(values.end(), {q.v.x, q.v.y, q.v.z, q.r});
    }
    gltf.animate(node, "rotation", "LINEAR", times, values);
}

/// Two hops: glTF's cubic spline with the speeds of a ball that is thrown, squashed where it lands.
void bounce(GltfBuilder& gltf, int node, const V3f& floor, float height) {
    const float speed = 8 * height / seconds;  // of a parabola that is `height` high and lasts half the loop
    std::vector<float> times;
    std::vector<float> places;
    for (int i = 0; i <= 4; ++i) {
        times.push_back(seconds * static_cast<float>(i) / 4);
        const bool landed = i % 2 == 0;
        const float y = floor.y + (landed ? 0 : height);
        const float rise = landed ? speed : 0;
        places.insert(places.end(), {0, -rise, 0, floor.x, y, floor.z, 0, rise, 0});
    }
    gltf.animate(node, "translation", "CUBICSPLINE", times, places);
    const float squash = 0.06f;
    gltf.animate(
        node, "scale", "LINEAR", {0, squash, 1 - squash, 1, 1 + squash, seconds - squash, seconds},
        {1.14f, 0.78f, 1.14f, 1, 1, 1, 1, 1, 1, 1.14f, 0.78f, 1.14f, 1, 1, 1, 1, 1, 1, 1.14f, 0.78f, 1.14f});
}

void add_studio(GltfBuilder& gltf) {
    const int wall = gltf.add_material("Backdrop", {0.20f, 0.24f, 0.33f}, 0, 0.85f);
    gltf.add_node({{"name", "Backdrop"},
                   {"mesh", gltf.add_mesh("Backdrop", backdrop(40, 16, 12), wall)},
                   {"translation", {0, 0, -1.5f}}});
}

/// A turning wooden stage on a dark foot with a brass rim. Returns the node to put things on; its y is
/// the surface's.
int add_stage(GltfBuilder& gltf) {
    const int wood =
        gltf.add_material("Wood", {1, 1, 1}, 0, 0.38f, gltf.add_texture(png_uri(wood_rings, 512)));
    const int brass = gltf.add_material("Brass", {0.93f, 0.68f, 0.32f}, 1, 0.28f);
    const int foot = gltf.add_material("Foot", {0.045f, 0.05f, 0.07f}, 0, 0.3f);
    const Shape disc = turned({{0.0001f, 0.5f}, {2.6f, 0.5f}, {2.66f, 0.48f}, {2.68f, 0.44f}}, {1, 1});
    const Shape rim =
        turned({{2.68f, 0.45f}, {2.74f, 0.42f}, {2.76f, 0.36f}, {2.74f, 0.30f}, {2.68f, 0.27f}});
    const Shape base = turned({{2.62f, 0.30f}, {2.60f, 0.12f}, {2.68f, 0.06f}, {2.78f, 0}});
    const int stage = gltf.add_node({{"name", "Stage"}});
    gltf.add_node({{"name", "StageTop"}, {"mesh", gltf.add_mesh("StageTop", disc, wood)}}, stage);
    gltf.add_node({{"name", "StageRim"}, {"mesh", gltf.add_mesh("StageRim", rim, brass)}}, stage);
    gltf.add_node({{"name", "StageFoot"}, {"mesh", gltf.add_mesh("StageFoot", base, foot)}});
    spin(gltf, stage, {0, 1, 0}, 1);
    return gltf.add_node({{"name", "StageSurface"}, {"translation", {0, 0.5f, 0}}}, stage);
}

void add_moving_toys(GltfBuilder& gltf, int stage) {
    const int gold = gltf.add_material("Gold", {1.0f, 0.72f, 0.30f}, 1, 0.22f);
    const int knot = gltf.add_node({{"name", "Knot"},
                                    {"mesh", gltf.add_mesh("Knot", torus_knot(2, 3, 0.72f, 0.2f), gold)},
                                    {"translation", {0, 1.05f, 0}}},
                                   stage);
    spin(gltf, knot, {0, 1, 0}, -2);

    const int ball =
        gltf.add_material("BeachBall", {1, 1, 1}, 0, 0.25f, gltf.add_texture(png_uri(beach_ball, 512)));
    const int ball_node =
        gltf.add_node({{"name", "Ball"}, {"mesh", gltf.add_mesh("Ball", sphere(0.5f), ball)}}, stage);
    bounce(gltf, ball_node, {1.75f, 0.5f, 0.35f}, 0.9f);
}

void add_standing_toys(GltfBuilder& gltf, int stage) {
    const int paper = gltf.add_material("Crate", {1, 1, 1}, 0, 0.5f, gltf.add_texture(png_uri(crate, 512)));
    gltf.add_node({{"name", "Crate"},
                   {"mesh", gltf.add_mesh("Crate", rounded_box({0.45f, 0.45f, 0.45f}, 0.18f), paper)},
                   {"translation", {-1.15f, 0.46f, 1.25f}},
                   {"rotation", json_of(turn({0, 1, 0}, 0.5f))}},
                  stage);

    const int enamel = gltf.add_material("Enamel", {0.72f, 0.06f, 0.10f}, 0, 0.15f);
    const Shape pawn = turned({{0.0001f, 1.42f},
                               {0.16f, 1.39f},
                               {0.25f, 1.28f},
                               {0.27f, 1.16f},
                               {0.22f, 1.04f},
                               {0.14f, 0.97f},
                               {0.26f, 0.92f},
                               {0.26f, 0.87f},
                               {0.13f, 0.80f},
                               {0.14f, 0.62f},
                               {0.20f, 0.42f},
                               {0.34f, 0.24f},
                               {0.44f, 0.16f},
                               {0.46f, 0.08f},
                               {0.44f, 0}});
    gltf.add_node(
        {{"name", "Pawn"}, {"mesh", gltf.add_mesh("Pawn", pawn, enamel)}, {"translation", {-0.9f, 0, -1.5f}}},
        stage);

    const int glass = gltf.add_material("Glass", {0.10f, 0.62f, 0.90f}, 0, 0.04f);
    gltf.material(glass)["alphaMode"] = "BLEND";
    gltf.material(glass)["pbrMetallicRoughness"]["baseColorFactor"][3] = 0.45;
    gltf.add_node({{"name", "Marble"},
                   {"mesh", gltf.add_mesh("Marble", sphere(0.34f), glass)},
                   {"translation", {0.55f, 0.34f, 1.85f}}},
                  stage);
}

/// Bulbs around the rim, every other one lit at a time.
void add_bulbs(GltfBuilder& gltf, int stage) {
    constexpr int count = 24;
    static const C3f colors[] = {{1.0f, 0.78f, 0.36f}, {1.0f, 0.42f, 0.62f}};
    int meshes[2] = {};
    for (int i = 0; i < 2; ++i) {
        const std::string name = i == 0 ? "WarmBulb" : "PinkBulb";
        const int glow = gltf.add_material(name, {0, 0, 0}, 0, 1);
        gltf.material(glow)["emissiveFactor"] = json_of(colors[i]);
        gltf.material(glow)["extensions"]["KHR_materials_emissive_strength"]["emissiveStrength"] = 1.5;
        meshes[i] = gltf.add_mesh(name, rounded_box(V3f(0.06f), 1, 24), glow);
    }
    for (int i = 0; i < count; ++i) {
        const float angle = 2 * pi * static_cast<float>(i) / count;
        const int bulb =
            gltf.add_node({{"name", "Bulb" + std::to_string(i + 1)},
                           {"mesh", meshes[i % 2]},
                           {"translation", {2.77f * std::cos(angle), -0.14f, 2.77f * std::sin(angle)}}},
                          stage);
        const float now = i % 2 == 0 ? 1.25f : 0.7f;
        const float then = 1.95f - now;
        gltf.animate(bulb, "scale", "STEP", {0, seconds / 4, seconds / 2, 3 * seconds / 4},
                     {now, now, now, then, then, then, now, now, now, then, then, then});
    }
}

int light_node(GltfBuilder& gltf, const char* name, const Json& light, const V3f& eye, const V3f& target) {
    return gltf.add_node({{"name", name},
                          {"translation", json_of(eye)},
                          {"rotation", json_of(look_at(eye, target))},
                          {"extensions", {{"KHR_lights_punctual", {{"light", gltf.add_light(light)}}}}}});
}

void add_lights(GltfBuilder& gltf) {
    light_node(gltf, "KeyLight",
               {{"type", "spot"},
                {"color", {1.0, 0.86, 0.70}},
                {"intensity", 330},
                {"spot", {{"innerConeAngle", 0.25}, {"outerConeAngle", 0.52}}}},
               {-5.5f, 8.5f, 6.0f}, {0, 0.6f, 0});
    light_node(gltf, "FillLight", {{"type", "point"}, {"color", {0.45, 0.65, 1.0}}, {"intensity", 55}},
               {7.0f, 4.5f, 5.0f}, {0, 1, 0});
    light_node(gltf, "RimLight", {{"type", "point"}, {"color", {1.0, 0.30, 0.62}}, {"intensity", 40}},
               {4.2f, 3.6f, -4.2f}, {0, 1, 0});
}

Json perspective(float yfov) {
    return {{"type", "perspective"}, {"perspective", {{"yfov", yfov}, {"znear", 0.05}, {"zfar", 200}}}};
}

void add_cameras(GltfBuilder& gltf) {
    const V3f target(0.1f, 1.0f, 0);
    const V3f eye(1.5f, 3.3f, 7.2f);
    gltf.add_node({{"name", "Camera01"},
                   {"camera", gltf.add_camera(perspective(0.62f))},
                   {"translation", json_of(eye)},
                   {"rotation", json_of(look_at(eye, target))}});

    const V3f near(-2.6f, 2.0f, 4.6f);
    const V3f focus(-0.6f, 1.1f, 0.6f);
    gltf.add_node({{"name", "Closeup"},
                   {"camera", gltf.add_camera(perspective(0.5f))},
                   {"translation", json_of(near)},
                   {"rotation", json_of(look_at(near, focus))},
                   {"extras",
                    {{"multipass",
                      {{"effect", "depthOfField"},
                       {"passes", 8},
                       {"enabled", true},
                       {"radius", 0.06},
                       {"focusDistance", (near - focus).length()}}}}}});

    gltf.add_node(
        {{"name", "Overhead"},
         {"camera",
          gltf.add_camera({{"type", "orthographic"},
                           {"orthographic", {{"xmag", 6}, {"ymag", 3.4}, {"znear", 0.1}, {"zfar", 50}}}})},
         {"translation", {0, 12, 0}},
         {"rotation", json_of(turn({1, 0, 0}, -pi / 2))}});
}

Json render_settings() {
    return {{"width", 640},
            {"height", 360},
            {"frameRate", 24},
            {"samples", 4},
            {"output", "C:\\out\\beauty.png"},
            {"activeView", "Camera01"},
            {"elements", {{{"type", "depth"}, {"output", "C:\\out\\depth.exr"}}}}};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: corrivane-example-scene FILE.gltf\n", stderr);
        return 2;
    }
    try {
        GltfBuilder gltf;
        add_studio(gltf);
        const int stage = add_stage(gltf);
        add_moving_toys(gltf, stage);
        add_standing_toys(gltf, stage);
        add_bulbs(gltf, stage);
        add_lights(gltf);
        add_cameras(gltf);
        gltf.set_render_settings(render_settings());
        gltf.write(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "corrivane-example-scene: %s\n", error.what());
        return 1;
    }
    return 0;
}
