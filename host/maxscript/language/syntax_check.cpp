#include "maxscript/language/syntax_check.h"

#include "maxscript/language/compiler.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"

namespace corrivane::host {

std::vector<SyntaxFault> check_syntax(CharStream& source) {
    std::vector<SyntaxFault> faults;
    for (bool found = true; found;) {
        auto* code = new CompiledCode;
        const Rooted root(code);
        Compiler compiler(source, *code);
        try {
            found = compiler.compile();
        } catch (const ScriptError& error) {
            const ScriptPlace& place = error.place();
            faults.push_back({place.file == nullptr ? "" : *place.file, place.line, error.description()});
            compiler.skip_expression();
        }
        compiler.give_back();
    }
    return faults;
}

}  // namespace corrivane::host
