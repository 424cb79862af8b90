#include "script_fixture.h"
#include "support/drive_c.h"
#include "support/script_examples.h"

namespace corrivane::host {

namespace {

class ScriptCasesTest : public ScriptTest {
protected:
    /// Runs the scripts of a document of the folder cases/, with an empty drive C.
    void run(const std::string& document) {
        const auto examples = test::read_script_examples(CORRIVANE_SCRIPT_CASES "/" + document);
        EXPECT_FALSE(examples.empty());
        const test::DriveC drive_c;
        for (const test::ScriptExample& example : examples) {
            SCOPED_TRACE(document + ", line " + std::to_string(example.line));
            // A whole script's outcome is a line of its own.
            const std::string outcome = example.outcome.substr(0, example.outcome.find_last_not_of('\n') + 1);
            expect({{example.script, outcome}});
        }
    }
};
CORRIVANE_SCRIPT_TEST(ScriptCasesTest);

TEST_P(ScriptCasesTest, Language) {
    run("language.md");
}

TEST_P(ScriptCasesTest, Grammar) {
    run("grammar.md");
}

TEST_P(ScriptCasesTest, Values) {
    run("values.md");
}

TEST_P(ScriptCasesTest, Tools) {
    run("tools.md");
}

TEST_P(ScriptCasesTest, Builtins) {
    run("builtins.md");
}

TEST_P(ScriptCasesTest, Library) {
    run("library.md");
}

TEST_P(ScriptCasesTest, Errors) {
    run("errors.md");
}

TEST_P(ScriptCasesTest, EveryFormCompiles) {
    for (const SyntaxFault& fault : check_file(CORRIVANE_SCRIPT_CASES "/forms.ms"))
        ADD_FAILURE() << fault.file << ":" << fault.line << ": " << fault.text;
}

}  // namespace

}  // namespace corrivane::host
