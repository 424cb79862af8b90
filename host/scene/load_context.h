#pragma once

#include "scene/load_scene.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::host {

/// What a whole load, xrefs included, has used of its limits.
struct LoadBudget {
    std::uint64_t bytes_read = 0;
    std::uint64_t bytes_decoded = 0;
    std::uint64_t image_pixels = 0;
};

/// What the readers of one file share: its name for messages, the caller's policies, the warnings,
/// the budget.
class LoadContext {
public:
    LoadContext(BoundedFile place, const LoadOptions& options, LoadBudget& budget,
                std::vector<std::string>& warnings)
        : m_place(std::move(place)), m_options(options), m_budget(budget), m_warnings(warnings) {}

    const std::filesystem::path& file() const { return m_place.file; }
    const std::filesystem::path& root() const { return m_place.root; }
    const LoadOptions& options() const { return m_options; }

    /// The file that this one names relative to itself, with / or \ between the folders. Nothing for an
    /// absolute name.
    std::optional<std::filesystem::path> neighbour(std::string name) const;

    /// Throws SceneError with the file's name in front.
    [[noreturn]] void fail(const std::string& what) const;
    void warn(const std::string& what);
    /// Warns, or throws MissingResource, as the caller's policy for that kind says. `what` says it in words.
    void missing(MissingKind kind, const std::string& resource, const std::string& what);

    MissingAction action(MissingKind kind) const;

    /// fail() unless `count` elements of `size` bytes are still within the budget. Called before allocating.
    void take_decoded(std::uint64_t count, std::uint64_t size, const std::string& who);
    void take_pixels(std::uint64_t count, const std::string& who);
    /// The index if it is below `count` or -1 ("none"), else fail(): "texture 3: there is no image 7".
    int optional_index(int index, std::size_t count, const char* what, const std::string& who) const;
    /// As optional_index(), but -1 fails too.
    std::size_t index(int index, std::size_t count, const char* what, const std::string& who) const;
    /// fail() unless the value lies in the range; a NaN does not.
    float number(double value, double low, double high, const std::string& who) const;

    void note_read(std::uint64_t bytes) { m_budget.bytes_read += bytes; }

private:
    BoundedFile m_place;
    const LoadOptions& m_options;
    LoadBudget& m_budget;
    std::vector<std::string>& m_warnings;
};

/// "mesh 2": how messages name the parts of a file.
std::string numbered(const char* what, std::size_t number);

}  // namespace corrivane::host
