#include "maxscript/language/compiler.h"
#include "maxscript/language/nesting.h"
#include "maxscript/machine/errors.h"

#include <algorithm>
#include <array>

namespace corrivane::host {

namespace {

/// A kind of definition with a user interface.
struct DefinitionWord {
    std::string_view word;
    /// How its value is printed; a definition of none defines no variable.
    const char* kind;
    /// Whether expressions may stand among the handlers.
    bool expressions_too;
};

constexpr auto definitions = std::to_array<DefinitionWord>({
    {"rollout", "Rollout", false},
    {"utility", "Utility", false},
    {"rcmenu", "RCMenu", false},
    {"tool", "MouseTool", false},
    {"plugin", "Plugin", false},
    {"attributes", "AttributeDef", false},
    {"macroscript", "MacroScript", true},
});

const DefinitionWord* find_definition(const Token& token) {
    if (token.kind != TokenKind::identifier || token.quoted) return nullptr;
    const auto* found = std::find_if(definitions.begin(), definitions.end(),
                                     [&](const DefinitionWord& entry) { return entry.word == token.key; });
    return found == definitions.end() ? nullptr : found;
}

bool names_something(const Token& token) {
    return token.is_any_word() || token.kind == TokenKind::text;
}

}  // namespace

bool Compiler::definition_follows() {
    return find_definition(peek()) != nullptr && names_something(peek(1));
}

/// An option's value. `ui:(a, b)` lists controls.
void Compiler::parse_option_value() {
    skip_separators();
    if (!accept_sign("(")) {
        parse_argument();
        return;
    }
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        if (!accept_sign(",")) parse_expression();
        if (peek().kind == TokenKind::end) fail_at_token(") behind the option");
    }
}

/// Whether a title or caption follows. A word is one where it does not begin the next control.
bool Compiler::caption_follows() {
    if (peek().kind == TokenKind::text) return true;
    if (peek().is_sign("(")) return title_in_brackets();
    return peek().kind == TokenKind::identifier && !names_something(peek(1)) && !handler_follows();
}

/// Whether the bracket that follows is a title, since options or the body follow it on its line.
bool Compiler::title_in_brackets() {
    int depth = 0;
    for (std::size_t ahead = 0;; ++ahead) {
        const Token& token = peek(ahead);
        if (token.kind == TokenKind::end) return false;
        if (token.kind != TokenKind::sign) continue;
        const char last = token.text.back();
        if (last == '(' || last == '[' || last == '{') ++depth;
        if (last == ')' || last == ']' || last == '}') --depth;
        if (depth == 0)
            return peek(ahead + 1).kind == TokenKind::keyword_argument || peek(ahead + 1).is_sign("(");
    }
}

/// What follows a definition's name: a title and options, over any number of lines.
void Compiler::parse_definition_options() {
    for (bool captioned = false;;) {
        continues_on_next_line([](const Token& next) { return next.kind == TokenKind::keyword_argument; });
        if (peek().kind == TokenKind::keyword_argument) {
            take();
            parse_option_value();
        } else if (!captioned && caption_follows()) {
            parse_argument();
            captioned = true;
        } else {
            return;
        }
    }
}

Node* Compiler::parse_definition() {
    const Nesting nesting(m_depth, m_thread, place());
    const InCase in_case(m_in_case, false);
    const DefinitionWord& definition = *find_definition(peek());
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    const bool named = peek().is_any_word();
    const std::string name = take().text;
    // A plug-in's class comes before its name.
    const std::string own_name = definition.word == "plugin" && peek().is_any_word() ? take().text : name;
    const bool makes_variable = named && definition.word != "macroscript";
    Variable* target = makes_variable ? define_name(own_name, line, true) : nullptr;
    CodeUnit unit;
    ++m_unused_depth;
    {
        const UnitScope scope(m_unit, unit, nullptr, nullptr);
        parse_definition_options();
        skip_separators();
        expect_sign("(", "before the definition's body");
        parse_clauses(definition.expressions_too);
    }
    --m_unused_depth;
    return make<InterfaceDefinition>(line, definition.kind, own_name, target, temporaries.first());
}

/// Reads clauses up to and with the closing bracket.
void Compiler::parse_clauses(bool expressions_too) {
    const Nesting nesting(m_depth, m_thread, place());
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        if (peek().kind == TokenKind::end) fail_at_token(") at the end of the definition");
        if (accept_sign(",")) continue;
        parse_clause(expressions_too);
    }
}

bool Compiler::handler_follows() {
    if (!peek().is_word("on") || !peek(1).is_any_word()) return false;
    // `on` is also what `true` is.
    return !peek(1).is_reserved("do") || peek(2).is_any_word();
}

void Compiler::parse_clause(bool expressions_too) {
    const Token& word = peek();
    if (handler_follows()) return parse_handler();
    if (word.is_word("group") && (peek(1).kind == TokenKind::text || peek(1).is_sign("(")))
        return parse_group();
    if (word.is_word("submenu") && !expressions_too) return parse_group();
    if (word.is_word("parameters") && names_something(peek(1))) return parse_parameter_block();
    const bool is_control = word.kind == TokenKind::identifier && !definition_follows() &&
                            names_something(peek(1)) && !word.is_word("persistent") &&
                            !word.is_word("include");
    if (is_control && !expressions_too) return parse_control();
    parse_expression();
    if (expressions_too && peek().kind != TokenKind::separator && !peek().is_sign(")"))
        fail_at_token("the end of the line or )");
}

/// `on button pressed do …`, `on slider changed value do …`, `on isEnabled return …`.
void Compiler::parse_handler() {
    take();
    CodeUnit unit;
    const UnitScope scope(m_unit, unit, nullptr, nullptr);
    while (!peek().is_reserved("do") && !peek().is_reserved("return") && !peek().is_sign("=")) {
        continues_on_next_line([](const Token& next) { return next.is_reserved("do"); });
        if (peek().is_reserved("do")) break;
        const bool named = peek().is_any_word() || peek().kind == TokenKind::keyword_argument;
        if (!named && !peek().is_sign("&")) fail_at_token("do behind the handler's event");
        const Token parameter = take();
        if (named) m_unit->declare(parameter.key, place());
    }
    take();
    skip_separators();
    parse_expression();
}

/// `button name "caption" width:100`: a kind, a name and what the control is made with.
void Compiler::parse_control() {
    take();
    if (peek().is_any_word()) m_unit->declare(take().key, place());
    // A caption in brackets can be nothing else.
    if (peek().is_sign("(")) parse_argument();
    parse_definition_options();
}

/// `group "caption" (…)`, `subMenu "caption" (…)`.
void Compiler::parse_group() {
    take();
    parse_definition_options();
    skip_separators();
    expect_sign("(", "before the group's controls");
    parse_clauses(false);
}

/// `parameters name rollout:name (name type:#float … on name set value do …)`.
void Compiler::parse_parameter_block() {
    take();
    take();
    parse_definition_options();
    skip_separators();
    expect_sign("(", "before the parameters");
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        if (accept_sign(",")) continue;
        if (handler_follows()) {
            parse_handler();
            continue;
        }
        if (!peek().is_any_word()) fail_at_token("a parameter's name");
        m_unit->declare(take().key, place());
        parse_definition_options();
    }
}

}  // namespace corrivane::host
