#pragma once

#include "json/value.h"
#include "scene/load_scene.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::host {

/// What a whole load, xrefs included, has used of its limits, and what it has warned of.
struct LoadState {
    std::uint64_t bytes_read = 0;
    std::uint64_t bytes_held = 0;
    std::uint64_t image_pixels = 0;
    std::vector<MissingPart> missing;
    std::vector<std::string> warnings;
    std::uint64_t warnings_left_out = 0;
};

/// What the readers of one file share: its name for messages, the caller's policies, and what the load has used.
///
/// A reader that finds something wrong says so through the value that is wrong (json::Value::refuse() and fail());
/// whoever reads the whole file turns that into a SceneError.
class LoadContext {
public:
    LoadContext(BoundedFile place, const LoadOptions& options, LoadState& state)
        : m_place(std::move(place)), m_options(options), m_state(state) {}

    const std::filesystem::path& file() const { return m_place.file; }
    const std::filesystem::path& root() const { return m_place.root; }

    /// The file that this one names relative to itself, with / or \ between the folders. Nothing for an
    /// absolute name.
    std::optional<std::filesystem::path> neighbour(std::string name) const;

    /// Throws SceneError with the file's name in front.
    [[noreturn]] void fail(const std::string& what) const;
    /// As fail(), for what a value's reader has thrown.
    [[noreturn]] void fail(const json::Error& error) const;
    /// The part's name comes in front: "mesh 2, primitive 0: points and lines are left out".
    void warn(const json::Value& part, std::string_view what);
    /// Warns, or throws MissingResource, as the caller's policy for that kind says. `what` says it in words.
    void missing(MissingKind kind, const std::string& resource, const std::string& what);
    /// missing() for texture coordinates; the resource is the primitive's name.
    void missing_coordinates(const json::Value& primitive, const std::string& what);

    /// Refuses the scene unless the load may hold so many bytes more. Called before allocating; `user` is what
    /// needs them.
    void take(std::uint64_t bytes, const json::Value& user);
    /// Of an array, with what its allocation takes besides.
    void take(std::uint64_t count, std::uint64_t size, const json::Value& user);
    /// As take(), for the file as a whole.
    void take_all(std::uint64_t bytes);
    /// Without asking: of what is as large as a file that was read.
    void hold(std::uint64_t bytes) { m_state.bytes_held += bytes; }
    void release(std::uint64_t bytes) { m_state.bytes_held -= bytes; }
    void take_pixels(std::uint64_t count, const json::Value& user);
    void note_read(std::uint64_t bytes) { m_state.bytes_read += bytes; }

private:
    MissingAction action(MissingKind kind) const;
    /// Whether there is room for a warning. To name a part takes time in proportion to the file, so this is asked
    /// first.
    bool may_warn();
    void add_warning(const std::string& what);
    std::uint64_t left() const;

    BoundedFile m_place;
    const LoadOptions& m_options;
    LoadState& m_state;
};

}  // namespace corrivane::host
