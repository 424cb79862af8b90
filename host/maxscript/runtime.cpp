#include "maxscript/runtime.h"

#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/file_access.h"
#include "maxscript/globals.h"
#include "maxscript/heap.h"
#include "maxscript/listener.h"
#include "maxscript/parser.h"
#include "maxscript/published_interface.h"
#include "maxscript/text_sink.h"
#include "maxscript/thread_state.h"

#include <max/exceptions.h>

#include <exception>
#include <new>
#include <stdexcept>

namespace corrivane::host {

namespace {

bool g_started = false;

/// The exception that is being handled, in words. All kinds, and here: its type may belong to a library that
/// is unloaded when the stack is.
std::string caught_error() {
    try {
        throw;
    } catch (MAXScriptException& error) {
        return error_description(error);
    } catch (const std::bad_alloc&) {
        return "-- Runtime error: Out of memory";
    } catch (const MAXException& error) {
        return "MAXException: " + error.message;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "an unknown exception";
    }
}

/// Runs a stream that is rooted and turns what comes of it into texts.
ScriptResult run(CharStream& stream) {
    try {
        const Rooted result(run_stream(stream));
        stream.close();
        return {true, printed_form(result.get() != nullptr ? result.get() : &ok)};
    } catch (...) {
        stream.close();
        return {false, caught_error()};
    }
}

}  // namespace

MaxScriptRuntime::MaxScriptRuntime(const RuntimeOptions& options) {
    if (g_started) throw std::logic_error("The MAXScript runtime has been started already");
    listener_stream().set_log(options.listener_log);
    listener_stream().set_stdout(options.listener_to_stdout);
    set_file_access(options.file_access);
    define_number_functions();
    define_text_functions();
    define_array_functions();
    define_language_functions();
    define_file_functions();
    define_callback_functions();
    define_published_interfaces();
    g_started = true;
}

MaxScriptRuntime::~MaxScriptRuntime() {
    forget_callbacks();
    thread_state().locals.current_result = nullptr;
    end_globals();
    listener_stream().set_log({});
    listener_stream().set_stdout(false);
    g_started = false;
}

ScriptResult run_text(const std::string& text) {
    auto* stream = new StringStream;
    const Rooted root(stream);
    stream->write(text.data(), text.size());
    return run(*stream);
}

ScriptResult run_file(const std::string& path) {
    auto* stream = new FileStream;
    const Rooted root(stream);
    stream->open(path.c_str(), "r");
    return run(*stream);
}

std::string printed_form(Value* value) {
    TextSink sink;
    value->sprin1(&sink);
    return sink.text();
}

std::string error_description(MAXScriptException& error) {
    TextSink sink;
    error.sprin1(&sink);
    return sink.text();
}

void set_listener(std::function<void(std::string_view)> listener) {
    listener_stream().set_receiver(std::move(listener));
}

Rooted::Rooted(Value* value) : m_frame{1, thread_state().locals.current_locals_frame}, m_slot(value) {
    thread_state().locals.current_locals_frame = &m_frame;
}

Rooted::~Rooted() {
    thread_state().locals.current_locals_frame = m_frame.previous;
}

}  // namespace corrivane::host
