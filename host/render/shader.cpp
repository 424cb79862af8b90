#include "render/shader.h"

#include "render/random.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace corrivane::host {

namespace {

constexpr float pi = std::numbers::pi_v<float>;

/// A pixel's sky rays in all, so that few camera rays do not mean much noise.
constexpr int sky_rays_per_pixel = 8;
/// Transparent layers and cut-away surfaces that a ray goes through before it gives up.
constexpr int most_layers = 64;
/// Light that no 8-bit image shows is not worth a shadow ray.
constexpr float faint = 1e-4f;
/// Surfaces rougher than this show no mirror image.
constexpr float mirror_roughness = 0.5f;

/// How far from a point its neighbourhood begins: float's precision grows coarser away from the origin.
float step_off(const Imath::V3f& point) {
    const float size = std::max({std::abs(point.x), std::abs(point.y), std::abs(point.z), 0.1f});
    return size * 2e-5f;
}

/// Share of light that a surface reflects without entering it, seen at that cosine (Schlick).
Imath::C3f fresnel(const Imath::C3f& straight, float cosine) {
    const float x = std::clamp(1 - cosine, 0.0f, 1.0f);
    const float x2 = x * x;
    return straight + (Imath::C3f(1, 1, 1) - straight) * (x2 * x2 * x);
}

/// glTF's material: 4 % for dielectrics, the base colour for metals.
Imath::C3f straight_reflectance(const Surface& surface) {
    return Imath::C3f(0.04f, 0.04f, 0.04f) * (1 - surface.metallic) + surface.base_color * surface.metallic;
}

Imath::C3f diffuse_color(const Surface& surface) {
    return surface.base_color * (1 - surface.metallic);
}

/// Light of unit irradiance from `towards`, reflected to the eye: Lambert and GGX, as glTF's appendix B
/// has them.
Imath::C3f reflected(const Surface& surface, const Imath::V3f& towards_eye, const Imath::V3f& towards) {
    const float n_l = surface.normal.dot(towards);
    const float n_v = std::max(surface.normal.dot(towards_eye), 1e-3f);
    if (n_l <= 0) return {0, 0, 0};
    const Imath::V3f half = (towards + towards_eye).normalized();
    const float n_h = std::max(surface.normal.dot(half), 0.0f);
    const float alpha = std::max(surface.roughness * surface.roughness, 2e-3f);
    const float alpha2 = alpha * alpha;
    const float lobe = n_h * n_h * (alpha2 - 1) + 1;
    const float distribution = alpha2 / (pi * lobe * lobe);
    const float shadowing = n_l * std::sqrt(n_v * n_v * (1 - alpha2) + alpha2) +
                            n_v * std::sqrt(n_l * n_l * (1 - alpha2) + alpha2);
    const Imath::C3f f = fresnel(straight_reflectance(surface), std::max(half.dot(towards_eye), 0.0f));
    const Imath::C3f specular = f * (distribution * 0.5f / std::max(shadowing, 1e-6f));
    const Imath::C3f diffuse = diffuse_color(surface) * (Imath::C3f(1, 1, 1) - f) / pi;
    return (diffuse + specular) * n_l;
}

/// A direction around the normal, more likely the nearer to it, as Lambert's cosine has it.
Imath::V3f cosine_direction(const Imath::V3f& normal, const Imath::V2f& point) {
    const float radius = std::sqrt(point.x);
    const float angle = 2 * pi * point.y;
    const Imath::V3f side = std::abs(normal.x) < 0.7f ? Imath::V3f(1, 0, 0) : Imath::V3f(0, 1, 0);
    const Imath::V3f u = normal.cross(side).normalized();
    const Imath::V3f v = normal.cross(u);
    return u * (radius * std::cos(angle)) + v * (radius * std::sin(angle)) +
           normal * std::sqrt(std::max(0.0f, 1 - point.x));
}

}  // namespace

Shader::Shader(const Scene& scene, const PosedScene& posed, const Imath::V3f& headlight, int samples,
               float sky_reach)
    : m_scene(scene),
      m_posed(posed),
      m_lights(place_lights(scene, posed.pose())),
      m_sky_strength(m_lights.empty() ? 0.6f : 0.2f),
      m_sky_reach(sky_reach),
      m_sky_rays(static_cast<std::uint32_t>(std::max(1, sky_rays_per_pixel / samples))) {
    if (!m_lights.empty()) return;
    PlacedLight light;
    light.kind = Light::Kind::directional;
    light.direction = headlight;
    light.intensity = Imath::C3f(0.5f * pi, 0.5f * pi, 0.5f * pi);
    m_lights.push_back(light);
}

RaySample Shader::look_along(const Ray& camera_ray, SampleSeed seed) const {
    RaySample sample;
    Ray ray = camera_ray;
    Surface surface;
    float distance = 0;
    float transmitted = 1;
    for (int layer = 0; layer < most_layers && transmitted > 1e-3f; ++layer) {
        if (!next_surface(ray, surface, distance)) break;
        if (surface.opacity <= 0) continue;
        const float openness = openness_of(surface, seed);
        if (sample.alpha == 0) {
            sample.distance = distance;
            sample.normal = surface.normal;
            sample.albedo = surface.base_color;
            sample.openness = openness;
        }
        const float share = transmitted * surface.opacity;
        Imath::C3f color = shade(surface, -ray.direction, openness);
        if (!surface.unlit) color += reflection(surface, -ray.direction);
        sample.color += color * share;
        sample.alpha += share;
        transmitted -= share;
    }
    return sample;
}

/// The ray goes on behind the surface that was found.
bool Shader::next_surface(Ray& ray, Surface& surface, float& distance) const {
    Hit hit;
    if (!m_posed.intersect(ray, hit)) return false;
    surface = surface_at(m_scene, m_posed, ray, hit);
    distance = hit.distance;
    ray.near = hit.distance + step_off(surface.position);
    return true;
}

Imath::C3f Shader::shade(const Surface& surface, const Imath::V3f& towards_eye, float openness) const {
    if (surface.unlit) return surface.base_color;
    const Imath::C3f from_sky = diffuse_color(surface) * sky(surface.normal) * openness;
    return surface.emissive + from_sky + direct_light(surface, towards_eye);
}

/// What a smooth surface mirrors: the nearest surface there, by its direct light, or the sky. Rough ones get
/// the sky's colour alone.
Imath::C3f Shader::reflection(const Surface& surface, const Imath::V3f& towards_eye) const {
    const float cosine = std::max(surface.normal.dot(towards_eye), 0.0f);
    const Imath::V3f direction = surface.normal * (2 * surface.normal.dot(towards_eye)) - towards_eye;
    const Imath::C3f share = fresnel(straight_reflectance(surface), cosine) * (1 - 0.7f * surface.roughness);
    Imath::C3f seen = sky(direction);
    const float clarity = 1 - surface.roughness / mirror_roughness;
    if (clarity > 0 && direction.dot(surface.geometric_normal) > 0 &&
        std::max({share.x, share.y, share.z}) > 0.02f) {
        Ray ray{surface.position + surface.geometric_normal * step_off(surface.position), direction, 0,
                std::numeric_limits<float>::infinity()};
        Surface mirrored;
        float distance = 0;
        if (next_surface(ray, mirrored, distance) && mirrored.opacity > 0) {
            const Imath::C3f image = shade(mirrored, -direction, 0.7f);
            seen = seen * (1 - clarity * mirrored.opacity) + image * (clarity * mirrored.opacity);
        }
    }
    return share * seen;
}

Imath::C3f Shader::direct_light(const Surface& surface, const Imath::V3f& towards_eye) const {
    Imath::C3f sum(0, 0, 0);
    for (const PlacedLight& light : m_lights) {
        const Illumination arriving = illumination_at(light, surface.position);
        const Imath::C3f color = arriving.irradiance * reflected(surface, towards_eye, arriving.towards);
        if (std::max({color.x, color.y, color.z}) <= faint) continue;
        if (arriving.towards.dot(surface.geometric_normal) <= 0) continue;
        sum += color * visibility(surface, arriving.towards, arriving.distance);
    }
    return sum;
}

Imath::C3f Shader::sky(const Imath::V3f& direction) const {
    const Imath::C3f above(0.85f, 0.93f, 1.05f);
    const Imath::C3f below(0.42f, 0.38f, 0.34f);
    const float up = 0.5f + 0.5f * direction.y;
    return (above * up + below * (1 - up)) * m_sky_strength;
}

float Shader::openness_of(const Surface& surface, SampleSeed seed) const {
    float open = 0;
    for (std::uint32_t i = 0; i < m_sky_rays; ++i) {
        const Imath::V2f point = spread_point(hash(seed.pixel, 1), seed.sample * m_sky_rays + i);
        const Imath::V3f direction = cosine_direction(surface.normal, point);
        if (direction.dot(surface.geometric_normal) <= 0) continue;
        open += visibility(surface, direction, m_sky_reach);
    }
    return open / static_cast<float>(m_sky_rays);
}

float Shader::visibility(const Surface& from, const Imath::V3f& towards, float distance) const {
    const float step = step_off(from.position);
    return m_posed.visibility({from.position + from.geometric_normal * step, towards, 0, distance - step});
}

}  // namespace corrivane::host
