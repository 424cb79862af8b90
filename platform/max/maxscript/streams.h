#pragma once

#include <max/maxscript/value.h>

#include <string>

/// Where a character stands in a script, for messages.
struct SourcePosition {
    /// Empty for a text that is no file.
    std::string file;
    /// From 1.
    int line = 1;
};

/// A stream of 8-bit characters, to read script from or to write text to.
class CharStream : public Value {
public:
    /// Writes a text unchanged.
    virtual void puts(const char* text) = 0;
    /// Writes `size` characters unchanged, zeros among them.
    virtual void write(const char* text, std::size_t size) { puts(std::string(text, size).c_str()); }
    /// Writes as printf does.
    void printf(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// The next character, -1 at the end.
    virtual int get_char() = 0;
    /// Puts the character that was read last back; again and again, down to the first.
    virtual void unget_char() = 0;
    virtual bool at_eos() = 0;
    /// Skips white space and comments up to the next expression.
    virtual void flush_whitespace() = 0;
    /// Where the next character is read or written, counted from the start; -1 where there is no such place.
    virtual std::ptrdiff_t tell() { return -1; }
    /// Goes to such a place, at the most to the end. False where that is not possible.
    virtual bool seek(std::ptrdiff_t /*place*/) { return false; }
    /// Hands on what has been written.
    virtual void flush() {}
    /// Lets go of what the stream reads or writes. Closing twice does nothing.
    virtual void close() = 0;
    /// Where the next character stands.
    virtual SourcePosition position() const { return {}; }

protected:
    ~CharStream() override = default;
};

/// A stream over a file.
class FileStream : public CharStream {
public:
    FileStream();
    ~FileStream() override;

    /// Opens a file with a mode of the C library ("r", "w", "a"). Null when that fails; what is then read is
    /// an error that names the file.
    FileStream* open(const char* fileName, const char* mode);

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    void puts(const char* text) override;
    void write(const char* text, std::size_t size) override;
    int get_char() override;
    void unget_char() override;
    bool at_eos() override;
    void flush_whitespace() override;
    std::ptrdiff_t tell() override;
    bool seek(std::ptrdiff_t place) override;
    void flush() override;
    void close() override;
    SourcePosition position() const override;

private:
    struct File;
    File* m_file;
};

/// A stream over a text in memory.
class StringStream : public CharStream {
public:
    StringStream();
    /// Copies a zero-terminated text.
    explicit StringStream(const char* text);
    ~StringStream() override;

    /// Compiles and runs the whole text and returns the last result; null when the text holds no expression.
    Value* execute_vf(Value** arguments, int count);

    const ValueMetaClass& value_class() const override;
    /// The accumulated text.
    const char* to_string() override;
    void sprin1(CharStream* stream) override;
    void puts(const char* text) override;
    void write(const char* text, std::size_t size) override;
    int get_char() override;
    void unget_char() override;
    bool at_eos() override;
    void flush_whitespace() override;
    std::ptrdiff_t tell() override;
    bool seek(std::ptrdiff_t place) override;
    void close() override;
    SourcePosition position() const override;

private:
    struct Buffer;
    Buffer* m_buffer;
};
