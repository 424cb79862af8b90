#pragma once

#include <max/maxscript/maxscript.h>

#include <cstddef>
#include <string>

namespace quorvel::max3d {

/// Throws std::runtime_error that names the place, the condition and the message unless `holds`. Only the
/// last part of a file name with backslashes is shown.
void assert_condition(bool holds, const std::string& condition, const std::string& message,
                      const std::string& file, const std::string& line, const std::string& function);

/// Remembers the calling thread's chain of MAXScript local-value frames and puts it back at the end of the
/// scope, however the scope ends. Gives a thread that has never run MAXScript its thread-local block.
class scoped_maxscript_frame {
public:
    scoped_maxscript_frame();
    ~scoped_maxscript_frame();
    scoped_maxscript_frame(const scoped_maxscript_frame&) = delete;
    scoped_maxscript_frame& operator=(const scoped_maxscript_frame&) = delete;

private:
    ValueLocalsFrame* m_frame;
};

/// The calling thread's block. It has one: a scoped_maxscript_frame is in scope.
MAXScriptThreadLocals& maxscript_thread_locals();

/// The calling thread's output stream, the MAXScript Listener unless a script redirects it.
CharStream* maxscript_output();

/// A local-value frame of so many slots, linked into the chain for as long as it lives: what its slots hold
/// stays alive through collections. Lives on the stack, inside a scoped_maxscript_frame.
template <std::size_t Slots>
class value_locals {
public:
    value_locals() : m_frame{Slots, maxscript_thread_locals().current_locals_frame} {
        maxscript_thread_locals().current_locals_frame = &m_frame;
    }
    ~value_locals() { maxscript_thread_locals().current_locals_frame = m_frame.previous; }
    value_locals(const value_locals&) = delete;
    value_locals& operator=(const value_locals&) = delete;

    /// Keeps a value in a slot and hands it back.
    template <typename Kept>
    Kept* keep(std::size_t slot, Kept* value) {
        m_slots[slot] = value;
        return value;
    }

private:
    ValueLocalsFrame m_frame;
    // Right behind the frame, where the collector looks for them.
    Value* m_slots[Slots] = {};
};

/// Compiles and runs a stream, expression by expression: what came before an error has been done. Returns the
/// last result, `ok` for a stream without expressions; closes the stream. A MAXScript error becomes a
/// std::runtime_error: "MAXScriptException: " and the error's printed description.
Value* execute_maxscript_stream(CharStream* source);

/// The same for a file.
Value* execute_maxscript_file(const std::string& path);

/// Compiles and runs a text as a whole. Returns the last result, `ok` if there is none. A MAXScript error
/// becomes a std::runtime_error with the error's printed description alone.
Value* execute_maxscript_string(const std::string& script);

/// The printed description of an error.
std::string maxscript_exception_text(MAXScriptException& exception);

/// The printed form of a value.
std::string maxscript_value_text(Value* value);

}  // namespace quorvel::max3d
