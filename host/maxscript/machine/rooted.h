#pragma once

#include <max/maxscript/thread_locals.h>

namespace corrivane::host {

/// Keeps one value alive for the lifetime of this object, which lives on the native stack: of several, the
/// last one made goes first.
class Rooted {
public:
    explicit Rooted(Value* value = nullptr);
    ~Rooted();
    Rooted(const Rooted&) = delete;
    Rooted& operator=(const Rooted&) = delete;
    Rooted& operator=(Value* value) {
        m_slot = value;
        return *this;
    }
    Value* get() const { return m_slot; }
    Value* operator->() const { return m_slot; }

private:
    ValueLocalsFrame m_frame;
    Value* m_slot;
};

}  // namespace corrivane::host
