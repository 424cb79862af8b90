#pragma once

#include "scene/load_context.h"

#include <tiny_gltf.h>

#include <string>
#include <string_view>
#include <vector>

namespace corrivane::host {

/// A file as tinygltf understands it: the JSON's structure is read, nothing is checked against anything
/// else yet. Image files are still encoded (tinygltf::Image::image holds the file's bytes; empty when it is
/// not there).
struct GltfDocument {
    tinygltf::Model model;
    /// One a buffer: the file was not there and the caller's policy is to go on. Its bytes are zeros.
    std::vector<bool> buffer_missing;
};

/// Reads the file and the files that its buffers and images name. Throws SceneError when it is no glTF 2.0
/// document, and MissingResource as the policies say for external files and extensions.
GltfDocument read_document(LoadContext& context);

/// Whether asset.version says glTF 2.x.
bool is_version_2(std::string_view version);

}  // namespace corrivane::host
