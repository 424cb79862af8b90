#pragma once

#include "maxscript/machine/errors.h"
#include "maxscript/machine/stack_check.h"

namespace corrivane::host {

/// One level of nesting in a script that is compiled. Too many are a syntax error, and what leaves too little
/// of the native stack, as scripts that execute scripts may, is a stack overflow.
class Nesting {
public:
    Nesting(int& depth, const ThreadState& thread, const ScriptPlace& place) : m_depth(depth) {
        check_stack(thread);
        if (depth == deepest) raise_syntax_error("expressions are nested too deeply", place);
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
