#pragma once

#include "json/value.h"
#include "scene/render_settings.h"
#include "scene/scene.h"

#include <optional>

namespace corrivane::host {

/// Reads the "render" object of a scene's extras. Unknown keys are passed over, since extras belong to everybody;
/// without extras, or in extras without "render", every setting has its default. Throws json::Error for a setting
/// of the wrong type or range.
RenderSettings read_render_settings(const std::optional<json::Value>& extras);

/// Reads the "multipass" object of a node's extras, as read_render_settings() does.
std::optional<MultipassEffect> read_multipass(const std::optional<json::Value>& extras);

}  // namespace corrivane::host
