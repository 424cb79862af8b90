#pragma once

#include <cstdint>

/// Scene time in ticks; 4800 ticks are one second.
using TimeValue = int;

/// Identifies a class of plug-in objects (renderers, cameras, effects): two 32-bit words.
class Class_ID {
public:
    constexpr Class_ID(std::uint32_t a, std::uint32_t b) : m_a(a), m_b(b) {}

    constexpr std::uint32_t PartA() const { return m_a; }
    constexpr std::uint32_t PartB() const { return m_b; }
    friend constexpr bool operator==(Class_ID, Class_ID) = default;

private:
    std::uint32_t m_a;
    std::uint32_t m_b;
};

/// Identifies an interface: two 32-bit words, all ones when nobody set it.
class Interface_ID {
public:
    constexpr Interface_ID() = default;
    constexpr Interface_ID(std::uint32_t a, std::uint32_t b) : m_a(a), m_b(b) {}

    constexpr std::uint32_t PartA() const { return m_a; }
    constexpr std::uint32_t PartB() const { return m_b; }
    friend constexpr bool operator==(Interface_ID, Interface_ID) = default;

private:
    std::uint32_t m_a = 0xFFFFFFFF;
    std::uint32_t m_b = 0xFFFFFFFF;
};

/// A span of time over which a value holds.
class Interval {
public:
    constexpr Interval() = default;
    constexpr Interval(TimeValue start, TimeValue end) : m_start(start), m_end(end) {}

    constexpr TimeValue Start() const { return m_start; }
    constexpr TimeValue End() const { return m_end; }

private:
    TimeValue m_start = INT32_MIN;
    TimeValue m_end = INT32_MAX;
};

/// The base of everything that is asked for by Interface_ID. Never deleted through this class.
class BaseInterface {
protected:
    ~BaseInterface() = default;
};
