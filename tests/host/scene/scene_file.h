#pragma once

#include "scene/load_scene.h"
#include "support/test.h"

#include <nlohmann/json.hpp>

namespace corrivane::host::test {

using Json = nlohmann::json;
using corrivane::test::message_of;
using corrivane::test::write_file;

/// A glTF document made in a temporary folder. It starts as one_of_everything.gltf, beside this file: a camera, a
/// light and a textured, animated triangle.
///   buffer 0, bytes   view 0   accessor
///     0 ..  36        0        0  POSITION: (0,0,0) (2,0,0) (0,2,0)
///    36 ..  60        1        1  TEXCOORD_0
///    60 ..  66        2        2  indices 0 1 2, unsigned short; behind them lies a 3 that nothing uses
///    68 ..  76        3        3  times 0, 1
///    76 .. 100        4        4  translations (0,0,0) (4,0,0)
/// Nodes: 0 "Root" with children 1 and 2; 1 "Camera01"; 2 "Triangle", animated; 3 "Lamp".
class SceneFile {
public:
    Json json = read_cases("one_of_everything.gltf");

    std::filesystem::path path(const std::string& name = "scene.gltf") const {
        return m_folder.path() / name;
    }
    /// Puts the value at the place of a JSON pointer, or removes what is there if a minus stands in front of it.
    void change(const std::string& at, const Json& value);
    /// Writes the document as scene.gltf and loads it.
    std::shared_ptr<const Scene> load(const LoadOptions& options = {}) const;
    /// The document as a GLB, buffer 0 in its binary chunk: the last 100 bytes.
    std::string glb() const;

    /// A JSON file from this folder.
    static Json read_cases(const std::string& name);

private:
    corrivane::test::TemporaryFolder m_folder;
};

/// A PNG of one pixel.
extern const std::string small_png;

}  // namespace corrivane::host::test
