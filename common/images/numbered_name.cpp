#include "images/numbered_name.h"

#include "images/image_formats.h"

#include <cstdio>
#include <cstdlib>

namespace corrivane {

std::string numbered_name(std::string name, int frame) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%s%04lld", frame < 0 ? "-" : "", std::llabs(frame));
    return name.insert(name.size() - name_extension(name).size(), digits);
}

}  // namespace corrivane
