#include "scene/load_context.h"

#include "scene/limits.h"
#include "scene/part_names.h"

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

void LoadContext::fail(const json::Error& error) const {
    fail(part_name(error.path()) + error.fault());
}

void LoadContext::add_warning(const std::string& what) {
    m_state.warnings.push_back(file().filename().string() + ": " + what);
}

bool LoadContext::may_warn() {
    if (m_state.warnings.size() < limits::warnings) return true;
    ++m_state.warnings_left_out;
    return false;
}

void LoadContext::warn(const json::Value& part, std::string_view what) {
    if (may_warn()) add_warning(part_name(part.path()).append(": ").append(what));
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
    if (m_state.missing.size() < limits::warnings) m_state.missing.push_back({kind, resource});
    if (may_warn()) add_warning(text);
}

void LoadContext::missing_coordinates(const json::Value& primitive, const std::string& what) {
    constexpr MissingKind kind = MissingKind::texture_coordinates;
    if (action(kind) != MissingAction::fail && !may_warn()) return;
    const std::string name = part_name(primitive.path());
    missing(kind, name, name + " " + what);
}

std::uint64_t LoadContext::left() const {
    const std::uint64_t allowed = limits::held_bytes + limits::held_bytes_per_byte * m_state.bytes_read;
    return allowed > m_state.bytes_held ? allowed - m_state.bytes_held : 0;
}

void LoadContext::take(std::uint64_t bytes, const json::Value& user) {
    if (bytes > left()) user.fail("needs too much memory for a file of this size");
    m_state.bytes_held += bytes;
}

void LoadContext::take_all(std::uint64_t bytes) {
    if (bytes > left()) fail("needs too much memory for the size of the files");
    m_state.bytes_held += bytes;
}

void LoadContext::take(std::uint64_t count, std::uint64_t size, const json::Value& user) {
    if (count > left() / size) {
        user.fail("needs " + std::to_string(count) + " elements, too much for a file of this size");
    }
    constexpr std::uint64_t overhead = 32;
    m_state.bytes_held += count * size + overhead;
}

void LoadContext::take_pixels(std::uint64_t count, const json::Value& user) {
    if (count > limits::image_pixels_of_scene - m_state.image_pixels) {
        user.fail("the scene's images are too large together");
    }
    m_state.image_pixels += count;
}

}  // namespace corrivane::host
