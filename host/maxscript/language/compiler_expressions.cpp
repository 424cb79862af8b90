#include "maxscript/language/compiler.h"
#include "maxscript/language/nesting.h"
#include "maxscript/machine/conversions.h"
#include "maxscript/machine/errors.h"

#include <algorithm>
#include <array>

namespace corrivane::host {

namespace {

/// From loose to tight.
enum Rank { no_operator, rank_or, rank_and, rank_comparison, rank_sum, rank_product, rank_power, rank_as };

struct BinaryOperator {
    std::string_view symbol;
    Rank rank;
    Operator operation;
};

constexpr auto binary_operators = std::to_array<BinaryOperator>({
    {"+", rank_sum, Operator::add},
    {"-", rank_sum, Operator::subtract},
    {"*", rank_product, Operator::multiply},
    {"/", rank_product, Operator::divide},
    {"^", rank_power, Operator::power},
    {"==", rank_comparison, Operator::equal},
    {"!=", rank_comparison, Operator::not_equal},
    {"<", rank_comparison, Operator::less},
    {"<=", rank_comparison, Operator::less_equal},
    {">", rank_comparison, Operator::greater},
    {">=", rank_comparison, Operator::greater_equal},
    {"as", rank_as, Operator::convert},
});

const BinaryOperator* binary_operator(const Token& token) {
    if (token.kind != TokenKind::sign && token.kind != TokenKind::reserved) return nullptr;
    const auto* found = std::find_if(binary_operators.begin(), binary_operators.end(),
                                     [&](const BinaryOperator& entry) { return entry.symbol == token.text; });
    if (token.is_reserved("as")) return &binary_operators.back();
    return found == binary_operators.end() ? nullptr : found;
}

int rank_of(const Token& token) {
    if (token.is_reserved("or")) return rank_or;
    if (token.is_reserved("and")) return rank_and;
    const BinaryOperator* found = binary_operator(token);
    return found == nullptr ? no_operator : found->rank;
}

/// The operator of `+=` and its like; none for `=`.
std::optional<Operator> assigning_operator(const Token& token) {
    switch (token.text.front()) {
        case '+':
            return Operator::add;
        case '-':
            return Operator::subtract;
        case '*':
            return Operator::multiply;
        case '/':
            return Operator::divide;
        default:
            return std::nullopt;
    }
}

bool assigns(const Token& token) {
    static constexpr auto signs = std::to_array<std::string_view>({"=", "+=", "-=", "*=", "/="});
    return token.kind == TokenKind::sign && std::find(signs.begin(), signs.end(), token.text) != signs.end();
}

}  // namespace

Node* Compiler::parse_assignment() {
    const Operand left = parse_operation(rank_or);
    if (!assigns(peek())) return left.node;
    const bool assignable =
        left.form == Form::variable || left.form == Form::property || left.form == Form::element;
    if (!assignable) fail_at_token("the end of the expression: what stands before cannot be assigned");
    const Token sign = m_lexer.take();
    skip_separators();
    // The slots that the target has used itself, and one more.
    const Temporaries temporaries(*m_unit, 3, place());
    Node* content = parse_expression();
    return make<Assignment>(sign.line, static_cast<Target*>(left.node), assigning_operator(sign), content,
                            temporaries.first() + 2);
}

Compiler::Operand Compiler::parse_operation(int least_rank) {
    Operand left = peek().is_reserved("not") ? parse_not() : parse_unary();
    for (int rank = rank_of(peek()); rank != no_operator && rank >= least_rank; rank = rank_of(peek()))
        left = continue_operation(left, rank);
    return left;
}

/// Takes all operators of one rank that follow. A line that ends in an operator goes on in the next.
Compiler::Operand Compiler::continue_operation(const Operand& left, int rank) {
    const int line = left.node->line();
    const Temporaries temporaries(*m_unit, 1, place());
    if (rank == rank_or || rank == rank_and) {
        auto* chain = make<LogicalChain>(line, rank == rank_or, left.node);
        while (rank_of(peek()) == rank) {
            m_lexer.take();
            skip_separators();
            chain->add(parse_operation(rank + 1).node);
        }
        return {chain, Form::result, {}};
    }
    auto* chain = make<Chain>(line, left.node, temporaries.first());
    while (rank_of(peek()) == rank) {
        const Operator operation = binary_operator(m_lexer.take())->operation;
        skip_separators();
        chain->add(operation, rank == rank_as ? parse_operand().node : parse_operation(rank + 1).node);
    }
    return {chain, Form::result, {}};
}

Compiler::Operand Compiler::parse_not() {
    const Nesting nesting(m_depth, m_thread, place());
    const int line = m_lexer.take().line;
    return {make<Not>(line, parse_operation(rank_comparison).node), Form::result, {}};
}

Compiler::Operand Compiler::parse_unary() {
    const Nesting nesting(m_depth, m_thread, place());
    if (!peek().is_sign("-")) return parse_call();
    const int line = m_lexer.take().line;
    return {make<Negation>(line, parse_unary().node), Form::result, {}};
}

Compiler::Operand Compiler::parse_call() {
    Operand callee = parse_operand();
    if (callee.form == Form::literal || !argument_follows(callee.form)) return callee;
    Temporaries temporaries(*m_unit, 1, place());
    auto* call = make<Call>(callee.node->line(), callee.node, callee.name, temporaries.first());
    parse_arguments(*call, temporaries, callee.form);
    return {call, Form::result, {}};
}

void Compiler::parse_arguments(Call& call, Temporaries& temporaries, Form callee) {
    for (bool keywords = false; argument_follows(callee); callee = Form::variable) {
        if (peek().kind == TokenKind::keyword_argument) {
            keywords = true;
            std::string name = m_lexer.take().key;
            skip_separators();
            call.add(std::move(name), parse_argument());
        } else if (keywords) {
            fail_at_token("keyword arguments only, behind the first of them");
        } else {
            call.add(parse_argument());
        }
        temporaries.extend(place());
    }
}

/// Whether an argument of a call follows on this line. A minus sign belongs to an argument when there is
/// space before it and none behind it, `f -1`, and what is called has a name.
bool Compiler::argument_follows(Form callee) {
    const Token& token = peek();
    switch (token.kind) {
        case TokenKind::integer:
        case TokenKind::real:
        case TokenKind::text:
        case TokenKind::name:
        case TokenKind::identifier:
        case TokenKind::keyword_argument:
            return true;
        case TokenKind::sign:
            break;
        default:
            return false;
    }
    if (token.is_sign("-"))
        return (callee == Form::variable || callee == Form::property) && token.space_before &&
               !token.space_after;
    return token.is_sign("(") || token.is_sign("#(") || token.is_sign("::");
}

Node* Compiler::parse_argument() {
    if (!peek().is_sign("-")) return parse_operand(true).node;
    const int line = m_lexer.take().line;
    return make<Negation>(line, parse_operand(true).node);
}

Compiler::Operand Compiler::parse_operand(bool is_argument) {
    Operand operand = parse_factor();
    while (suffix_follows(operand, is_argument))
        operand = parse_suffix(operand);
    return operand;
}

bool Compiler::suffix_follows(const Operand& operand, bool is_argument) {
    if (peek().is_sign(".") || peek().is_sign("[")) return true;
    if (!peek().is_sign("(") || operand.form == Form::literal) return false;
    return (!is_argument || !peek().space_before) && peek(1).is_sign(")");
}

Compiler::Operand Compiler::parse_suffix(const Operand& operand) {
    const Token sign = m_lexer.take();
    if (sign.is_sign(".")) {
        if (peek().kind != TokenKind::identifier && peek().kind != TokenKind::reserved)
            fail_at_token("a property's name");
        const Token name = m_lexer.take();
        const Temporaries temporaries(*m_unit, 1, place());
        // Messages name no more than the last two parts.
        const std::string owner = operand.form == Form::variable ? operand.name + "." : "";
        return {make<Property>(name.line, operand.node, name.key, temporaries.first()), Form::property,
                owner + name.text};
    }
    if (sign.is_sign("(")) {
        m_lexer.take();
        const Temporaries temporaries(*m_unit, 1, place());
        return {make<Call>(sign.line, operand.node, operand.name, temporaries.first()), Form::result,
                operand.name};
    }
    const Temporaries temporaries(*m_unit, 2, place());
    Node* index = parse_expression();
    expect_sign("]", "behind the index");
    return {make<Element>(sign.line, operand.node, index, temporaries.first()), Form::element, operand.name};
}

Compiler::Operand Compiler::parse_factor() {
    const Token& token = peek();
    if (token.kind == TokenKind::identifier) {
        const Token name = m_lexer.take();
        return {resolve(name), Form::variable, name.text};
    }
    if (token.is_sign("::")) {
        m_lexer.take();
        const int line = peek().line;
        const std::string name = expect_identifier("the name of a global variable");
        return {make<Variable>(line, &global(name)), Form::variable, name};
    }
    if (token.is_sign("(")) return {parse_block(), Form::brackets, "the function"};
    if (token.is_sign("#(")) return {parse_array(), Form::literal, {}};
    return {parse_literal(), Form::literal, {}};
}

Node* Compiler::parse_literal() {
    const Token& token = peek();
    Value* value = nullptr;
    switch (token.kind) {
        case TokenKind::integer:
            value = make_integer(token.integer);
            break;
        case TokenKind::real:
            value = make_float(token.real);
            break;
        case TokenKind::text:
            value = make_string(token.text);
            break;
        case TokenKind::name:
            value = make_name(token.text);
            break;
        default:
            fail_at_token("an expression");
    }
    m_code.keep(value);
    return make<Literal>(m_lexer.take().line, value);
}

Node* Compiler::parse_block() {
    const int line = m_lexer.take().line;
    m_unit->open_block();
    std::vector<const Node*> expressions;
    Node* last = nullptr;
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        if (peek().kind == TokenKind::end)
            raise_syntax_error("the script ends inside the brackets that open here", m_lexer.place(line));
        last = parse_expression();
        expressions.push_back(last);
        if (peek().kind != TokenKind::separator && !peek().is_sign(")") && peek().kind != TokenKind::end)
            fail_at_token("the end of the line or )");
    }
    const auto [first_local, local_count] = m_unit->close_block();
    if (expressions.size() == 1 && local_count == 0) return last;
    return make<Block>(line, std::move(expressions), first_local, local_count);
}

Node* Compiler::parse_array() {
    const int line = m_lexer.take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    std::vector<const Node*> elements;
    skip_separators();
    if (!accept_sign(")")) {
        do {
            skip_separators();
            elements.push_back(parse_expression());
            skip_separators();
        } while (accept_sign(","));
        expect_sign(")", "at the end of the array");
    }
    return make<ArrayLiteral>(line, std::move(elements), temporaries.first());
}

}  // namespace corrivane::host
