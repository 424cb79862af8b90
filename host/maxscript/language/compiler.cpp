#include "maxscript/language/compiler.h"

#include "maxscript/language/nesting.h"
#include "maxscript/machine/errors.h"

#include <algorithm>
#include <array>

namespace corrivane::host {

namespace {

constexpr std::size_t longest_shown_token = 40;

std::string shown(const Token& token) {
    if (token.kind == TokenKind::end) return "the end of the script";
    if (token.kind == TokenKind::text) return "\"" + token.text.substr(0, longest_shown_token) + "\"";
    if (token.kind == TokenKind::name) return "#" + token.text.substr(0, longest_shown_token);
    return token.text.substr(0, longest_shown_token) + (token.kind == TokenKind::keyword_argument ? ":" : "");
}

}  // namespace

Compiler::Compiler(CharStream& stream, CompiledCode& code)
    : m_own_lexer(stream), m_code(code), m_thread(thread_state()) {}

bool Compiler::compile() {
    CodeUnit& unit = m_code.main();
    unit.file = m_lexer->file();
    const UnitScope scope(m_unit, unit, nullptr, nullptr);
    skip_separators();
    const bool found = peek().kind != TokenKind::end;
    unit.body = found ? parse_expression() : make<Literal>(peek().line, &ok);
    if (peek().kind != TokenKind::end && peek().kind != TokenKind::separator)
        fail_at_token("the end of the line");
    return found;
}

void Compiler::skip_expression() {
    // An included file that fails fails the expression that includes it.
    m_lexer = &m_own_lexer;
    m_lexer->skip_expression();
}

bool Compiler::accept_sign(std::string_view sign) {
    if (!peek().is_sign(sign)) return false;
    take();
    return true;
}

bool Compiler::accept_reserved(std::string_view word) {
    if (!peek().is_reserved(word)) return false;
    take();
    return true;
}

void Compiler::expect_sign(std::string_view sign, const char* purpose) {
    if (!accept_sign(sign)) fail_at_token(std::string(sign) + " " + purpose);
}

void Compiler::expect_reserved(std::string_view word, const char* purpose) {
    if (!accept_reserved_on_next_line(word)) fail_at_token(std::string(word) + " " + purpose);
}

void Compiler::skip_separators() {
    while (peek().kind == TokenKind::separator)
        take();
}

bool Compiler::accept_reserved_on_next_line(std::string_view word) {
    const bool separated = peek().kind == TokenKind::separator;
    if (!peek(separated ? 1 : 0).is_reserved(word)) return false;
    skip_separators();
    take();
    return true;
}

std::string Compiler::expect_identifier(const char* purpose) {
    if (peek().kind != TokenKind::identifier) fail_at_token(purpose);
    return take().text;
}

void Compiler::fail_at_token(const std::string& expected) {
    raise_syntax_error("at " + shown(peek()) + ", expected " + expected, place());
}

Node* Compiler::parse_expression() {
    const Nesting nesting(m_depth, m_thread, place());
    if (peek().kind == TokenKind::reserved && !peek().is_reserved("not")) return parse_statement();
    if (peek().kind == TokenKind::identifier && !peek().quoted) {
        if (context_follows()) return parse_context_expression();
        if (definition_follows()) return parse_definition();
        if (Node* statement = parse_statement_of_words()) return statement;
    }
    return parse_assignment();
}

/// Statements that begin with two words, of which the first alone is a name.
Node* Compiler::parse_statement_of_words() {
    const Token& word = peek();
    const Token& next = peek(1);
    if (word.key == "persistent" && next.is_reserved("global")) return parse_persistent();
    if (word.key == "include" && next.kind == TokenKind::text) return parse_include();
    const bool word_behind = next.is_any_word() && !is_operator(next);
    if (word.key == "swap" && word_behind) return parse_swap();
    if (word.key == "max" && word_behind) return parse_max_command();
    if (word.key == "set" && word_behind) return parse_set();
    if (word.key == "when" && (word_behind || next.kind == TokenKind::path)) return parse_when();
    return nullptr;
}

Node* Compiler::parse_statement() {
    struct Statement {
        std::string_view word;
        Node* (Compiler::*parse)();
    };
    const std::string& word = peek().key;
    static constexpr auto statements = std::to_array<Statement>({
        {"if", &Compiler::parse_if},
        {"case", &Compiler::parse_case},
        {"while", &Compiler::parse_while},
        {"do", &Compiler::parse_do},
        {"for", &Compiler::parse_for},
        {"try", &Compiler::parse_try},
        {"exit", &Compiler::parse_exit},
        {"continue", &Compiler::parse_continue},
        {"return", &Compiler::parse_return},
        {"local", &Compiler::parse_declarations},
        {"global", &Compiler::parse_declarations},
        {"fn", &Compiler::parse_function},
        {"function", &Compiler::parse_function},
        {"mapped", &Compiler::parse_function},
        {"struct", &Compiler::parse_struct},
        {"with", &Compiler::parse_context_expression},
        {"in", &Compiler::parse_context_expression},
    });
    const auto* found = std::find_if(statements.begin(), statements.end(),
                                     [&](const Statement& statement) { return statement.word == word; });
    if (found == statements.end()) fail_at_token("an expression");
    return (this->*found->parse)();
}

Variable* Compiler::variable_of(Binding& binding, int line) {
    if (binding.kind == Variable::Kind::global) return make<Variable>(line, binding.global);
    auto* variable =
        make<Variable>(line, binding.reference ? Variable::Kind::reference : binding.kind, binding.number);
    if (binding.kind == Variable::Kind::local) binding.mentions.push_back(variable);
    return variable;
}

void Compiler::share(Binding& binding) {
    if (binding.kind != Variable::Kind::local) return;
    binding.reference = true;
    for (Variable* mention : binding.mentions)
        mention->become_reference();
}

Variable* Compiler::resolve(const Token& token) {
    return resolve_in(*m_unit, token.key, token.line);
}

Variable* Compiler::resolve_in(UnitScope& unit, const std::string& name, int line) {
    Binding* binding = unit.find(name);
    if (binding == nullptr) {
        if (unit.structure != nullptr) {
            if (name == "this") return make<Variable>(line, Variable::Kind::self, 0);
            if (const auto member = unit.structure->text->find(name))
                return make<Variable>(line, Variable::Kind::member, *member);
        }
        if (Variable* outside = resolve_outside(unit, name, line)) return outside;
        if (Global* known = find_global(name)) return make<Variable>(line, known);
        if (at_top_level()) return top_level_variable(name, line);
        Binding& made = unit.declare(name, m_lexer->place(line));
        made.implicit = true;
        binding = &made;
    }
    Variable* variable = variable_of(*binding, line);
    if (binding->implicit && unit.structure != nullptr)
        unit.structure->unsettled.emplace_back(variable, name);
    return variable;
}

/// Looks in the code around a unit, whose variables its functions share.
Variable* Compiler::resolve_outside(UnitScope& unit, const std::string& name, int line) {
    if (unit.outer == nullptr) return nullptr;
    Binding* binding = unit.outer->find(name);
    if (binding == nullptr) {
        Variable* further_out = resolve_outside(*unit.outer, name, line);
        // A function from further out has been brought into the next unit; a global has not.
        binding = unit.outer->find(name);
        if (binding == nullptr) return further_out;
    }
    if (binding->kind == Variable::Kind::global) return make<Variable>(line, binding->global);
    if (m_unused_depth > 0) return make<Variable>(line, &global("undefined"));
    if (unit.function == nullptr)
        raise_compile_error("No outer local variable references permitted here: " + name,
                            m_lexer->place(line));
    share(*binding);
    unit.capture(name, variable_of(*binding, line));
    return variable_of(*unit.find(name), line);
}

/// Outside of all blocks a name is global from its first mention on.
Variable* Compiler::top_level_variable(const std::string& name, int line) {
    Global& variable = global(name);
    variable.declare();
    return make<Variable>(line, &variable);
}

Variable* Compiler::define_name(const std::string& name, int line, bool is_dialog) {
    const std::string key = lower_case(name);
    if (at_top_level()) return top_level_variable(name, line);
    if (const Binding* binding = m_unit->find(key);
        binding != nullptr && binding->kind == Variable::Kind::global)
        return make<Variable>(line, binding->global);
    // A dialog that the script around it declares global is what the next run finds open.
    Global* known = is_dialog ? find_global(key) : nullptr;
    if (known != nullptr && !known->is_read_only()) return make<Variable>(line, known);
    return variable_of(m_unit->declare(key, m_lexer->place(line)), line);
}

}  // namespace corrivane::host
