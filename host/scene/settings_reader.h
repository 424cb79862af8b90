#pragma once

#include "scene/render_settings.h"
#include "scene/scene.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace corrivane::host {

/// A setting of the wrong type or range. The text begins with the key: "render.width should be …".
class SettingsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the "render" object of a scene's extras, given as JSON text (empty: no extras). Unknown keys are
/// passed over, since extras belong to everybody; an `extras` without "render" gives the defaults.
RenderSettings read_render_settings(const std::string& extras_json);

/// Reads the "multipass" object of a node's extras, given as JSON text (empty: no extras).
std::optional<MultipassEffect> read_multipass(const std::string& extras_json);

}  // namespace corrivane::host
