#include "scene/camera_reader.h"

#include "json/shortened.h"
#include "scene/limits.h"
#include "scene/value_readers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace corrivane::host {

int CameraReader::camera_of(const json::Value& node) {
    const auto index = m_cameras.find(node, "camera");
    if (!index) return -1;
    const auto [found, added] = m_read.try_emplace(*index, static_cast<int>(m_scene.cameras.size()));
    if (added) m_scene.cameras.push_back(read(m_cameras[*index]));
    return found->second;
}

Camera CameraReader::read(const json::Value& part) {
    const std::string_view type = part.at("type").text();
    Camera camera;
    camera.name = text_or(part, "name", "");
    if (type == "perspective") {
        camera.projection = read_perspective(part.at("perspective"));
    } else if (type == "orthographic") {
        camera.projection = read_orthographic(part.at("orthographic"));
    } else {
        part.fail("no type \"" + json::shortened(type) + "\"");
    }
    return camera;
}

float CameraReader::usable(const json::Value& number, double value, double low, double high) {
    const double served = std::clamp(value, low, high);
    if (served != value) m_context.warn(number, "taken as " + std::to_string(served));
    return static_cast<float>(served);
}

Projection CameraReader::read_perspective(const json::Value& lens) {
    Projection projection;
    const json::Value yfov = lens.at("yfov");
    if (!(yfov.number() > 0)) yfov.refuse("above 0");
    projection.yfov = usable(yfov, yfov.number(), 1e-4, std::numbers::pi - 1e-4);
    const json::Value znear = lens.at("znear");
    if (!(znear.number() > 0)) znear.refuse("above 0");
    projection.znear = usable(znear, znear.number(), 1e-9, limits::length);
    if (lens.find("zfar")) read_zfar(lens, projection);
    return projection;
}

Projection CameraReader::read_orthographic(const json::Value& lens) {
    Projection projection;
    projection.kind = Projection::Kind::orthographic;
    const json::Value ymag = lens.at("ymag");
    if (ymag.number() == 0) ymag.refuse("other than 0");
    if (ymag.number() < 0) m_context.warn(ymag, "its sign is ignored");
    projection.ymag = usable(ymag, std::abs(ymag.number()), 1e-6, limits::length);
    projection.znear = static_cast<float>(lens.at("znear").number(0, limits::length));
    read_zfar(lens, projection);
    return projection;
}

/// Beyond all lengths is as far as infinity.
void CameraReader::read_zfar(const json::Value& lens, Projection& projection) {
    const json::Value zfar = lens.at("zfar");
    if (zfar.number() > limits::length) return;
    projection.zfar = static_cast<float>(zfar.number(0, limits::length));
    if (projection.zfar <= projection.znear) throw json::Error(zfar.path(), " is not beyond znear");
}

}  // namespace corrivane::host
