#include "os/system_faults.h"

#include <windows.h>

namespace corrivane {

// The system keeps a mapped file as long as it is mapped.
void read_behind_the_end_of_a_mapped_file() {
    RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 0, nullptr);
}

// Not every system passes the processor's objection on.
void read_misaligned() {
    RaiseException(EXCEPTION_DATATYPE_MISALIGNMENT, 0, 0, nullptr);
}

}  // namespace corrivane
