#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"

#include <algorithm>
#include <array>

namespace corrivane::host {

namespace {

using Kind = ContextExpression::Kind;

struct ContextWord {
    std::string_view word;
    Kind kind;
};

/// Contexts of the form `word on`.
constexpr auto switches = std::to_array<ContextWord>({
    {"animate", Kind::animate},
    {"undo", Kind::other},
    {"redraw", Kind::other},
    {"quiet", Kind::other},
    {"printallelements", Kind::print_all_elements},
    {"mxscallstackcaptureenabled", Kind::other},
    {"dontrepeatmessages", Kind::other},
    {"macrorecorderemitterenabled", Kind::other},
    {"defaultaction", Kind::other},
});

const ContextWord* find_switch(const Token& token) {
    if (token.kind != TokenKind::identifier && token.kind != TokenKind::keyword_argument) return nullptr;
    const auto* found = std::find_if(switches.begin(), switches.end(),
                                     [&](const ContextWord& entry) { return entry.word == token.key; });
    return found == switches.end() || token.quoted ? nullptr : found;
}

/// Whether a token can begin the operand of a context, and is on the same line.
bool begins_operand(const Token& token) {
    switch (token.kind) {
        case TokenKind::end:
        case TokenKind::separator:
        case TokenKind::reserved:
        case TokenKind::keyword_argument:
            return false;
        case TokenKind::sign:
            return token.space_before && (token.is_sign("(") || token.is_sign("::"));
        default:
            return true;
    }
}

}  // namespace

bool Compiler::context_follows() {
    const Token& word = peek();
    const Token& next = peek(1);
    if (find_switch(word) != nullptr)
        return begins_operand(next) || (next.kind == TokenKind::keyword_argument && next.key == "label");
    if (word.is_word("at")) return next.is_word("time") || next.is_word("level");
    if (word.is_word("coordsys") && next.is_reserved("local")) return true;
    return (word.is_word("coordsys") || word.is_word("about")) && begins_operand(next);
}

/// Reads the system's word, or its node or matrix.
Node* Compiler::parse_coordinate_system(ContextExpression::Part& part) {
    struct System {
        std::string_view word;
        CoordinateSystem system;
    };
    static constexpr auto systems = std::to_array<System>({{"world", CoordinateSystem::world},
                                                           {"parent", CoordinateSystem::parent},
                                                           {"local", CoordinateSystem::local},
                                                           {"screen", CoordinateSystem::world},
                                                           {"grid", CoordinateSystem::world}});
    for (const auto& [word, system] : systems) {
        if (!peek().is_word(word)) continue;
        const int line = take().line;
        part.system = system;
        // Only the world's axes are the view's and the grid's in a host without a view.
        if (word == "screen") return make<AbsentStatement>(line, "view coordinates");
        return nullptr;
    }
    return parse_operand(true).node;
}

void Compiler::parse_context(ContextExpression& expression, Temporaries& temporaries) {
    accept_reserved("with");
    const bool within = accept_reserved("in");
    ContextExpression::Part part{Kind::other};
    if (const ContextWord* found = within ? nullptr : find_switch(peek())) {
        part.kind = found->kind;
        // `undo "label" on`, `undo label:"label" on`.
        const bool has_label = take().key == "undo";
        if (has_label && peek().kind == TokenKind::keyword_argument) take();
        if (has_label && peek().kind == TokenKind::text) take();
        part.operand = parse_operand(true).node;
    } else if (peek().is_word("at") && peek(1).is_word("time")) {
        take();
        take();
        part.kind = Kind::time;
        part.operand = parse_argument();
    } else if (peek().is_word("coordsys")) {
        take();
        part.kind = Kind::coordinate_system;
        part.operand = parse_coordinate_system(part);
    } else if (within || peek().is_word("at") || peek().is_word("about")) {
        const int line = peek().line;
        if (!within && take().is_word("at")) take();
        parse_operand(true);
        part.operand =
            make<AbsentStatement>(line, within ? "in-object context" : "level or centre of transformations");
    } else {
        fail_at_token("a context");
    }
    temporaries.extend(place());
    expression.add(part);
}

Node* Compiler::parse_context_expression() {
    const int line = peek().line;
    Temporaries temporaries(*m_unit, 1, place());
    auto* expression = make<ContextExpression>(line, temporaries.first());
    do {
        skip_separators();
        parse_context(*expression, temporaries);
    } while (accept_sign(","));
    skip_separators();
    expression->set_body(parse_expression());
    return expression;
}

/// `set animate on`, `set time 5`.
Node* Compiler::parse_set() {
    const int line = take().line;
    Temporaries temporaries(*m_unit, 1, place());
    auto* expression = make<ContextExpression>(line, temporaries.first());
    if (peek().is_word("time")) {
        take();
        expression->add({Kind::time, parse_argument()});
    } else {
        parse_context(*expression, temporaries);
    }
    return expression;
}

/// `when transform $ changes id:#x node do …`, `when $ deleted do …`.
Node* Compiler::parse_when() {
    const int line = take().line;
    while (!peek().is_reserved("do")) {
        if (peek().kind == TokenKind::end || peek().kind == TokenKind::separator)
            fail_at_token("do behind when");
        if (peek().is_any_word() || peek().kind == TokenKind::keyword_argument || peek().is_sign("&")) {
            take();
        } else {
            parse_operand(true);
        }
    }
    take();
    skip_separators();
    CodeUnit unit;
    {
        const UnitScope scope(m_unit, unit, nullptr, nullptr);
        ++m_unused_depth;
        parse_expression();
        --m_unused_depth;
    }
    return make<AbsentStatement>(line, "change handlers");
}

/// `max file open`: a command of a menu.
Node* Compiler::parse_max_command() {
    std::string command = take().text;
    const int line = peek().line;
    while (peek().is_any_word() || peek().kind == TokenKind::integer)
        command += " " + take().text;
    return make<AbsentStatement>(line, "menu commands: " + command);
}

/// `persistent global name = value`.
Node* Compiler::parse_persistent() {
    take();
    return parse_declarations();
}

}  // namespace corrivane::host
