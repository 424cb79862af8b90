#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"

namespace corrivane::host {

Node* Compiler::parse_function() {
    const bool mapped = accept_reserved("mapped");
    if (mapped && !peek().is_reserved("fn") && !peek().is_reserved("function")) fail_at_token("fn");
    const int line = take().line;
    auto text = std::make_unique<FunctionText>();
    text->is_mapped = mapped;
    skip_separators();
    text->name = expect_identifier("the name of the function");
    const Temporaries temporaries(*m_unit, 1, place());
    Variable* target = define_name(text->name, line);
    auto* definition = make<FunctionDefinition>(line, &m_code, std::move(text));
    definition->set_target(target, temporaries.first());
    parse_function_text(definition->text(), nullptr);
    return definition;
}

void Compiler::parse_function_text(FunctionText& text, StructScope* structure) {
    UnitScope scope(m_unit, text.unit, &text, structure);
    text.unit.file = m_lexer->file();
    parse_parameters(text);
    skip_separators();
    expect_sign("=", "behind the parameters");
    skip_separators();
    text.unit.body = parse_expression();
}

void Compiler::parse_parameters(FunctionText& text) {
    for (skip_separators();; skip_separators()) {
        const bool by_reference = accept_sign("&");
        if (peek().kind == TokenKind::keyword_argument) {
            const std::string name = take().key;
            m_unit->declare(name, place()).reference = by_reference;
            text.keywords.push_back({name, parse_default()});
        } else if (peek().kind == TokenKind::identifier && text.keywords.empty()) {
            m_unit->declare(take().key, place()).reference = by_reference;
            ++text.positional_count;
        } else {
            return;
        }
    }
}

/// A parameter's default; null for none.
Node* Compiler::parse_default() {
    const bool given = peek().is_sign("-") || peek().is_sign("&") ||
                       (peek().kind != TokenKind::keyword_argument && peek().kind != TokenKind::separator &&
                        argument_follows(Form::variable));
    return given ? parse_argument() : nullptr;
}

Node* Compiler::parse_struct() {
    const int line = take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    auto* definition = make<StructDefinitionNode>(line, &m_code);
    StructText& text = definition->text();
    text.name = expect_identifier("the name of the structure");
    definition->set_target(define_name(text.name, line), temporaries.first());
    skip_separators();
    const InCase in_case(m_in_case, false);
    expect_sign("(", "before the members");
    StructScope structure{&text, {}};
    parse_members(*definition, structure);
    for (const auto& [variable, name] : structure.unsettled)
        if (const auto member = text.find(name)) variable->become_member(*member);
    return definition;
}

void Compiler::parse_members(StructDefinitionNode& definition, StructScope& structure) {
    bool is_private = false;
    for (skip_separators(); !accept_sign(")"); skip_separators()) {
        if (accept_sign(",")) continue;
        if ((peek().is_word("public") || peek().is_word("private")) && !peek(1).is_sign("=")) {
            is_private = take().key == "private";
            continue;
        }
        if (peek().is_word("on") && peek(1).is_any_word()) {
            parse_struct_handler(definition, structure);
        } else {
            StructText::Member member = parse_member(definition, structure);
            member.is_private = is_private;
            if (structure.text->find(lower_case(member.name)))
                raise_compile_error("the structure has two members " + member.name, place());
            structure.text->add(std::move(member));
        }
        skip_separators();
        if (!peek().is_sign(",") && !peek().is_sign(")")) fail_at_token(") or , behind the member");
    }
}

/// `on create do …`, `on clone do …`.
void Compiler::parse_struct_handler(StructDefinitionNode& definition, StructScope& structure) {
    take();
    FunctionText* text = definition.add_function();
    text->name = take().key;
    UnitScope scope(m_unit, text->unit, text, &structure);
    text->unit.file = m_lexer->file();
    expect_reserved("do", "behind the event");
    skip_separators();
    text->unit.body = parse_expression();
    structure.text->handlers.push_back(text);
}

StructText::Member Compiler::parse_member(StructDefinitionNode& definition, StructScope& structure) {
    StructText::Member member;
    const bool mapped = accept_reserved("mapped");
    if (accept_reserved("fn") || accept_reserved("function")) {
        FunctionText* text = definition.add_function();
        skip_separators();
        text->is_mapped = mapped;
        text->name = member.name = expect_identifier("the name of the member function");
        parse_function_text(*text, &structure);
        member.function = text;
        return member;
    }
    member.name = expect_identifier("a member");
    continues_on_next_line([](const Token& next) { return next.is_sign("="); });
    if (accept_sign("=")) {
        skip_separators();
        member.first_value = parse_first_value(definition, structure);
    }
    return member;
}

const CodeUnit* Compiler::parse_first_value(StructDefinitionNode& definition, StructScope& structure) {
    CodeUnit* unit = definition.add_first_value();
    UnitScope scope(m_unit, *unit, nullptr, &structure);
    unit->file = m_lexer->file();
    unit->body = parse_expression();
    return unit;
}

}  // namespace corrivane::host
