#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::host {

/// A 3ds Max class identifier: two 32-bit words, in files a pair of numbers or of strings such
/// as "0x52ad1c02".
using ClassId = std::array<std::uint32_t, 2>;

enum class ElementType { depth, normal, albedo, alpha, ambient_occlusion };

/// "depth", "normal", "albedo", "alpha" or "ambientOcclusion".
std::string_view element_type_name(ElementType type);

struct RenderElementSettings {
    ElementType type = ElementType::depth;
    std::string output;  ///< as written in the file: usually a Windows path; may be empty
};

/// The scene's extras.render. A key that is not there keeps the default that stands here.
struct RenderSettings {
    int width = 640;         ///< pixels, 1 to 32768
    int height = 480;        ///< pixels, 1 to 32768
    float pixel_aspect = 1;  ///< width of a pixel over its height, 0.01 to 100
    int frame_rate = 30;     ///< frames a second, 1 to 4800
    int samples = 4;         ///< a pixel, 1 to 4096
    std::string output;      ///< as written in the file: usually a Windows path
    /// Also without an output: a frame that is saved nowhere must not look like a success.
    bool save_file = true;
    bool skip_existing_frames = false;
    std::string active_view;  ///< name of a camera node; empty: a perspective view that frames the scene
    std::optional<ClassId> renderer_class_id;
    std::vector<int> renderer_requirements;
    bool elements_active = true;
    std::vector<RenderElementSettings> elements;
    bool tga_alpha_split = false;
    std::vector<std::string> xrefs;  ///< already merged into the scene
};

}  // namespace corrivane::host
