#pragma once

#include "manual/manual.h"

namespace corrivane::worker {

/// What users of the worker should know besides its options.
const Manual& worker_manual();

}  // namespace corrivane::worker
