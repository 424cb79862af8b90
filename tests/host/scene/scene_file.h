#pragma once

#include "scene/load_scene.h"
#include "support/temporary_folder.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host::test {

using Json = nlohmann::json;

/// "data:application/octet-stream;base64,…"
std::string data_uri(const std::vector<std::uint8_t>& bytes);

/// A valid PNG of one colour.
std::vector<std::uint8_t> png(int width, int height);

/// A glTF document made in a temporary folder. It starts as one of everything: a camera, a light and a
/// textured, animated triangle.
///   buffer 0, bytes   view 0   accessor
///     0 ..  36        0        0  POSITION: (0,0,0) (2,0,0) (0,2,0)
///    36 ..  60        1        1  TEXCOORD_0
///    60 ..  66        2        2  indices 0 1 2, unsigned short
///    68 ..  76        3        3  times 0, 1
///    76 .. 100        4        4  translations (0,0,0) (4,0,0)
/// Nodes: 0 "Root" with children 1 and 2; 1 "Camera01"; 2 "Triangle", animated; 3 "Lamp".
class SceneFile {
public:
    SceneFile();

    Json json;

    void write(const std::string& name, const std::string& content) const;
    void write(const std::string& name, const std::vector<std::uint8_t>& content) const;
    std::filesystem::path path(const std::string& name = "scene.gltf") const {
        return m_folder.path() / name;
    }

    /// Writes the document as scene.gltf and loads it.
    std::shared_ptr<const Scene> load(const LoadOptions& options = {}) const;
    /// The document as a GLB, buffer 0 in its binary chunk.
    std::vector<std::uint8_t> glb() const;

private:
    corrivane::test::TemporaryFolder m_folder;
    std::vector<std::uint8_t> m_buffer;
};

}  // namespace corrivane::host::test
