#pragma once

#include "maxscript/machine/signature.h"

#include <vector>

namespace corrivane::host {

/// Adds functions for further classes of the first argument to what there is under their names. A call that is for none
/// of them goes to what was there before; without that, it is a MAXScript error.
void define_overloads(const std::vector<Builtin>& table);

}  // namespace corrivane::host
