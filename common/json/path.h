#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace corrivane::json {

/// One step from a value to a value in it.
struct Step {
    std::string key;        ///< of an object's member, shortened if it is long; empty in an array
    std::size_t index = 0;  ///< of an array's element
    bool is_index = false;
};

/// The way from a document's root to a value.
using Path = std::vector<Step>;

/// "render.elements[0].type"; "the document" for the root.
std::string to_text(const Path& path);

/// A document that is no JSON, or a value that is not what it should be. The text is the value's path, then what
/// is wrong: "render.width should be a whole number from 1 to 32768".
class Error : public std::runtime_error {
public:
    /// `fault` begins with what joins it to the path, a blank or a colon.
    Error(Path path, const std::string& fault)
        : std::runtime_error(to_text(path) + fault), m_path(std::move(path)), m_fault(fault) {}

    const Path& path() const { return m_path; }
    const std::string& fault() const { return m_fault; }

private:
    Path m_path;
    std::string m_fault;
};

}  // namespace corrivane::json
