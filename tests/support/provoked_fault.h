#pragma once

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace corrivane::test {

/// Reads or writes memory that is not there. In assembly, so that neither the compiler nor a sanitizer has
/// a say.
inline void read_address(std::uintptr_t address) {
    asm volatile("movl (%0), %%eax" ::"r"(address) : "eax", "memory");
}

inline void write_address(std::uintptr_t address) {
    asm volatile("movl $1, (%0)" ::"r"(address) : "memory");
}

/// A fault that a guard takes ends frames without their destructors. What the thread allocates while this
/// object lives is therefore no leak to the sanitizer.
class AbandonedFramesMayLeak {
public:
    AbandonedFramesMayLeak() = default;
    AbandonedFramesMayLeak(const AbandonedFramesMayLeak&) = delete;
    AbandonedFramesMayLeak& operator=(const AbandonedFramesMayLeak&) = delete;
#if defined(__SANITIZE_ADDRESS__)
    ~AbandonedFramesMayLeak() = default;

private:
    __lsan::ScopedDisabler m_disabler;
#else
    ~AbandonedFramesMayLeak() {}
#endif
};

}  // namespace corrivane::test
