#include "maxscript/runtime.h"

#include "maxscript/language/parser.h"
#include "maxscript/library/library.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/globals.h"
#include "maxscript/machine/heap.h"
#include "maxscript/machine/listener.h"
#include "maxscript/machine/text_sink.h"
#include "maxscript/machine/thread_state.h"
#include "maxscript/published/published_interface.h"
#include "maxscript/streams/file_access.h"

#include <max/exceptions.h>
#include <system/plain_files.h>

#include <cerrno>
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

std::FILE* open_log(const std::string& file) {
    if (file.empty()) return nullptr;
    std::FILE* log = open_machine_file_for_writing(file, false);
    if (log == nullptr)
        throw std::runtime_error("The Listener's log " + file +
                                 " cannot be opened: " + plain_file_error(errno));
    return log;
}

}  // namespace

MaxScriptRuntime::MaxScriptRuntime(const RuntimeOptions& options) {
    if (g_started) throw std::logic_error("The MAXScript runtime has been started already");
    listener_stream().set_log(open_log(options.listener_log));
    listener_stream().set_stdout(options.listener_to_stdout);
    set_file_access(options.file_access);
    define_absent_names();
    define_number_functions();
    define_text_functions();
    define_array_functions();
    define_geometry_functions();
    define_language_functions();
    define_bit_functions();
    define_file_functions();
    define_stream_functions();
    define_path_functions();
    define_ini_functions();
    define_system_functions();
    define_callback_functions();
    define_published_interfaces();
    g_started = true;
}

MaxScriptRuntime::~MaxScriptRuntime() {
    forget_callbacks();
    thread_state().locals.current_result = nullptr;
    end_globals();
    listener_stream().set_log(nullptr);
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

std::vector<SyntaxFault> check_file(const std::string& path) {
    auto* stream = new FileStream;
    const Rooted root(stream);
    try {
        // What could not be opened says why when it is read.
        if (stream->open(path.c_str(), "r") == nullptr) stream->get_char();
        std::vector<SyntaxFault> faults = check_syntax(*stream);
        stream->close();
        return faults;
    } catch (MAXScriptException& error) {
        throw std::runtime_error(error_description(error));
    }
}

void set_listener(std::function<void(std::string_view)> listener) {
    listener_stream().set_receiver(std::move(listener));
}

}  // namespace corrivane::host
