#include "script_examples.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace corrivane::test {

namespace {

constexpr std::string_view left_out = "…";

/// Reads a document line by line, with their numbers.
class DocumentReader {
public:
    explicit DocumentReader(const std::filesystem::path& document) : m_stream(document) {
        if (!m_stream) throw std::runtime_error("cannot read " + document.string());
    }

    std::optional<std::string> next() {
        std::string line;
        if (!std::getline(m_stream, line)) return std::nullopt;
        ++m_line;
        return line;
    }
    int line() const { return m_line; }

    /// The lines up to the fence that closes the block.
    std::string block() {
        const int start = m_line;
        std::string content;
        for (auto line = next(); line != "```"; line = next()) {
            if (!line) throw std::runtime_error("line " + std::to_string(start) + ": the block does not end");
            content += *line + "\n";
        }
        return content;
    }

private:
    std::ifstream m_stream;
    int m_line = 0;
};

}  // namespace

bool ScriptExample::is_session() const {
    return outcome.starts_with("worker: ");
}

std::vector<ScriptExample> read_script_examples(const std::filesystem::path& document) {
    DocumentReader reader(document);
    std::vector<ScriptExample> examples;
    while (const auto line = reader.next()) {
        if (*line != "```maxscript") continue;
        ScriptExample example;
        example.line = reader.line();
        example.script = reader.block();
        if (reader.next() != "```text") {
            throw std::runtime_error("line " + std::to_string(example.line) +
                                     ": no text block says what comes of the script");
        }
        example.outcome = reader.block();
        examples.push_back(std::move(example));
    }
    return examples;
}

std::vector<std::string> lines_of(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

bool matches_outline(const std::string& text, const std::string& pattern) {
    std::size_t gap = pattern.find(left_out);
    if (gap == std::string::npos) return text == pattern;
    if (!text.starts_with(pattern.substr(0, gap))) return false;
    std::size_t at = gap;
    for (;;) {
        const std::size_t start = gap + left_out.size();
        gap = pattern.find(left_out, start);
        const std::string part = pattern.substr(start, gap == std::string::npos ? gap : gap - start);
        if (gap == std::string::npos) return text.size() >= at + part.size() && text.ends_with(part);
        at = text.find(part, at);
        if (at == std::string::npos) return false;
        at += part.size();
    }
}

}  // namespace corrivane::test
