#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"

namespace corrivane::host {

Node* Compiler::parse_function() {
    // `mapped` makes no difference here: no collection of objects maps calls.
    if (accept_reserved("mapped") && !peek().is_reserved("fn") && !peek().is_reserved("function"))
        fail_at_token("fn");
    const int line = m_lexer.take().line;
    auto text = std::make_unique<FunctionText>();
    text->name = expect_identifier("the name of the function");
    const Temporaries temporaries(*m_unit, 1, place());
    Variable* target = define_name(text->name, line, true);
    auto* definition = make<FunctionDefinition>(line, &m_code, std::move(text));
    definition->set_target(target, temporaries.first());
    parse_function_text(definition->text(), nullptr);
    return definition;
}

void Compiler::parse_function_text(FunctionText& text, StructScope* structure) {
    UnitScope scope(m_unit, text.unit, &text, structure);
    text.unit.file = m_lexer.file();
    parse_parameters(text);
    skip_separators();
    expect_sign("=", "behind the parameters");
    skip_separators();
    text.unit.body = parse_expression();
}

void Compiler::parse_parameters(FunctionText& text) {
    for (; peek().kind == TokenKind::identifier; ++text.positional_count)
        m_unit->declare(m_lexer.take().key, place());
    while (peek().kind == TokenKind::keyword_argument) {
        const std::string name = m_lexer.take().key;
        m_unit->declare(name, place());
        Node* default_value = nullptr;
        if (peek().kind != TokenKind::keyword_argument &&
            (peek().is_sign("-") || argument_follows(Form::variable)))
            default_value = parse_argument();
        text.keywords.push_back({name, default_value});
    }
}

Node* Compiler::parse_struct() {
    const int line = m_lexer.take().line;
    const Temporaries temporaries(*m_unit, 1, place());
    auto* definition = make<StructDefinitionNode>(line, &m_code);
    StructText& text = definition->text();
    text.name = expect_identifier("the name of the structure");
    definition->set_target(define_name(text.name, line, true), temporaries.first());
    skip_separators();
    expect_sign("(", "before the members");
    StructScope structure{&text, {}};
    parse_members(*definition, structure);
    for (const auto& [variable, name] : structure.unsettled)
        if (const auto member = text.find(name)) variable->become_member(*member);
    return definition;
}

void Compiler::parse_members(StructDefinitionNode& definition, StructScope& structure) {
    skip_separators();
    if (accept_sign(")")) return;
    do {
        skip_separators();
        StructText::Member member = parse_member(definition, structure);
        if (structure.text->find(lower_case(member.name)))
            raise_compile_error("the structure has two members " + member.name, place());
        structure.text->add(std::move(member));
        skip_separators();
    } while (accept_sign(","));
    expect_sign(")", "or , behind the member");
}

StructText::Member Compiler::parse_member(StructDefinitionNode& definition, StructScope& structure) {
    StructText::Member member;
    if (accept_reserved("fn") || accept_reserved("function")) {
        FunctionText* text = definition.add_function();
        text->name = member.name = expect_identifier("the name of the member function");
        parse_function_text(*text, &structure);
        member.function = text;
        return member;
    }
    member.name = expect_identifier("a member");
    if (accept_sign("=")) {
        skip_separators();
        member.first_value = parse_first_value(definition, structure);
    }
    return member;
}

const CodeUnit* Compiler::parse_first_value(StructDefinitionNode& definition, StructScope& structure) {
    CodeUnit* unit = definition.add_first_value();
    UnitScope scope(m_unit, *unit, nullptr, &structure);
    unit->file = m_lexer.file();
    unit->body = parse_expression();
    return unit;
}

}  // namespace corrivane::host
