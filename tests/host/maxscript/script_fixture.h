#pragma once

#include "maxscript/runtime.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

/// A script and what the Listener shows of its value, or for one that fails the error's description.
struct ScriptCase {
    std::string script;
    std::string shown;
};

/// Runs scripts in a runtime of its own. Every test runs twice: as it is, and with a collection at
/// every allocation.
class ScriptTest : public testing::TestWithParam<bool> {
protected:
    ScriptTest();
    ~ScriptTest() override;

    /// Runs a script that must succeed and returns its value's printed form.
    std::string value_of(const std::string& script);
    /// Runs a script that must fail and returns the error's description.
    std::string error_of(const std::string& script);
    /// Descriptions of errors begin with `-- `, which no value does.
    void expect(const std::vector<ScriptCase>& cases);

    /// What has been printed since the last call.
    std::string take_listener();

private:
    std::unique_ptr<MaxScriptRuntime> m_runtime;
    std::string m_listener;
};

/// The description of the MAXScript error that the action throws.
std::string description(const std::function<void()>& action);

std::string collection_mode(const testing::TestParamInfo<bool>& info);

/// A test that is run in both modes.
#define CORRIVANE_SCRIPT_TEST(Fixture) \
    INSTANTIATE_TEST_SUITE_P(Heap, Fixture, testing::Bool(), collection_mode)

}  // namespace corrivane::host
