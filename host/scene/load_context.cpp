#include "scene/load_context.h"

#include "scene/limits.h"

#include <algorithm>

namespace corrivane::host {

namespace {

const char* kind_name(MissingKind kind) {
    switch (kind) {
        case MissingKind::external_file:
            return "missing external file";
        case MissingKind::plugin:
            return "missing extension";
        case MissingKind::xref:
            return "missing xref";
        case MissingKind::texture_coordinates:
            return "missing texture coordinates";
    }
    return "missing resource";
}

}  // namespace

std::optional<std::filesystem::path> LoadContext::neighbour(std::string name) const {
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::filesystem::path path(name);
    if (path.is_absolute()) return std::nullopt;
    std::filesystem::path place = file().parent_path();
    if (root().empty()) return place / path;
    // In the text, as Windows does it: a link on the way does not lead "..\" elsewhere.
    for (const std::filesystem::path& part : path) {
        if (part == "..") {
            if (place != root()) place = place.parent_path();
        } else if (part != ".") {
            place /= part;
        }
    }
    return place;
}

void LoadContext::fail(const std::string& what) const {
    throw SceneError(file().filename().string() + ": " + what);
}

void LoadContext::warn(const std::string& what) {
    if (m_warnings.size() < limits::warnings) m_warnings.push_back(file().filename().string() + ": " + what);
}

MissingAction LoadContext::action(MissingKind kind) const {
    switch (kind) {
        case MissingKind::external_file:
            return m_options.external_files;
        case MissingKind::plugin:
            return m_options.plugins;
        case MissingKind::xref:
            return m_options.xrefs;
        case MissingKind::texture_coordinates:
            return m_options.texture_coordinates;
    }
    return MissingAction::fail;
}

void LoadContext::missing(MissingKind kind, const std::string& resource, const std::string& what) {
    const std::string text = std::string(kind_name(kind)) + ": " + what;
    if (action(kind) == MissingAction::fail) {
        throw MissingResource(kind, resource, file().filename().string() + ": " + text);
    }
    warn(text);
}

void LoadContext::take_decoded(std::uint64_t count, std::uint64_t size, const std::string& who) {
    const std::uint64_t allowed =
        limits::decoded_bytes + limits::decoded_bytes_per_byte * m_budget.bytes_read;
    if (count > (allowed - m_budget.bytes_decoded) / size) {
        fail(who + ": needs " + std::to_string(count) + " elements, too much for a file of this size");
    }
    m_budget.bytes_decoded += count * size;
}

void LoadContext::take_pixels(std::uint64_t count, const std::string& who) {
    if (count > limits::image_pixels_of_scene - m_budget.image_pixels) {
        fail(who + ": the scene's images are too large together");
    }
    m_budget.image_pixels += count;
}

int LoadContext::optional_index(int index, std::size_t count, const char* what,
                                const std::string& who) const {
    return index == -1 ? -1 : static_cast<int>(this->index(index, count, what, who));
}

std::size_t LoadContext::index(int index, std::size_t count, const char* what, const std::string& who) const {
    if (index < 0 || static_cast<std::size_t>(index) >= count) {
        fail(who + ": there is no " + what + " " + std::to_string(index));
    }
    return static_cast<std::size_t>(index);
}

float LoadContext::number(double value, double low, double high, const std::string& who) const {
    if (!(value >= low && value <= high)) fail(who + ": " + std::to_string(value) + " is out of range");
    return static_cast<float>(value);
}

std::string numbered(const char* what, std::size_t number) {
    return std::string(what) + " " + std::to_string(number);
}

}  // namespace corrivane::host
