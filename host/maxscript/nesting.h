#pragma once

#include <cstdint>

#include "maxscript/errors.h"
#include "maxscript/thread_state.h"

namespace corrivane::host {

/// One level of nesting in a script that is compiled; a syntax error when there are too many for the compiler.
class Nesting {
public:
    Nesting(int& depth, const ThreadState& thread, const ScriptPlace& place) : m_depth(depth) {
        const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
        if (depth == deepest || here < thread.stack_limit)
            raise_syntax_error("expressions are nested too deeply", place);
        ++m_depth;
    }
    ~Nesting() { --m_depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    static constexpr int deepest = 1000;

    int& m_depth;
};

}  // namespace corrivane::host
