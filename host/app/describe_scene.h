#pragma once

#include "core/document.h"

#include <string>

namespace corrivane::host {

/// What a farm's worker asks of a scene before it renders it, as JSON of short lines; docs/scenes.md lists the members.
std::string scene_description(Document& document);

}  // namespace corrivane::host
