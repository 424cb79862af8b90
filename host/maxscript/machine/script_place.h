#pragma once

#include <string>

namespace corrivane::host {

/// Where script is being run: the base of what an error says about its place.
struct ScriptPlace {
    /// Null outside script; empty for a text that is no file. File names live for ever.
    const std::string* file = nullptr;
    int line = 0;
};

}  // namespace corrivane::host
