#include "json/path.h"

namespace corrivane::json {

std::string to_text(const Path& path) {
    if (path.empty()) return "the document";
    std::string text;
    for (const Step& step : path) {
        if (step.is_index) {
            text += "[" + std::to_string(step.index) + "]";
        } else {
            text += (text.empty() ? "" : ".") + step.key;
        }
    }
    return text;
}

}  // namespace corrivane::json
