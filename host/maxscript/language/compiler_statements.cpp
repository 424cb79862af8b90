#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"

namespace corrivane::host {

Node* Compiler::parse_if() {
    const int line = take().line;
    skip_separators();
    Node* condition = parse_expression();
    const bool without_else = accept_reserved_on_next_line("do");
    if (!without_else) expect_reserved("then", "or do behind the condition");
    skip_separators();
    Node* then_part = parse_expression();
    Node* else_part = nullptr;
    if (!without_else && accept_reserved_on_next_line("else")) {
        skip_separators();
        else_part = parse_expression();
    }
    return make<If>(line, condition, then_part, else_part);
}

/// A label up to its colon; null for the default.
Node* Compiler::parse_case_label() {
    if (peek().kind == TokenKind::keyword_argument) m_lexer->split_keyword();
    Node* label = nullptr;
    if (peek().is_word("default") && peek(1).is_sign(":")) {
        take();
    } else {
        label = parse_operation(1).node;
    }
    skip_separators();
    expect_sign(":", "behind the label");
    return label;
}

Node* Compiler::parse_case() {
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    Node* subject = peek().is_reserved("of") ? nullptr : parse_expression();
    expect_reserved("of", "behind case");
    skip_separators();
    expect_sign("(", "before the first label");
    const InCase in_case(m_in_case, true);
    std::vector<Case::Branch> branches;
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        Node* label = parse_case_label();
        skip_separators();
        branches.push_back({label, parse_expression()});
        accept_sign(",");
    }
    return make<Case>(line, subject, std::move(branches), temporaries.first());
}

Node* Compiler::parse_loop_body() {
    skip_separators();
    ++m_unit->loops;
    Node* body = parse_expression();
    --m_unit->loops;
    return body;
}

Node* Compiler::parse_while() {
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    skip_separators();
    Node* condition = parse_expression();
    expect_reserved("do", "behind the condition");
    Node* body = parse_loop_body();
    return make<While>(line, condition, body, false, temporaries.first());
}

Node* Compiler::parse_do() {
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    Node* body = parse_loop_body();
    expect_reserved("while", "behind the loop");
    skip_separators();
    Node* condition = parse_expression();
    return make<While>(line, condition, body, true, temporaries.first());
}

/// `i`, or `i, number, number_of_those_that_pass`.
std::vector<Token> Compiler::parse_for_variables() {
    std::vector<Token> variables;
    do {
        if (peek().kind != TokenKind::identifier) fail_at_token("the loop's variable");
        variables.push_back(take());
    } while (variables.size() < 3 && accept_sign(","));
    return variables;
}

Node* Compiler::parse_for() {
    const int line = take().line;
    const std::vector<Token> variables = parse_for_variables();
    if (!accept_sign("=") && !accept_reserved("in")) fail_at_token("= or in behind the loop's variable");
    const Temporaries temporaries(*m_unit, 4, place());
    skip_separators();
    Node* from = parse_operation(1).node;
    if (!accept_reserved_on_next_line("to")) {
        const ForParts parts = parse_for_parts(variables);
        return make<ForIn>(line, from, parts, temporaries.first());
    }
    skip_separators();
    Node* last = parse_operation(1).node;
    Node* step = nullptr;
    if (accept_reserved_on_next_line("by")) {
        skip_separators();
        step = parse_operation(1).node;
    }
    const ForParts parts = parse_for_parts(variables);
    return make<ForRange>(line, from, last, step, parts, temporaries.first());
}

/// Reads while, where, do or collect and the body, in which the variables are known.
ForParts Compiler::parse_for_parts(const std::vector<Token>& variables) {
    ForParts parts;
    for (std::size_t i = 0; i < variables.size(); ++i)
        parts.locals[i] = m_unit->declare_loop_variable(variables[i].key, place());
    for (;;) {
        if (accept_reserved_on_next_line("where")) {
            skip_separators();
            parts.where = parse_operation(1).node;
        } else if (accept_reserved_on_next_line("while")) {
            skip_separators();
            parts.while_part = parse_operation(1).node;
        } else {
            break;
        }
    }
    parts.collects = accept_reserved_on_next_line("collect");
    if (!parts.collects) expect_reserved("do", "or collect");
    parts.body = parse_loop_body();
    for (std::size_t i = variables.size(); i-- > 0;)
        m_unit->undeclare(variables[i].key, *parts.locals[i]);
    return parts;
}

Node* Compiler::parse_try() {
    const int line = take().line;
    skip_separators();
    Node* body = parse_expression();
    expect_reserved("catch", "behind try");
    skip_separators();
    Node* handler = parse_expression();
    return make<Try>(line, body, handler);
}

Node* Compiler::parse_exit() {
    if (m_unit->loops == 0) fail_at_token("a loop around it");
    const int line = take().line;
    Node* carried = accept_reserved("with") ? parse_expression() : nullptr;
    return make<Leave>(line, Flow::exit_loop, carried);
}

Node* Compiler::parse_continue() {
    if (m_unit->loops == 0) fail_at_token("a loop around it");
    return make<Leave>(take().line, Flow::continue_loop, nullptr);
}

Node* Compiler::parse_return() {
    const int line = take().line;
    const bool bare = peek().kind == TokenKind::separator || peek().kind == TokenKind::end ||
                      peek().is_sign(")") || peek().is_reserved("else") || peek().is_sign(",");
    return make<Leave>(line, Flow::return_function, bare ? nullptr : parse_expression());
}

/// A name of local or global, with the value it starts with.
Node* Compiler::parse_declared(bool is_global) {
    skip_separators();
    if (peek().kind != TokenKind::identifier) fail_at_token("the name of a variable");
    const Token name = take();
    const Temporaries temporaries(*m_unit, 3, place());
    Node* content = nullptr;
    continues_on_next_line([](const Token& next) { return next.is_sign("="); });
    if (accept_sign("=")) {
        skip_separators();
        content = parse_expression();
    }
    Variable* variable =
        is_global ? declare_global(name) : variable_of(m_unit->declare(name.key, place()), name.line);
    if (content == nullptr && is_global) return variable;
    // A local starts anew each time that its declaration is passed.
    if (content == nullptr) content = make<Literal>(name.line, &undefined);
    return make<Assignment>(name.line, variable, std::nullopt, content, temporaries.first() + 2);
}

Variable* Compiler::declare_global(const Token& name) {
    Global& variable = global(name.text);
    variable.declare();
    if (!at_top_level()) m_unit->declare_global(name.key, variable);
    return make<Variable>(name.line, &variable);
}

Node* Compiler::parse_declarations() {
    const Token word = take();
    const bool is_global = word.is_reserved("global");
    if (!is_global && at_top_level())
        raise_compile_error("No local declarations at top level", m_lexer->place(word.line));
    // `local fn` is a function, which is local anyway.
    if (peek().is_reserved("fn") || peek().is_reserved("function") || peek().is_reserved("struct"))
        return parse_expression();
    std::vector<const Node*> parts;
    do {
        parts.push_back(parse_declared(is_global));
        continues_on_next_line([](const Token& next) { return next.is_sign(","); });
    } while (accept_sign(","));
    return make<Declaration>(word.line, std::move(parts));
}

}  // namespace corrivane::host
