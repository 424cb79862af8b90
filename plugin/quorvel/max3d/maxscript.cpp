#include "quorvel/max3d/maxscript.h"

#include <stdexcept>

namespace quorvel::max3d {

namespace {

/// Null, with the last error set, for a thread that has no block.
MAXScriptThreadLocals* find_thread_locals() {
    auto* block = static_cast<MAXScriptThreadLocals*>(TlsGetValue(thread_locals_index));
    if (block == nullptr && GetLastError() == ERROR_SUCCESS) SetLastError(ERROR_NO_MORE_ITEMS);
    return block;
}

Value* keep_as_current_result(Value* result) {
    maxscript_thread_locals().current_result = result;
    return result;
}

/// What `print` writes, a MAXScriptException or a Value.
template <typename Printed>
std::string printed_text(Printed& printed, Value* kept) {
    const scoped_maxscript_frame frame;
    value_locals<2> locals;
    locals.keep(0, kept);
    auto* text = locals.keep(1, new StringStream());
    printed.sprin1(text);
    return text->to_string();
}

/// Closes a stream when a MAXScriptException or a std::exception passes, and lets the exception go on.
template <typename Operation>
Value* close_on_error(CharStream* stream, Operation operation) {
    try {
        return operation();
    } catch (const MAXScriptException&) {
        stream->close();
        throw;
    } catch (const std::exception&) {
        stream->close();
        throw;
    }
}

Value* evaluate_expressions(CharStream* source) {
    enum { parser_slot, code_slot, result_slot, slots };
    value_locals<slots> locals;
    auto* parser = locals.keep(parser_slot, new Parser(maxscript_thread_locals().current_stdout));
    Value* result = nullptr;
    source->flush_whitespace();
    while (!source->at_eos()) {
        Value* code = locals.keep(code_slot, parser->compile(source));
        result = locals.keep(result_slot, code->eval());
        source->flush_whitespace();
    }
    source->close();
    return keep_as_current_result(result == nullptr ? &ok : result);
}

}  // namespace

void assert_condition(bool holds, const std::string& condition, const std::string& message,
                      const std::string& file, const std::string& line, const std::string& function) {
    if (holds) return;
    const std::string file_name = file.substr(file.rfind('\\') + 1);
    throw std::runtime_error(file_name + ":" + line + " " + function + "() assert condition " + condition +
                             " failed: " + message);
}

MAXScriptThreadLocals& maxscript_thread_locals() {
    return *find_thread_locals();
}

CharStream* maxscript_output() {
    const scoped_maxscript_frame frame;
    return maxscript_thread_locals().current_stdout;
}

scoped_maxscript_frame::scoped_maxscript_frame() {
    const MAXScriptThreadLocals* block = find_thread_locals();
    if (block == nullptr) {
        init_thread_locals();
        block = find_thread_locals();
        assert_condition(block != nullptr, "GetLastError() == ERROR_SUCCESS",
                         "Unable to get the MXS current_locals_frame for the current thread.",
                         "quorvel/max3d/maxscript", "86",
                         "quorvel::max3d::scoped_maxscript_frame::scoped_maxscript_frame");
    }
    m_frame = block->current_locals_frame;
}

scoped_maxscript_frame::~scoped_maxscript_frame() {
    maxscript_thread_locals().current_locals_frame = m_frame;
}

Value* execute_maxscript_stream(CharStream* source) {
    const scoped_maxscript_frame frame;
    try {
        return close_on_error(source, [source] { return evaluate_expressions(source); });
    } catch (MAXScriptException& exception) {
        throw std::runtime_error("MAXScriptException: " + maxscript_exception_text(exception));
    }
}

Value* execute_maxscript_file(const std::string& path) {
    enum { stream_slot, result_slot, slots };
    const scoped_maxscript_frame frame;
    value_locals<slots> locals;
    auto* file = locals.keep(stream_slot, new FileStream());
    return close_on_error(file, [&] {
        // A file that does not open is an error of the runtime's at the first read.
        file->open(path.c_str(), "r");
        Value* result = locals.keep(result_slot, execute_maxscript_stream(file));
        file->close();
        return keep_as_current_result(result);
    });
}

Value* execute_maxscript_string(const std::string& script) {
    enum { result_slot, stream_slot, slots };
    const scoped_maxscript_frame frame;
    value_locals<slots> locals;
    auto* source = locals.keep(stream_slot, new StringStream(script.c_str()));
    try {
        Value* result = source->execute_vf(nullptr, 0);
        if (result == nullptr) result = &ok;
        locals.keep(result_slot, result);
        source->close();
        return keep_as_current_result(result);
    } catch (MAXScriptException& exception) {
        source->close();
        throw std::runtime_error(maxscript_exception_text(exception));
    }
}

std::string maxscript_exception_text(MAXScriptException& exception) {
    return printed_text(exception, nullptr);
}

std::string maxscript_value_text(Value* value) {
    return printed_text(*value, value);
}

}  // namespace quorvel::max3d
