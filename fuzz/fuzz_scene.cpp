// Feeds the scene reader with any bytes as a glTF file: what it refuses has a reason, what it takes can
// be rendered.

#include "render/renderer.h"
#include "scene/load_scene.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

using namespace corrivane::host;

/// The input as a file, in a folder of its own that holds nothing to refer to.
class InputFile {
public:
    InputFile() {
        std::string name = (std::filesystem::temp_directory_path() / "fuzz_scene.XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) std::abort();
        m_folder = name;
    }
    ~InputFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::filesystem::path write(const std::uint8_t* data, std::size_t size) const {
        std::filesystem::path path = m_folder / "input.gltf";
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        return path;
    }

private:
    std::filesystem::path m_folder;
};

LoadOptions strict() {
    return {MissingAction::fail, MissingAction::fail, MissingAction::fail, MissingAction::fail};
}

/// A few pixels, at times before, in and after any animation, through the first camera or of the whole scene.
void render(const std::shared_ptr<const Scene>& scene) {
    constexpr int side = 4;
    std::vector<float> beauty(std::size_t{4} * side * side);
    std::vector<float> depth(std::size_t{4} * side * side);
    Renderer renderer(scene, {.threads = 1});
    RenderRequest request;
    request.width = request.height = side;
    request.samples = 1;
    for (std::size_t i = 0; i < scene->nodes.size() && request.camera_node < 0; ++i) {
        if (scene->nodes[i].camera >= 0) request.camera_node = static_cast<int>(i);
    }
    for (const double seconds : {-1.0, 0.5, 1e9}) {
        request.seconds = seconds;
        renderer.render(request, {beauty, {{ElementType::depth, depth}}});
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const InputFile file;
    const std::filesystem::path path = file.write(data, size);
    const bool tolerant = size % 2 == 0;
    try {
        render(load_scene(path, tolerant ? LoadOptions{} : strict()));
    } catch (const SceneError& error) {
        if (std::string(error.what()).empty()) std::abort();
    }
    is_scene_file(path);
    return 0;
}
