// What unit tests cannot expect of every system. The same of the host as a program is HostKind.
#pragma once

namespace corrivane::test {

/// Frames are found by the chain of frame pointers, which tests make up.
inline constexpr bool frames_are_chained = true;
/// ReadProcessMemory refuses a page that cannot be read.
inline constexpr bool unreadable_pages_are_told = true;
/// A fault of the x87 is told where the thread stands, not where the last instruction of the x87 was.
inline constexpr bool x87_faults_are_where_the_thread_stands = true;
/// recv tells of a reset that came before it.
inline constexpr bool resets_are_told = true;
/// A share that is not there is ERROR_BAD_NETPATH.
inline constexpr bool missing_shares_are_told = true;

}  // namespace corrivane::test
