// Feeds the scene reader with any bytes as a glTF file: what it refuses has a reason, what it takes can
// be posed.

#include "scene/load_scene.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

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
        const std::filesystem::path path = m_folder / "input.gltf";
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const InputFile file;
    const std::filesystem::path path = file.write(data, size);
    const bool tolerant = size % 2 == 0;
    try {
        const auto scene = load_scene(path, tolerant ? LoadOptions{} : strict());
        for (const double seconds : {-1.0, 0.0, 0.5, 1e9})
            bounds_of(*scene, pose_at(*scene, seconds));
    } catch (const SceneError& error) {
        if (std::string(error.what()).empty()) std::abort();
    }
    is_scene_file(path);
    return 0;
}
