#include "images/image_module.h"

#include "os/shared_library.h"

#include <filesystem>
#include <future>
#include <stdexcept>
#include <system_error>

namespace corrivane {

namespace {

std::string& chosen_path() {
    static std::string path;
    return path;
}

std::string module_path() {
    if (!chosen_path().empty()) return chosen_path();
    return program_file().replace_filename("corrivane-imageio.so").string();
}

/// Never unloaded: the image library keeps threads and tables of its own until the program ends.
const ImageModule* load_module(const std::string& path) {
    void* entry = library_entry(load_library(path), image_module_entry);
    if (entry == nullptr) throw std::runtime_error(path + " has no entry point " + image_module_entry);
    return reinterpret_cast<const ImageModule* (*)()>(entry)();
}

/// The one load of this process. As a static object it waits, when the program exits, for a load that is
/// under way: the loader must not be at work while the process is taken down.
const std::shared_future<const ImageModule*>& loading() {
    static const std::shared_future<const ImageModule*> module =
        std::async(std::launch::async, load_module, module_path()).share();
    return module;
}

}  // namespace

void set_image_module_path(const std::string& path) {
    chosen_path() = path;
}

void prefetch_image_module() {
    loading();
}

const ImageModule& image_module() {
    return *loading().get();
}

ImageFacts verify_image_file(const std::string& path, ImageLook look) {
    const ImageModule& module = image_module();
    try {
        return module.verify(path, look);
    } catch (const std::exception& error) {
        throw std::runtime_error("image file " + path + ": " + error.what());
    }
}

}  // namespace corrivane
