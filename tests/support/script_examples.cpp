#include "support/script_examples.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace corrivane::test {

namespace {

constexpr std::string_view left_out = "…";
constexpr std::string_view arrow = "-->";
constexpr std::string_view line_break = "⏎";

[[noreturn]] void fail(int line, const char* what) {
    throw std::runtime_error("line " + std::to_string(line) + ": " + what);
}

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
            if (!line) fail(start, "the block does not end");
            content += *line + "\n";
        }
        return content;
    }

private:
    std::ifstream m_stream;
    int m_line = 0;
};

std::string with_line_breaks(std::string text) {
    for (std::size_t at = 0; (at = text.find(line_break, at)) != std::string::npos;)
        text.replace(at, line_break.size(), "\n");
    return text;
}

/// The examples of a block with one in each line; `number` is that of the line before the first.
void add_lines(std::vector<ScriptExample>& examples, const std::string& block, int number) {
    for (const std::string& line : lines_of(block)) {
        const std::size_t at = line.find(arrow);
        ++number;
        if (at != std::string::npos) {
            const std::size_t end = line.find_last_not_of(' ', at - 1) + 1;
            const std::size_t outcome = std::min(at + arrow.size() + 1, line.size());
            examples.push_back({number, with_line_breaks(at == 0 ? "" : line.substr(0, end)),
                                with_line_breaks(line.substr(outcome))});
        } else if (!line.starts_with("-- ") && !line.empty()) {
            fail(number, "the line does not say what comes of the script");
        }
    }
}

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
        if (example.script.find(arrow) != std::string::npos) {
            add_lines(examples, example.script, example.line);
            continue;
        }
        if (reader.next() != "```text") fail(example.line, "no text block says what comes of the script");
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
