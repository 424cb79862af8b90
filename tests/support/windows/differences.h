// What unit tests cannot expect of every system. The same of the host as a program is HostKind.
#pragma once

namespace corrivane::test {

/// On 64 bits frames are found by what the compiler left for unwinding.
inline constexpr bool frames_are_chained = sizeof(void*) == 4;
/// 32 bits tell a fault of the x87 at the last instruction of that unit, not where the thread stands.
inline constexpr bool x87_faults_are_where_the_thread_stands = sizeof(void*) == 8;

// Wine's own: Windows does these.
inline constexpr bool unreadable_pages_are_told = false;
inline constexpr bool resets_are_told = false;
inline constexpr bool missing_shares_are_told = false;

}  // namespace corrivane::test
