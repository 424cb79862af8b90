#include "scene/part_names.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace corrivane::host {

namespace {

using json::Path;

constexpr std::array<std::pair<std::string_view, std::string_view>, 17> part_lists{{
    {"accessors", "accessor"},
    {"animations", "animation"},
    {"bufferViews", "buffer view"},
    {"buffers", "buffer"},
    {"cameras", "camera"},
    {"channels", "channel"},
    {"images", "image"},
    {"lights", "light"},
    {"materials", "material"},
    {"meshes", "mesh"},
    {"nodes", "node"},
    {"primitives", "primitive"},
    {"samplers", "sampler"},
    {"scenes", "scene"},
    {"skins", "skin"},
    {"targets", "target"},
    {"textures", "texture"},
}};

/// Steps that say nothing which the next one does not.
constexpr std::array<std::string_view, 5> implied{"attributes", "pbrMetallicRoughness", "perspective",
                                                  "orthographic", "spot"};

/// Empty when it is no part that is counted.
std::string_view part_at(const Path& path, std::size_t step) {
    if (step + 1 >= path.size() || !path[step + 1].is_index) return {};
    const auto found =
        std::ranges::find(part_lists, path[step].key, [](const auto& list) { return list.first; });
    return found == part_lists.end() ? std::string_view() : found->second;
}

/// Over an extension's own object, where a list of parts is in it.
std::size_t first_part(const Path& path) {
    const bool in_extension = path.size() > 3 && path[0].key == "extensions";
    return in_extension && !part_at(path, 2).empty() ? 2 : 0;
}

}  // namespace

std::string part_name(const Path& path) {
    std::string name;
    std::size_t step = first_part(path);
    for (; !part_at(path, step).empty(); step += 2) {
        name += name.empty() ? "" : ", ";
        name.append(part_at(path, step)).append(" ").append(std::to_string(path[step + 1].index));
    }
    while (step < path.size() && std::ranges::find(implied, path[step].key) != implied.end())
        ++step;
    if (step == path.size() && !name.empty()) return name;
    if (!name.empty()) name += ": ";
    return name + json::to_text({path.begin() + static_cast<std::ptrdiff_t>(step), path.end()});
}

}  // namespace corrivane::host
