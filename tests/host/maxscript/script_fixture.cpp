#include "script_fixture.h"

#include "maxscript/machine/heap.h"
#include "maxscript/machine/thread_state.h"

#include <string_view>
#include <utility>

namespace corrivane::host {

ScriptTest::ScriptTest()
    : m_runtime(std::make_unique<MaxScriptRuntime>(RuntimeOptions{.listener_to_stdout = false})) {
    set_listener([this](std::string_view text) { m_listener += text; });
    set_gc_stress(GetParam());
}

ScriptTest::~ScriptTest() {
    EXPECT_EQ(thread_state().locals.current_locals_frame, nullptr) << "a frame was left in the chain";
    set_gc_stress(false);
    set_listener({});
    set_step_limit(0);
}

std::string ScriptTest::value_of(const std::string& script) {
    const ScriptResult result = run_text(script);
    EXPECT_TRUE(result.succeeded) << script << "\n" << result.text;
    return result.text;
}

std::string ScriptTest::error_of(const std::string& script) {
    const ScriptResult result = run_text(script);
    EXPECT_FALSE(result.succeeded) << script << "\n" << result.text;
    return result.text;
}

void ScriptTest::expect(const std::vector<ScriptCase>& cases) {
    for (const auto& [script, shown] : cases)
        EXPECT_EQ(shown.starts_with("-- ") ? error_of(script) : value_of(script), shown) << script;
}

std::string ScriptTest::take_listener() {
    return std::exchange(m_listener, {});
}

std::string description(const std::function<void()>& action) {
    try {
        action();
    } catch (MAXScriptException& error) {
        return error_description(error);
    }
    return "no error";
}

std::string collection_mode(const testing::TestParamInfo<bool>& info) {
    return info.param ? "CollectingAlways" : "Normally";
}

}  // namespace corrivane::host
