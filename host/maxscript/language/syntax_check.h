#pragma once

#include <max/maxscript/streams.h>

#include <string>
#include <vector>

namespace corrivane::host {

/// What is wrong with an expression of a script.
struct SyntaxFault {
    /// As an error of a script names it; empty for a text that is no file.
    std::string file;
    int line;
    std::string text;
};

/// Compiles a stream, which the caller keeps alive, without running it. One fault at most for an expression, in
/// their order.
std::vector<SyntaxFault> check_syntax(CharStream& source);

}  // namespace corrivane::host
