#include "maxscript/machine/errors.h"
#include "maxscript/machine/heap.h"
#include "script_fixture.h"

#include <max/function_publishing.h>

#include <bit>
#include <memory>

namespace corrivane::host {

namespace {

FPSlot slot(const char* characters) {
    return reinterpret_cast<FPSlot>(characters);
}
FPSlot slot(std::intptr_t number) {
    return number;
}

/// A descriptor list, or a part of one, as a library writes it.
template <typename... Entries>
std::vector<FPSlot> list_of(Entries... entries) {
    return {slot(entries)...};
}

/// An interface as a library publishes it, with its descriptor list written by hand.
class TestInterface final : public FPStaticInterface {
public:
    enum Id : FunctionID { add, half, negate, describe, fail, nothing, get, set, unanswered };

    explicit TestInterface(const char* name = "TestUtil", unsigned flags = FP_CORE) {
        const std::vector<FPSlot> parts[] = {
            list_of(add, "Add", 0, TYPE_INT, 0, 2, "a", 0, TYPE_INT, "b", 0, TYPE_INT),
            list_of(half, "Half", 0, TYPE_FLOAT, 0, 1, "number", 0, TYPE_FLOAT),
            list_of(negate, "Negate", 0, TYPE_bool, 0, 1, "flag", 0, TYPE_bool),
            list_of(describe, "Describe", 0, TYPE_VALUE, 0, 1, "value", 0, TYPE_VALUE),
            list_of(fail, "Fail", 0, TYPE_VOID, 0, 1, "message", 0, TYPE_VALUE),
            list_of(nothing, "Nothing", 0, TYPE_VOID, 0, 0),
            list_of(unanswered, "Unanswered", 0, TYPE_VOID, 0, 0),
            list_of(FP_PROPERTIES, get, -1, "CurrentFrame", 0, TYPE_INT),
            list_of(get, set, "Frame", 0, TYPE_INT, FP_END)};
        std::vector<FPSlot> list;
        for (const std::vector<FPSlot>& part : parts)
            list.insert(list.end(), part.begin(), part.end());
        load_descriptor(Interface_ID(1, 2), name, 0, nullptr, flags, list.data());
    }

    FPStatus _dispatch_fn(FunctionID function, TimeValue, FPValue& result, FPParams* params) override {
        const auto argument = [&](std::size_t i) -> const FPValue& { return params->params[i]; };
        switch (function) {
            case add:
                return store(result, TYPE_INT, argument(0).i + argument(1).i);
            case half:
                return store(result, TYPE_FLOAT, std::bit_cast<int>(argument(0).f / 2));
            case negate:
                m_negated = !argument(0).b;
                return store(result, TYPE_bool, reinterpret_cast<FPSlot>(&m_negated), true);
            case describe:
                collect_garbage();
                return store(result, TYPE_VALUE, text_slot(new String(printed_form(argument(0).v).c_str())));
            case fail:
                throw RuntimeError(argument(0).v->to_string());
            case nothing:
                return FPS_OK;
            case get:
                return store(result, TYPE_INT, m_frame);
            case set:
                m_frame = argument(0).i;
                return FPS_OK;
            default:
                return FPS_NO_SUCH_FUNCTION;
        }
    }

private:
    static FPSlot text_slot(Value* value) { return reinterpret_cast<FPSlot>(value); }
    static FPStatus store(FPValue& result, int type, FPSlot slot, bool pointer = false) {
        result.Loadva(type, &slot, pointer);
        return FPS_OK;
    }

    int m_frame = 7;
    bool m_negated = false;
};

class PublishedInterfaceTest : public ScriptTest {
protected:
    TestInterface m_interface;
};
CORRIVANE_SCRIPT_TEST(PublishedInterfaceTest);

TEST_P(PublishedInterfaceTest, ConvertsArgumentsAndResults) {
    expect({
        {"#(TestUtil.Add 1 2, testutil.add 1.9 -2, TestUtil.Half 3, TestUtil.Half -1.5)",
         "#(3, -1, 1.5, -0.75)"},
        {"#(TestUtil.Negate true, TestUtil.Nothing(), TestUtil.CurrentFrame, TestUtil)",
         "#(false, OK, 7, <Interface:TestUtil>)"},
        {"TestUtil.Describe (\"a\" + \"b\")", R"("\"ab\"")"},
        {"TestUtil.Describe #(1, undefined)", "\"#(1, undefined)\""},
        {"TestUtil.Frame = 9; TestUtil.CurrentFrame + TestUtil.Frame", "18"},
        {"f = TestUtil.Add\nf 4 5", "9"},
    });
}

TEST_P(PublishedInterfaceTest, RefusesWhatDoesNotFit) {
    expect({
        {"TestUtil.Add 1", "-- Argument count error: TestUtil.Add wanted 2, got 1; line: 1"},
        {"TestUtil.Add 1 2 3", "-- Argument count error: TestUtil.Add wanted 2, got 3; line: 1"},
        {"TestUtil.Add 1 \"2\"",
         "-- Type error: TestUtil.Add: parameter b requires an integer, got: \"2\"; line: 1"},
        {"TestUtil.Add 1 1e20", "-- Unable to convert: 1e+20 to type: Integer; line: 1"},
        {"TestUtil.Half undefined",
         "-- Type error: TestUtil.Half: parameter number requires a number, got: undefined; line: 1"},
        {"TestUtil.Negate 1",
         "-- Type error: TestUtil.Negate: parameter flag requires true or false, got: 1; line: 1"},
        {"TestUtil.Nothing key:1",
         "-- Runtime error: TestUtil.Nothing has no keyword parameter key:; line: 1"},
        {"TestUtil.Unanswered()",
         "-- Runtime error: The interface TestUtil does not answer to Unanswered; line: 1"},
        {"TestUtil.Missing 1", "-- Unknown property: \"missing\" in <Interface:TestUtil>; line: 1"},
        {"TestUtil.CurrentFrame = 5",
         "-- Runtime error: Cannot assign to read-only property: TestUtil.CurrentFrame; line: 1"},
        {"TestUtil.Frame = \"x\"", "-- Type error: TestUtil.Frame requires an integer, got: \"x\"; line: 1"},
        {"TestUtil = 5", "-- Runtime error: Cannot assign to read-only variable: TestUtil; line: 1"},
    });
}

TEST_P(PublishedInterfaceTest, LeavesTheLibrarysErrorsAsTheyAre) {
    expect({
        {"\n(1; TestUtil.Fail \"bad\")", "-- Runtime error: bad"},
        {"execute \"TestUtil.Fail \\\"bad\\\"\"", "-- Runtime error: bad"},
        {"try (TestUtil.Fail \"bad\") catch (getCurrentException())", "\"-- Runtime error: bad\""},
        {"try (TestUtil.Fail \"bad\") catch (throw())", "-- Runtime error: bad"},
    });
}

TEST_P(PublishedInterfaceTest, WithdrawsTheInterfaceWithItsObject) {
    auto other = std::make_unique<TestInterface>("OtherUtil");
    EXPECT_EQ(value_of("kept = OtherUtil.Add\nOtherUtil.Add 1 1"), "2");
    other.reset();
    EXPECT_EQ(value_of("OtherUtil"), "undefined");
    EXPECT_EQ(error_of("kept 1 1"), "-- Runtime error: The interface has been withdrawn: OtherUtil; line: 1");
    other = std::make_unique<TestInterface>("OtherUtil");
    EXPECT_EQ(value_of("OtherUtil.Add 2 2"), "4");
    const TestInterface nameless("ObjectUtil", 0);
    EXPECT_EQ(value_of("ObjectUtil"), "undefined");
}

TEST_P(PublishedInterfaceTest, RefusesDescriptorsThatCannotBeServed) {
    struct Broken final : FPStaticInterface {
        explicit Broken(const FPSlot* list) { load_descriptor({}, "Broken", 0, nullptr, FP_CORE, list); }
        FPStatus _dispatch_fn(FunctionID, TimeValue, FPValue&, FPParams*) override { return FPS_OK; }
    };
    const std::vector<FPSlot> lists[] = {list_of(0, "F", 0, 99, 0, 0, FP_END),
                                         list_of(0, 0, 0, TYPE_VOID, 0, 0, FP_END),
                                         list_of(0, "F", 0, TYPE_VOID, 0, -1, FP_END)};
    for (const std::vector<FPSlot>& list : lists)
        EXPECT_THROW(Broken{list.data()}, std::invalid_argument);
    EXPECT_EQ(value_of("Broken"), "undefined");
}

TEST(PublishedBeforeTheRuntimeTest, IsThereWhenItStarts) {
    const TestInterface early("EarlyUtil");
    for (int start = 0; start < 2; ++start) {
        const MaxScriptRuntime runtime({.listener_to_stdout = false});
        EXPECT_EQ(run_text("EarlyUtil.Add 1 1").text, "2");
    }
}

}  // namespace

}  // namespace corrivane::host
