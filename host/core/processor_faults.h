#pragma once

#include <string_view>

namespace corrivane::host {

/// A processor fault (or an exception code that no instruction of this processor gives) that can be made
/// to happen.
struct ProcessorFault {
    std::string_view name;
    /// Makes it happen on the calling thread. Returns only where somebody continues behind the fault: a
    /// debugger behind a breakpoint, for example. The floating-point kinds leave their trap unmasked; what
    /// catches the fault has to restore the floating-point environment, as a structured-exception guard does.
    void (*provoke)();
};

/// The fault of that name: one of the names that crash reports use ("Access Violation", a read of address 0,
/// "Stack Overflow", "Integer Divide By Zero", ...), "Access Violation Write", "Float Underflow" or
/// "Breakpoint". Throws std::invalid_argument, whose text lists the valid names.
const ProcessorFault& find_processor_fault(std::string_view name);

}  // namespace corrivane::host
