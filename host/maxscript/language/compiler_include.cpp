#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"

#include <max/maxscript/streams.h>

namespace corrivane::host {

namespace {

constexpr int deepest_include = 50;

/// The name beside the file that includes it, where it is no name from a drive's or share's root on.
std::string beside(const std::string& including, const std::string& name) {
    const bool from_root =
        name.find(':') != std::string::npos || name.starts_with("\\") || name.starts_with("/");
    const std::size_t separator = including.find_last_of("\\/");
    if (from_root || separator == std::string::npos) return name;
    return including.substr(0, separator + 1) + name;
}

}  // namespace

/// `include "file"`: the file's expressions stand in its place.
Node* Compiler::parse_include() {
    const int line = take().line;
    const std::string name = beside(*m_lexer->file(), take().text);
    if (m_include_depth == deepest_include)
        raise_compile_error("files include each other too deeply: " + name, m_lexer->place(line));
    auto* stream = new FileStream;
    m_code.keep(stream);
    if (stream->open(name.c_str(), "r") == nullptr)
        raise_compile_error("Can't open include file: " + name, m_lexer->place(line));
    Lexer lexer(*stream);
    Lexer* const including = std::exchange(m_lexer, &lexer);
    ++m_include_depth;
    std::vector<const Node*> expressions;
    for (skip_separators(); peek().kind != TokenKind::end; skip_separators()) {
        expressions.push_back(parse_expression());
        if (peek().kind != TokenKind::separator && peek().kind != TokenKind::end)
            fail_at_token("the end of the line");
    }
    --m_include_depth;
    m_lexer = including;
    stream->close();
    return make<IncludedCode>(line, lexer.file(), std::move(expressions));
}

}  // namespace corrivane::host
