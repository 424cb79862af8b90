#include "fakes/fake_scripts.h"

#include <windows.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <set>

namespace corrivane::test {

namespace {

/// All blocks of the heap, and those that the collection under way has reached.
std::set<void*>& heap_blocks() {
    static std::set<void*> blocks;
    return blocks;
}
std::set<void*> marked_blocks;

/// Objects start at their block's address: Collectable is everybody's first base.
struct Ender : Collectable {
    static void end(void* block) { destroy(static_cast<Collectable*>(block)); }
};

MAXScriptThreadLocals* thread_locals() {
    return static_cast<MAXScriptThreadLocals*>(TlsGetValue(thread_locals_index));
}

void mark_roots() {
    const MAXScriptThreadLocals* block = thread_locals();
    if (block == nullptr) return;
    Collectable::gc_mark(block->current_result);
    for (ValueLocalsFrame* frame = block->current_locals_frame; frame != nullptr; frame = frame->previous)
        for (std::intptr_t i = 0; i < frame->count; ++i)
            Collectable::gc_mark(frame->slots()[i]);
}

void end_blocks(const std::set<void*>& blocks) {
    for (void* block : blocks) {
        Ender::end(block);
        Collectable::heap_free(block);
    }
}

void collect_garbage() {
    marked_blocks.clear();
    mark_roots();
    std::set<void*> unreached;
    for (void* block : heap_blocks())
        if (!marked_blocks.contains(block)) unreached.insert(block);
    end_blocks(unreached);
    fake_scripts().collected += unreached.size();
}

struct Printed final : Value {
    std::string printed;
    const ValueMetaClass& kind;
    bool truth;

    Printed(std::string form, const ValueMetaClass& value_kind, bool value_truth = false)
        : printed(std::move(form)), kind(value_kind), truth(value_truth) {}
    ~Printed() override = default;
    const ValueMetaClass& value_class() const override { return kind; }
    bool to_bool() override { return truth; }
    void sprin1(CharStream* stream) override { stream->puts(printed.c_str()); }
};

struct WithoutText final : Value {
    ~WithoutText() override = default;
    const ValueMetaClass& value_class() const override { return Undefined_class; }
    const char* to_string() override { return nullptr; }
    void sprin1(CharStream*) override {}
};

struct Code final : Value {
    std::string expression;

    explicit Code(std::string text) : expression(std::move(text)) {}
    ~Code() override = default;
    const ValueMetaClass& value_class() const override { return Undefined_class; }
    void sprin1(CharStream*) override {}
    Value* eval() override {
        const auto found = fake_scripts().expressions.find(expression);
        if (found == fake_scripts().expressions.end()) throw RuntimeError(("unknown: " + expression).c_str());
        return found->second();
    }
};

/// What text streams share; reads and writes the same text.
struct Text {
    std::string text;
    std::size_t position = 0;

    int next() { return position < text.size() ? static_cast<unsigned char>(text[position++]) : -1; }
    void back() { position -= position > 0; }
    bool at_end() const { return position >= text.size(); }
    void skip_blanks() {
        while (!at_end() &&
               (std::isspace(static_cast<unsigned char>(text[position])) != 0 || text[position] == ';'))
            ++position;
    }
};

struct Listener final : CharStream {
    ~Listener() override = default;
    const ValueMetaClass& value_class() const override { return Undefined_class; }
    void sprin1(CharStream*) override {}
    void puts(const char* text) override { fake_scripts().listener += text; }
    int get_char() override { return -1; }
    void unget_char() override {}
    bool at_eos() override { return true; }
    void flush_whitespace() override {}
    void close() override {}
};

constexpr ValueMetaClass number_class{"Integer"};

}  // namespace

Value* boolean(bool truth) {
    return new Printed(truth ? "true" : "false", Boolean_class, truth);
}

Value* number(int value) {
    return new Printed(std::to_string(value), number_class);
}

Value* without_text() {
    return new WithoutText();
}

FakeScripts& fake_scripts() {
    static FakeScripts scripts;
    return scripts;
}

void reset_fake_scripts() {
    end_blocks(std::set<void*>(heap_blocks()));
    if (MAXScriptThreadLocals* block = thread_locals()) {
        block->current_result = nullptr;
        block->current_locals_frame = nullptr;
    }
    fake_scripts() = FakeScripts();
}

ValueLocalsFrame* current_locals_frame() {
    const MAXScriptThreadLocals* block = thread_locals();
    return block == nullptr ? nullptr : block->current_locals_frame;
}

}  // namespace corrivane::test

using namespace corrivane::test;

const ValueMetaClass Boolean_class{"Boolean"};
const ValueMetaClass Ok_class{"Ok"};
const ValueMetaClass Undefined_class{"Undefined"};
const ValueMetaClass String_class{"String"};

namespace {

Printed the_ok("OK", Ok_class);
Printed the_undefined("undefined", Undefined_class);
Listener the_listener;

}  // namespace

Value& ok = the_ok;
Value& undefined = the_undefined;

DWORD thread_locals_index = TlsAlloc();

void init_thread_locals() {
    static thread_local MAXScriptThreadLocals block;
    if (fake_scripts().refuses_thread_locals) return SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    block.current_stdout = &the_listener;
    TlsSetValue(thread_locals_index, &block);
    SetLastError(ERROR_SUCCESS);
}

void* Collectable::heap_alloc(std::size_t size) {
    collect_garbage();
    void* block = ::operator new(size);
    heap_blocks().insert(block);
    return block;
}

void Collectable::heap_free(void* memory) {
    heap_blocks().erase(memory);
    ::operator delete(memory);
}

void Collectable::gc_mark(Collectable* object) {
    if (object != nullptr && marked_blocks.insert(object).second) object->gc_trace();
}

const char* Value::to_string() {
    throw RuntimeError("the value has no text");
}

bool Value::to_bool() {
    throw RuntimeError("the value has no truth");
}

RuntimeError::RuntimeError(const char* message) : m_message(message) {}

void RuntimeError::sprin1(CharStream* stream) {
    stream->puts(("-- Runtime error: " + m_message).c_str());
}

struct String::Text {
    std::string text;
};

String::String(const char* text) : m_text(new Text{text}) {}
String::~String() {
    delete m_text;
}
const char* String::to_string() {
    return m_text->text.c_str();
}
void String::sprin1(CharStream* stream) {
    stream->puts(("\"" + m_text->text + "\"").c_str());
}

void CharStream::printf(const char* format, ...) {
    char text[20'000];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    puts(text);
}

struct FileStream::File : corrivane::test::Text {
    bool is_open = false;

    Text& contents() {
        if (!is_open) throw RuntimeError("the file is not open");
        return *this;
    }
};

FileStream::FileStream() : m_file(new File) {}
FileStream::~FileStream() {
    delete m_file;
}
FileStream* FileStream::open(const char* fileName, const char* mode) {
    const auto found = fake_scripts().files.find(fileName);
    if (found == fake_scripts().files.end() || std::string(mode) != "r") return nullptr;
    m_file->text = found->second;
    m_file->is_open = true;
    return this;
}
const ValueMetaClass& FileStream::value_class() const {
    return Undefined_class;
}
void FileStream::sprin1(CharStream*) {}
void FileStream::puts(const char*) {}
void FileStream::write(const char*, std::size_t) {}
int FileStream::get_char() {
    return m_file->contents().next();
}
void FileStream::unget_char() {
    m_file->back();
}
bool FileStream::at_eos() {
    return m_file->contents().at_end();
}
void FileStream::flush_whitespace() {
    m_file->contents().skip_blanks();
}
void FileStream::close() {
    if (std::exchange(m_file->is_open, false)) ++fake_scripts().closed_files;
}
SourcePosition FileStream::position() const {
    return {};
}

struct StringStream::Buffer : corrivane::test::Text {};

StringStream::StringStream() : m_buffer(new Buffer) {}
StringStream::StringStream(const char* text) : StringStream() {
    m_buffer->text = text;
}
StringStream::~StringStream() {
    delete m_buffer;
}
Value* StringStream::execute_vf(Value**, int) {
    // Not on the heap: the interpreter's own roots are not what is tested.
    Parser parser(nullptr);
    Value* result = nullptr;
    for (flush_whitespace(); !at_eos(); flush_whitespace())
        result = parser.compile(this)->eval();
    return result;
}
const ValueMetaClass& StringStream::value_class() const {
    return Undefined_class;
}
const char* StringStream::to_string() {
    return m_buffer->text.c_str();
}
void StringStream::sprin1(CharStream*) {}
void StringStream::puts(const char* text) {
    m_buffer->text += text;
}
void StringStream::write(const char* text, std::size_t size) {
    m_buffer->text.append(text, size);
}
int StringStream::get_char() {
    return m_buffer->next();
}
void StringStream::unget_char() {
    m_buffer->back();
}
bool StringStream::at_eos() {
    return m_buffer->at_end();
}
void StringStream::flush_whitespace() {
    m_buffer->skip_blanks();
}
void StringStream::close() {}
SourcePosition StringStream::position() const {
    return {};
}

Parser::Parser(CharStream* output) : m_output(output) {}
Parser::~Parser() = default;
const ValueMetaClass& Parser::value_class() const {
    return Undefined_class;
}
void Parser::sprin1(CharStream*) {}
void Parser::gc_trace() {
    gc_mark(m_output);
}

Value* Parser::compile(CharStream* source) {
    std::string expression;
    for (int c = source->get_char(); c >= 0 && c != ';' && c != '\n'; c = source->get_char())
        expression += static_cast<char>(c);
    if (expression.starts_with(")")) throw RuntimeError(("syntax: " + expression).c_str());
    return new Code(expression);
}
