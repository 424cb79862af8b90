#pragma once

#include "maxscript/machine/code.h"

#include <max/maxscript/streams.h>

namespace corrivane::host {

/// Compiles the next expression of a stream and leaves the stream behind it. `found` is false, and the code
/// gives `ok`, when the stream held none. The caller keeps the stream alive, and roots the code.
CompiledCode* compile_expression(CharStream& source, bool& found);

/// Compiles and runs the next expression; its value is unrooted, null when the stream holds none.
Value* run_expression(CharStream& source);

/// Compiles and runs a stream, expression by expression, and returns the last value, unrooted; null when the
/// stream holds no expression. Throws what a script throws; the stream is left where it was then.
Value* run_stream(CharStream& source);

}  // namespace corrivane::host
