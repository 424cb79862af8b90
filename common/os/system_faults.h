#pragma once

namespace corrivane {

// Faults that take the system to provoke. Where it has no way to, the exception is raised by hand, under the code that
// the fault would have.

/// Reads a page of a mapped file that has become shorter: EXCEPTION_IN_PAGE_ERROR. Throws std::runtime_error when there
/// is no such file to be had.
void read_behind_the_end_of_a_mapped_file();
/// Reads a word at an odd address while the processor objects to that: EXCEPTION_DATATYPE_MISALIGNMENT.
void read_misaligned();

}  // namespace corrivane
