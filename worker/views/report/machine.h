#pragma once

#include "worker/views/report/report_data.h"

namespace corrivane::worker {

/// Name, system, processor, memory of this machine; what its system does not tell is left out.
MachineFacts machine_facts();

}  // namespace corrivane::worker
