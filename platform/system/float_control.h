// Rounding and traps of both floating-point units.
#pragma once

#include <xmmintrin.h>

#include <cstdint>

namespace system_detail {

// Every guarded call reads them, and fegetenv would be most of its cost.
class FloatControl {
public:
    FloatControl() : m_sse(_mm_getcsr()) { asm volatile("fnstcw %0" : "=m"(m_x87)); }

    // Also empties the x87's register stack and drops its pending exceptions.
    void restore() const {
        asm volatile("fninit\n\tfldcw %0" : : "m"(m_x87));
        _mm_setcsr(m_sse);
    }

private:
    std::uint16_t m_x87;
    unsigned m_sse;
};

}  // namespace system_detail
