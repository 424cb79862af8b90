#pragma once

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool under_asan = true;
#else
inline constexpr bool under_asan = false;
#endif
#if defined(__SANITIZE_THREAD__)
inline constexpr bool under_tsan = true;
#else
inline constexpr bool under_tsan = false;
#endif
