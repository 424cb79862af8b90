#pragma once

#include "maxscript/language/lexer.h"
#include "maxscript/language/scopes.h"
#include "maxscript/machine/statements.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::host {

/// Compiles one expression of a stream. The code is rooted by the caller; names are resolved as far as they
/// are known.
///
// clang-format off
///   expression   assignment | if | case | while | do | for | try | fn | struct | local | global | return | exit
///   assignment   operation [ ( = | += | -= | *= | /= ) expression ]
///   operation    operands of unary, joined by or; and; not; comparisons; + -; * /; ^; as, from loose to tight
///   unary        - unary | call
///   call         operand { argument } { name: argument }       all on one line
///   operand      factor { .name | [ expression ] | () }
///   factor       number | string | #name | variable | ( block ) | #( array )
// clang-format on
class Compiler {
public:
    Compiler(CharStream& stream, CompiledCode& code);

    /// Reads the next expression and what separates it from the one behind it. False, and the code gives
    /// `ok`, when the stream holds none. Throws MAXScriptException for what is not MAXScript.
    bool compile();
    /// Puts the stream back behind the expression.
    void give_back() { m_lexer.give_back(); }

private:
    /// What kind of thing an operand is: whether it can be called, assigned or followed by a minus sign of
    /// its own.
    enum class Form { literal, variable, property, element, brackets, result };
    struct Operand {
        Node* node;
        Form form;
        /// For messages about a call.
        std::string name;
    };

    const Token& peek(std::size_t ahead = 0) { return m_lexer.peek(ahead); }
    ScriptPlace place() { return m_lexer.place(peek().line); }
    bool accept_sign(std::string_view sign);
    bool accept_reserved(std::string_view word);
    void expect_sign(std::string_view sign, const char* purpose);
    void expect_reserved(std::string_view word, const char* purpose);
    void skip_separators();
    /// Whether the word follows, on this line or on one of the next; skips to it then.
    bool accept_reserved_on_next_line(std::string_view word);
    std::string expect_identifier(const char* purpose);
    [[noreturn]] void fail_at_token(const std::string& expected);

    template <typename T, typename... Arguments>
    T* make(Arguments&&... arguments) {
        return m_code.make_node<T>(std::forward<Arguments>(arguments)...);
    }

    Node* parse_expression();
    Node* parse_statement(const std::string& word);
    Node* parse_assignment();
    Operand parse_operation(int least_rank);
    Operand continue_operation(const Operand& left, int rank);
    Operand parse_not();
    Operand parse_unary();
    Operand parse_call();
    void parse_arguments(Call& call, Temporaries& temporaries, Form callee);
    bool argument_follows(Form callee);
    Node* parse_argument();
    /// In an argument, `()` must stand right behind what it calls.
    Operand parse_operand(bool is_argument = false);
    bool suffix_follows(const Operand& operand, bool is_argument);
    Operand parse_suffix(const Operand& operand);
    Operand parse_factor();
    Node* parse_literal();
    Node* parse_block();
    Node* parse_array();

    Node* parse_if();
    Node* parse_case();
    Node* parse_case_label();
    Node* parse_while();
    Node* parse_do();
    Node* parse_for();
    Node* parse_for_range(const Token& variable);
    Node* parse_for_in(const Token& variable);
    ForParts parse_for_parts(const Token& variable);
    Node* parse_loop_body();
    Node* parse_try();
    Node* parse_exit();
    Node* parse_continue();
    Node* parse_return();
    Node* parse_declarations();
    Node* parse_declared(bool is_global);
    Variable* declare_global(const Token& name);
    Node* parse_function();
    /// Reads the parameters and the body.
    void parse_function_text(FunctionText& text, StructScope* structure);
    void parse_parameters(FunctionText& text);
    Node* parse_struct();
    void parse_members(StructDefinitionNode& definition, StructScope& structure);
    StructText::Member parse_member(StructDefinitionNode& definition, StructScope& structure);
    const CodeUnit* parse_first_value(StructDefinitionNode& definition, StructScope& structure);

    Variable* resolve(const Token& token);
    Variable* resolve_in(UnitScope& unit, const std::string& name, int line);
    Variable* resolve_outside(UnitScope& unit, const std::string& name, int line);
    Variable* variable_of(const Binding& binding, int line);
    /// The variable that a function or structure of this name is stored in.
    Variable* define_name(const std::string& name, int line, bool function);
    Variable* top_level_variable(const std::string& name, int line);
    bool at_top_level() const { return m_unit->outer == nullptr && !m_unit->in_block(); }

    Lexer m_lexer;
    CompiledCode& m_code;
    UnitScope* m_unit = nullptr;
    ThreadState& m_thread;
    int m_depth = 0;
};

}  // namespace corrivane::host
