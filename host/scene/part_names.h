#pragma once

#include "json/path.h"

#include <string>

namespace corrivane::host {

/// How messages name a part of a glTF document: "mesh 2, primitive 0: POSITION" for the value at
/// meshes[2].primitives[0].attributes.POSITION.
std::string part_name(const json::Path& path);

}  // namespace corrivane::host
