#pragma once

#include <max/maxscript/streams.h>

#include <cstddef>
#include <string>

namespace corrivane::host {

/// A stream that lives on the native stack and collects what is printed. Nothing can be read from it.
class TextSink final : public CharStream {
public:
    /// Thrown into what prints when the text has become longer than wanted.
    struct Full {};

    explicit TextSink(std::size_t limit = std::string::npos) : m_limit(limit) {}
    ~TextSink() override = default;

    const std::string& text() const { return m_text; }

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    void puts(const char* text) override {
        m_text += text;
        check();
    }
    void write(const char* text, std::size_t size) override {
        m_text.append(text, size);
        check();
    }
    int get_char() override { return -1; }
    void unget_char() override {}
    bool at_eos() override { return true; }
    void flush_whitespace() override {}
    void close() override {}

private:
    void check() const {
        if (m_text.size() > m_limit) throw Full();
    }

    std::string m_text;
    std::size_t m_limit;
};

}  // namespace corrivane::host
