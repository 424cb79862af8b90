#pragma once

#include <max/maxscript/streams.h>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

namespace corrivane::host {

/// The Listener's output: what scripts print and what the product writes. Goes to standard output, a log file
/// and a function, as far as each is wanted. Nothing can be read from it. Not on the heap.
class ListenerStream final : public CharStream {
public:
    ListenerStream() = default;

    void set_stdout(bool wanted) { m_stdout = wanted; }
    /// The log belongs to the Listener, which closes it when it gets another one, or null for none.
    void set_log(std::FILE* log);
    void set_receiver(std::function<void(std::string_view)> receiver) { m_receiver = std::move(receiver); }

    const ValueMetaClass& value_class() const override;
    void sprin1(CharStream* stream) override;
    void puts(const char* text) override;
    void write(const char* text, std::size_t size) override;
    int get_char() override;
    void unget_char() override {}
    bool at_eos() override { return true; }
    void flush_whitespace() override {}
    void close() override {}

private:
    ~ListenerStream() override = default;

    bool m_stdout = false;
    std::FILE* m_log = nullptr;
    std::function<void(std::string_view)> m_receiver;
};

ListenerStream& listener_stream();

}  // namespace corrivane::host
