#include "maxscript/library_entry.h"

namespace {

/// 3ds Max 9, API 21, SDK revision 0.
constexpr unsigned int version_3dsmax = 9000U << 16 | 21U << 8 | 0U;

}  // namespace

const char* LibDescription() {
    return "Corrivane, Cloud interface";
}

unsigned int LibVersion() {
    return version_3dsmax;
}

void LibInit() {}
