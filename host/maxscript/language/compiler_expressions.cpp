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

bool Compiler::is_operator(const Token& token) {
    return rank_of(token) != no_operator || assigns(token);
}

Node* Compiler::parse_assignment() {
    const Operand left = parse_operation(rank_or);
    continues_on_next_line(assigns);
    if (!assigns(peek())) return left.node;
    const bool assignable = left.form == Form::variable || left.form == Form::property ||
                            left.form == Form::element || left.form == Form::dereferenced;
    if (!assignable) fail_at_token("the end of the expression: what stands before cannot be assigned");
    const Token sign = take();
    skip_separators();
    // The slots that the target has used itself, and one more.
    Temporaries temporaries(*m_unit, 3, place());
    auto* target = static_cast<Target*>(left.node);
    // `node.pos.x = 5` assigns node.pos too, so what that is asked of is kept.
    for (auto* owner = dynamic_cast<Target*>(target->object()); owner != nullptr;
         owner = dynamic_cast<Target*>(owner->object())) {
        owner->move_slots(temporaries.first() + temporaries.count());
        temporaries.extend(place());
        temporaries.extend(place());
    }
    Node* content = parse_expression();
    return make<Assignment>(sign.line, target, assigning_operator(sign), content, temporaries.first() + 2);
}

/// The rank of the operator that follows, on this line or at the start of the next one. A minus sign there is the
/// sign of another expression, and so is a star that stands right before its operand.
int Compiler::following_rank() {
    continues_on_next_line([](const Token& next) {
        return rank_of(next) != no_operator && !next.is_sign("-") && (!next.is_sign("*") || next.space_after);
    });
    return rank_of(peek());
}

Compiler::Operand Compiler::parse_operation(int least_rank) {
    Operand left = peek().is_reserved("not") ? parse_not() : parse_unary();
    for (int rank = following_rank(); rank != no_operator && rank >= least_rank; rank = following_rank())
        left = continue_operation(left, rank);
    return left;
}

/// Takes all operators of one rank that follow.
Compiler::Operand Compiler::continue_operation(const Operand& left, int rank) {
    const int line = left.node->line();
    const Temporaries temporaries(*m_unit, 1, place());
    if (rank == rank_or || rank == rank_and) {
        auto* chain = make<LogicalChain>(line, rank == rank_or, left.node);
        while (following_rank() == rank) {
            take();
            skip_separators();
            chain->add(parse_operation(rank + 1).node);
        }
        return {chain, Form::result, {}};
    }
    auto* chain = make<Chain>(line, left.node, temporaries.first());
    while (following_rank() == rank) {
        const Operator operation = binary_operator(take())->operation;
        skip_separators();
        chain->add(operation, rank == rank_as ? parse_operand().node : parse_operation(rank + 1).node);
    }
    return {chain, Form::result, {}};
}

Compiler::Operand Compiler::parse_not() {
    const Nesting nesting(m_depth, m_thread, place());
    const int line = take().line;
    return {make<Not>(line, parse_operation(rank_comparison).node), Form::result, {}};
}

Compiler::Operand Compiler::parse_unary() {
    const Nesting nesting(m_depth, m_thread, place());
    // A sign without a meaning.
    if (peek().is_sign("+")) take();
    if (!peek().is_sign("-")) return parse_call();
    const int line = take().line;
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
        skip_separators();
        if (keyword_follows()) {
            keywords = true;
            std::string name = take().key;
            accept_sign(":");
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

/// `name:`, also with space before the colon.
bool Compiler::keyword_follows() {
    return peek().kind == TokenKind::keyword_argument ||
           (peek().kind == TokenKind::identifier && peek(1).is_sign(":") && !m_in_case);
}

/// Whether an argument of a call follows, on this line or, as one by name, on the next. A minus sign belongs to
/// an argument when there is space before it and none behind it, `f -1`, and what is called has a name.
bool Compiler::argument_follows(Form callee) {
    const Token& token = peek();
    switch (token.kind) {
        case TokenKind::end:
        case TokenKind::reserved:
            return false;
        case TokenKind::separator:
            return token.is_new_line() && !m_in_case && callee != Form::brackets &&
                   peek(1).kind == TokenKind::keyword_argument;
        case TokenKind::sign:
            break;
        default:
            return true;
    }
    if (token.is_sign("-") || token.is_sign("&"))
        return (callee == Form::variable || callee == Form::property) && token.space_before &&
               !token.space_after;
    // A bracket without space before it is an index, which has been read.
    return token.is_sign("(") || token.is_sign("#(") || token.is_sign("#{") || token.is_sign("::") ||
           token.is_sign("[") || token.is_sign("?");
}

Node* Compiler::parse_argument() {
    if (peek().is_sign("&")) return parse_reference();
    if (!peek().is_sign("-")) return parse_operand(true).node;
    const int line = take().line;
    return make<Negation>(line, parse_operand(true).node);
}

/// `&target`.
Node* Compiler::parse_reference() {
    const Nesting nesting(m_depth, m_thread, place());
    const int line = take().line;
    return make_reference(parse_operand(true), line);
}

ReferenceNode* Compiler::make_reference(const Operand& target, int line) {
    if (target.form != Form::variable && target.form != Form::property && target.form != Form::element)
        fail_at_token(
            "the end of the expression: what stands before cannot be assigned, so & does not go with it");
    Binding* binding = target.form == Form::variable ? m_unit->find(lower_case(target.name)) : nullptr;
    if (binding != nullptr) share(*binding);
    return make<ReferenceNode>(line, static_cast<Target*>(target.node));
}

/// `swap a b`: what both name is assigned, without a sign of its own.
Node* Compiler::parse_swap() {
    const Token word = take();
    Temporaries temporaries(*m_unit, 1, place());
    auto* call =
        make<Call>(word.line, make<Variable>(word.line, &global(word.text)), word.text, temporaries.first());
    for (int i = 0; i < 2; ++i) {
        call->add(make_reference(parse_operand(true), word.line));
        temporaries.extend(place());
    }
    return call;
}

/// `*reference`.
Compiler::Operand Compiler::parse_dereference() {
    const Nesting nesting(m_depth, m_thread, place());
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    return {make<Dereference>(line, parse_operand(true).node, temporaries.first()), Form::dereferenced, {}};
}

Compiler::Operand Compiler::parse_operand(bool is_argument) {
    Operand operand = parse_factor();
    while (suffix_follows(operand, is_argument))
        operand = parse_suffix(operand);
    return operand;
}

bool Compiler::suffix_follows(const Operand& operand, bool is_argument) {
    continues_on_next_line([this](const Token& next) { return next.is_sign(".") && peek(2).is_any_word(); });
    if (peek().is_sign(".")) return true;
    if (peek().is_sign("[")) return !peek().space_before || !bracket_makes_point();
    if (!peek().is_sign("(") || operand.form == Form::literal) return false;
    return (!is_argument || !peek().space_before) && peek(1).is_sign(")");
}

/// Whether the bracket that follows holds a comma of its own: `move node [1, 2, 3]`, but `list [1]`.
bool Compiler::bracket_makes_point() {
    int depth = 0;
    for (std::size_t ahead = 0;; ++ahead) {
        const Token& token = peek(ahead);
        if (token.kind == TokenKind::end) return false;
        if (token.kind != TokenKind::sign) continue;
        const char last = token.text.back();
        if (last == '(' || last == '[' || last == '{') ++depth;
        if (last == ')' || last == ']' || last == '}') --depth;
        if (depth == 0) return false;
        if (depth == 1 && last == ',') return true;
    }
}

Compiler::Operand Compiler::parse_suffix(const Operand& operand) {
    const Token sign = take();
    if (sign.is_sign(".")) {
        skip_separators();
        if (m_in_case && peek().kind == TokenKind::keyword_argument) m_lexer->split_keyword();
        if (!peek().is_any_word()) fail_at_token("a property's name");
        const Token name = take();
        const Temporaries temporaries(*m_unit, 1, place());
        // Messages name no more than the last two parts.
        const std::string owner = operand.form == Form::variable ? operand.name + "." : "";
        return {make<PropertyAccess>(name.line, operand.node, name.key, temporaries.first()), Form::property,
                owner + name.text};
    }
    if (sign.is_sign("(")) {
        take();
        const Temporaries temporaries(*m_unit, 1, place());
        return {make<Call>(sign.line, operand.node, operand.name, temporaries.first()), Form::result,
                operand.name};
    }
    const Temporaries temporaries(*m_unit, 2, place());
    skip_separators();
    Node* index = parse_expression();
    skip_separators();
    expect_sign("]", "behind the index");
    return {make<Element>(sign.line, operand.node, index, temporaries.first()), Form::element, operand.name};
}

Compiler::Operand Compiler::parse_factor() {
    const Token& token = peek();
    if (token.kind == TokenKind::identifier) {
        const Token name = take();
        return {resolve(name), Form::variable, name.text};
    }
    if (token.is_sign("::")) {
        take();
        if (m_in_case && peek().kind == TokenKind::keyword_argument) m_lexer->split_keyword();
        const int line = peek().line;
        const std::string name = expect_identifier("the name of a global variable");
        return {make<Variable>(line, &global(name)), Form::variable, name};
    }
    if (token.is_sign("(")) return {parse_block(), Form::brackets, "the function"};
    if (token.is_sign("#(")) return {parse_array(), Form::literal, {}};
    if (token.is_sign("#{")) return {parse_bit_array(), Form::literal, {}};
    if (token.is_sign("[")) return {parse_point(), Form::literal, {}};
    if (token.is_sign("*")) return parse_dereference();
    if (token.is_sign("&")) return {parse_reference(), Form::literal, {}};
    if (token.is_sign("?")) return {make<AbsentStatement>(take().line, "last result: ?"), Form::literal, {}};
    if (token.kind == TokenKind::path) {
        const Token path = take();
        return {make<PathLiteral>(path.line, path.text), Form::literal, {}};
    }
    return {parse_literal(), Form::literal, {}};
}

Node* Compiler::parse_literal() {
    const Token& token = peek();
    Value* value = nullptr;
    switch (token.kind) {
        case TokenKind::integer:
            value = make_integer(static_cast<int>(token.integer));
            break;
        case TokenKind::integer64:
            value = make_integer64(token.integer);
            break;
        case TokenKind::real:
            value = make_float(static_cast<float>(token.real));
            break;
        case TokenKind::double_real:
            value = make_double(token.real);
            break;
        case TokenKind::time: {
            const Token time = take();
            return make<TimeLiteral>(time.line, time.real, time.frames, time.integer);
        }
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
    return make<Literal>(take().line, value);
}

Node* Compiler::parse_block() {
    const int line = take().line;
    const InCase in_case(m_in_case, false);
    m_unit->open_block();
    std::vector<const Node*> expressions;
    Node* last = nullptr;
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        if (peek().kind == TokenKind::end)
            raise_syntax_error("the script ends inside the brackets that open here", m_lexer->place(line));
        last = parse_expression();
        expressions.push_back(last);
        if (peek().kind != TokenKind::separator && !peek().is_sign(")") && peek().kind != TokenKind::end)
            fail_at_token("the end of the line or )");
    }
    const auto [first_local, local_count] = m_unit->close_block();
    if (expressions.size() == 1 && local_count == 0) return last;
    return make<Block>(line, std::move(expressions), first_local, local_count);
}

/// Expressions with commas between them, up to and with the sign that closes the list. A comma at the end counts
/// for nothing.
std::vector<const Node*> Compiler::parse_list(std::string_view closing, const char* purpose) {
    const InCase in_case(m_in_case, false);
    std::vector<const Node*> elements;
    for (skip_separators(); !accept_sign(closing); skip_separators()) {
        if (!elements.empty()) expect_sign(",", purpose);
        skip_separators();
        if (!elements.empty() && accept_sign(closing)) break;
        elements.push_back(parse_expression());
    }
    return elements;
}

Node* Compiler::parse_array() {
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    return make<ArrayLiteral>(line, parse_list(")", "or ) behind the element"), temporaries.first());
}

Node* Compiler::parse_point() {
    const int line = take().line;
    std::vector<const Node*> parts = parse_list("]", "or ] behind the coordinate");
    if (parts.size() < 2 || parts.size() > 4) fail_at_token("two, three or four coordinates before it");
    return make<PointLiteral>(line, std::move(parts));
}

Node* Compiler::parse_bit_array() {
    const int line = take().line;
    const InCase in_case(m_in_case, false);
    const Temporaries temporaries(*m_unit, 2, place());
    std::vector<BitArrayLiteral::Range> ranges;
    for (skip_separators(); !accept_sign("}"); skip_separators()) {
        if (!ranges.empty()) expect_sign(",", "or } behind the number");
        skip_separators();
        Node* first = parse_expression();
        skip_separators();
        ranges.push_back({first, accept_sign("..") ? parse_expression() : nullptr});
    }
    return make<BitArrayLiteral>(line, std::move(ranges), temporaries.first());
}

}  // namespace corrivane::host
