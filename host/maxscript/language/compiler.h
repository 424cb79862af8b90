#pragma once

#include "maxscript/language/lexer.h"
#include "maxscript/language/scopes.h"
#include "maxscript/machine/contexts.h"
#include "maxscript/machine/literals.h"
#include "maxscript/machine/statements.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corrivane::host {

/// Compiles one expression of a stream. The code is rooted by the caller; names are resolved as far as they
/// are known.
///
// clang-format off
///   expression   assignment | if | case | while | do | for | try | fn | struct | local | global | return | exit
///                | context expression | definition of a rollout, utility, tool, menu, macro or plug-in
///   assignment   operation [ ( = | += | -= | *= | /= ) expression ]
///   operation    operands of unary, joined by or; and; not; comparisons; + -; * /; ^; as, from loose to tight
///   unary        - unary | call
///   call         operand { argument } { name: argument }       all on one line
///   operand      factor { .name | [ expression ] | () }
///   factor       number | time | string | #name | $path | variable | ( block ) | #( array ) | #{ bits } | [ point ]
///                | & operand | * operand
///
/// A line ends an expression unless something is still missing, or the next one begins with what no expression
/// begins with: an operator, a point, then, do, else, a keyword argument.
// clang-format on
class Compiler {
public:
    Compiler(CharStream& stream, CompiledCode& code);

    /// Reads the next expression and what separates it from the one behind it. False, and the code gives
    /// `ok`, when the stream holds none. Throws MAXScriptException for what is not MAXScript.
    bool compile();
    /// Puts the stream back behind the expression.
    void give_back() { m_lexer->give_back(); }
    /// Behind an error: skips the rest of the expression.
    void skip_expression();

private:
    /// Says for its lifetime whether `name:` begins a branch.
    class InCase {
    public:
        InCase(bool& in_case, bool holds) : m_in_case(in_case), m_before(std::exchange(in_case, holds)) {}
        ~InCase() { m_in_case = m_before; }
        InCase(const InCase&) = delete;
        InCase& operator=(const InCase&) = delete;

    private:
        bool& m_in_case;
        bool m_before;
    };

    /// What kind of thing an operand is: whether it can be called, assigned or followed by a minus sign of
    /// its own.
    enum class Form { literal, variable, property, element, brackets, result, dereferenced };
    struct Operand {
        Node* node;
        Form form;
        /// For messages about a call.
        std::string name;
    };

    const Token& peek(std::size_t ahead = 0) { return m_lexer->peek(ahead); }
    ScriptPlace place() { return m_lexer->place(peek().line); }
    bool accept_sign(std::string_view sign);
    bool accept_reserved(std::string_view word);
    Token take() { return m_lexer->take(); }
    void expect_sign(std::string_view sign, const char* purpose);
    void expect_reserved(std::string_view word, const char* purpose);
    void skip_separators();
    /// Whether the word follows, on this line or on one of the next; skips to it then.
    bool accept_reserved_on_next_line(std::string_view word);
    /// The token behind the ends of lines that follow, which are skipped if it is wanted.
    template <typename Wanted>
    bool continues_on_next_line(Wanted wanted) {
        if (!peek().is_new_line() || !wanted(peek(1))) return false;
        skip_separators();
        return true;
    }
    std::string expect_identifier(const char* purpose);
    [[noreturn]] void fail_at_token(const std::string& expected);

    template <typename T, typename... Arguments>
    T* make(Arguments&&... arguments) {
        return m_code.make_node<T>(std::forward<Arguments>(arguments)...);
    }

    Node* parse_expression();
    Node* parse_statement();
    Node* parse_statement_of_words();
    static bool is_operator(const Token& token);
    Node* parse_assignment();
    Operand parse_operation(int least_rank);
    Operand continue_operation(const Operand& left, int rank);
    Operand parse_not();
    Operand parse_unary();
    Operand parse_call();
    void parse_arguments(Call& call, Temporaries& temporaries, Form callee);
    bool argument_follows(Form callee);
    Node* parse_argument();
    Node* parse_reference();
    ReferenceNode* make_reference(const Operand& target, int line);
    Operand parse_dereference();
    bool keyword_follows();
    int following_rank();
    bool bracket_makes_point();
    /// In an argument, `()` must stand right behind what it calls.
    Operand parse_operand(bool is_argument = false);
    bool suffix_follows(const Operand& operand, bool is_argument);
    Operand parse_suffix(const Operand& operand);
    Operand parse_factor();
    Node* parse_literal();
    Node* parse_block();
    std::vector<const Node*> parse_list(std::string_view closing, const char* purpose);
    Node* parse_array();
    Node* parse_bit_array();
    Node* parse_point();

    Node* parse_if();
    Node* parse_case();
    Node* parse_case_label();
    Node* parse_while();
    Node* parse_do();
    Node* parse_for();
    ForParts parse_for_parts(const std::vector<Token>& variables);
    std::vector<Token> parse_for_variables();
    Node* parse_loop_body();
    Node* parse_try();
    Node* parse_exit();
    Node* parse_continue();
    Node* parse_return();
    Node* parse_declarations();
    Node* parse_declared(bool is_global);
    Node* parse_persistent();
    Variable* declare_global(const Token& name);
    Node* parse_function();
    /// Reads the parameters and the body.
    void parse_function_text(FunctionText& text, StructScope* structure);
    void parse_parameters(FunctionText& text);
    Node* parse_default();
    Node* parse_struct();
    void parse_members(StructDefinitionNode& definition, StructScope& structure);
    void parse_struct_handler(StructDefinitionNode& definition, StructScope& structure);
    StructText::Member parse_member(StructDefinitionNode& definition, StructScope& structure);
    const CodeUnit* parse_first_value(StructDefinitionNode& definition, StructScope& structure);

    /// compiler_contexts.cpp: `with undo off, at time 5 (…)`, `set animate on`, and what this host refuses.
    bool context_follows();
    Node* parse_context_expression();
    void parse_context(ContextExpression& expression, Temporaries& temporaries);
    Node* parse_coordinate_system(ContextExpression::Part& part);
    Node* parse_set();
    Node* parse_swap();
    Node* parse_when();
    Node* parse_max_command();
    Node* parse_include();

    /// compiler_interfaces.cpp: definitions with a user interface. Their handlers are compiled for their errors
    /// only: nothing ever runs them.
    bool definition_follows();
    Node* parse_definition();
    bool caption_follows();
    bool title_in_brackets();
    void parse_definition_options();
    void parse_option_value();
    void parse_clauses(bool expressions_too);
    void parse_clause(bool expressions_too);
    bool handler_follows();
    void parse_handler();
    void parse_control();
    void parse_group();
    void parse_parameter_block();

    Variable* resolve(const Token& token);
    Variable* resolve_in(UnitScope& unit, const std::string& name, int line);
    Variable* resolve_outside(UnitScope& unit, const std::string& name, int line);
    Variable* variable_of(Binding& binding, int line);
    /// Keeps a local variable where others can use it too.
    static void share(Binding& binding);
    /// The variable that a function or structure of this name is stored in.
    Variable* define_name(const std::string& name, int line, bool is_dialog = false);
    Variable* top_level_variable(const std::string& name, int line);
    bool at_top_level() const { return m_unit->outer == nullptr && !m_unit->in_block(); }

    Lexer m_own_lexer;
    /// Of the file that is included, while it is.
    Lexer* m_lexer = &m_own_lexer;
    CompiledCode& m_code;
    UnitScope* m_unit = nullptr;
    ThreadState& m_thread;
    int m_depth = 0;
    /// Definitions around the code whose code never runs.
    int m_unused_depth = 0;
    int m_include_depth = 0;
    /// Whether the code stands in a branch of a case, where `name:` begins the next one.
    bool m_in_case = false;
};

}  // namespace corrivane::host
