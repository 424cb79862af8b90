#include "script_fixture.h"
#include "support/script_examples.h"
#include "support/temporary_folder.h"

#include <drive_map.h>

namespace corrivane::host {

namespace {

/// The scripts of the folder cases/, with an empty drive C.
class ScriptCasesTest : public ScriptTest {
protected:
    ScriptCasesTest() { map_drive('C', m_folder.path().string()); }
    ~ScriptCasesTest() override { clear_drive_map(); }

    void run(const std::string& document) {
        const auto examples = test::read_script_examples(CORRIVANE_SCRIPT_CASES "/" + document);
        EXPECT_FALSE(examples.empty());
        for (const test::ScriptExample& example : examples) {
            SCOPED_TRACE(document + ", line " + std::to_string(example.line));
            expect({{example.script, example.outcome}});
        }
    }

private:
    const test::TemporaryFolder m_folder;
};
CORRIVANE_SCRIPT_TEST(ScriptCasesTest);

TEST_P(ScriptCasesTest, Language) {
    run("language.md");
}

TEST_P(ScriptCasesTest, Builtins) {
    run("builtins.md");
}

TEST_P(ScriptCasesTest, Errors) {
    run("errors.md");
}

}  // namespace

}  // namespace corrivane::host
