#pragma once

#include <ctime>

namespace corrivane {

/// A time as the clock on the wall shows it.
std::tm local_time(std::time_t seconds);

}  // namespace corrivane
