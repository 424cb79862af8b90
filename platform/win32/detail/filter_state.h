#pragma once

namespace win32_detail {

// Whether the calling thread runs a structured-exception filter at this moment. Filter-safe.
bool in_filter();

}  // namespace win32_detail
