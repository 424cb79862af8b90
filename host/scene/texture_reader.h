#pragma once

#include "scene/buffers.h"
#include "scene/scene.h"

#include <optional>
#include <unordered_map>

namespace corrivane::host {

/// Reads the textures and images that materials use, once each, into the scene.
class TextureReader {
public:
    TextureReader(LoadContext& context, const GltfDocument& document, ExternalFiles& files, Buffers& buffers,
                  Scene& scene)
        : m_context(context),
          m_files(files),
          m_buffers(buffers),
          m_scene(scene),
          m_textures(document.list("textures", "texture")),
          m_samplers(document.list("samplers", "sampler")),
          m_images(document.list("images", "image")) {}

    /// A material's texture of that name. What cannot be shown is left out with a warning.
    TextureUse read_use(const json::Value& owner, std::string_view key);

private:
    /// The index in the scene; -1 without an image that we can read (an extension's format).
    int texture(std::size_t index);
    int read_texture(const json::Value& part);
    TextureWrap read_wrap(const json::Value& texture, const json::Value& sampler, std::string_view key) const;
    int image(std::size_t index);
    TextureImage read_image(const json::Value& part);

    LoadContext& m_context;
    ExternalFiles& m_files;
    Buffers& m_buffers;
    Scene& m_scene;
    PartList m_textures;
    PartList m_samplers;
    PartList m_images;
    // From the document's index to the scene's.
    std::unordered_map<std::size_t, int> m_read_textures;
    std::unordered_map<std::size_t, int> m_read_images;
};

}  // namespace corrivane::host
