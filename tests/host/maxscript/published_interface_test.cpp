#include "maxscript/errors.h"
#include "maxscript/heap.h"
#include "script_fixture.h"

#include <max/function_publishing.h>

#include <bit>
#include <memory>

namespace corrivane::host {

namespace {

FPSlot text(const char* characters) {
    return reinterpret_cast<FPSlot>(characters);
}

/// An interface as a library publishes it, with its descriptor list written by hand.
class TestInterface final : public FPStaticInterface {
public:
    enum Id : FunctionID {
        add,
        half,
        negate,
        describe,
        make,
        fail,
        nothing,
        get_frame,
        set_frame,
        unanswered
    };

    explicit TestInterface(const char* name = "TestUtil", unsigned flags = FP_CORE) {
        const FPSlot list[] = {add,
                               text("Add"),
                               0,
                               TYPE_INT,
                               0,
                               2,
                               text("a"),
                               0,
                               TYPE_INT,
                               text("b"),
                               0,
                               TYPE_INT,
                               half,
                               text("Half"),
                               0,
                               TYPE_FLOAT,
                               0,
                               1,
                               text("number"),
                               0,
                               TYPE_FLOAT,
                               negate,
                               text("Negate"),
                               0,
                               TYPE_bool,
                               0,
                               1,
                               text("flag"),
                               0,
                               TYPE_bool,
                               describe,
                               text("Describe"),
                               0,
                               TYPE_VALUE,
                               0,
                               1,
                               text("value"),
                               0,
                               TYPE_VALUE,
                               make,
                               text("Make"),
                               0,
                               TYPE_VALUE,
                               0,
                               0,
                               fail,
                               text("Fail"),
                               0,
                               TYPE_VOID,
                               0,
                               1,
                               text("message"),
                               0,
                               TYPE_VALUE,
                               nothing,
                               text("Nothing"),
                               0,
                               TYPE_VOID,
                               0,
                               0,
                               unanswered,
                               text("Unanswered"),
                               0,
                               TYPE_VOID,
                               0,
                               0,
                               static_cast<FPSlot>(FP_PROPERTIES),
                               get_frame,
                               -1,
                               text("CurrentFrame"),
                               0,
                               TYPE_INT,
                               get_frame,
                               set_frame,
                               text("Frame"),
                               0,
                               TYPE_INT,
                               static_cast<FPSlot>(FP_END)};
        load_descriptor(Interface_ID(1, 2), name, 0, nullptr, flags, list);
    }

    FPStatus _dispatch_fn(FunctionID function, TimeValue, FPValue& result, FPParams* params) override {
        const auto argument = [&](std::size_t i) -> const FPValue& { return params->params[i]; };
        switch (function) {
            case add:
                return store(result, TYPE_INT, argument(0).i + argument(1).i);
            case half:
                return store(result, TYPE_FLOAT, std::bit_cast<int>(argument(0).f / 2));
            case negate:
                return store(result, TYPE_bool, !argument(0).b);
            case describe: {
                collect_garbage();
                return store(result, TYPE_VALUE, text_slot(new String(printed_form(argument(0).v).c_str())));
            }
            case make:
                return store(result, TYPE_VALUE, text_slot(new String("made")));
            case fail:
                throw RuntimeError(argument(0).v->to_string());
            case nothing:
                return FPS_OK;
            case get_frame:
                return store(result, TYPE_INT, m_frame);
            case set_frame:
                m_frame = argument(0).i;
                return FPS_OK;
            default:
                return FPS_NO_SUCH_FUNCTION;
        }
    }

private:
    static FPSlot text_slot(Value* value) { return reinterpret_cast<FPSlot>(value); }
    static FPStatus store(FPValue& result, int type, FPSlot slot) {
        result.Loadva(type, &slot, false);
        return FPS_OK;
    }

    int m_frame = 7;
};

class PublishedInterfaceTest : public ScriptTest {
protected:
    TestInterface m_interface;
};
CORRIVANE_SCRIPT_TEST(PublishedInterfaceTest);

TEST_P(PublishedInterfaceTest, ConvertsArgumentsAndResults) {
    expect_values({
        {"TestUtil.Add 1 2", "3"},
        {"testutil.add 1.9 -2", "-1"},
        {"TestUtil.Half 3", "1.5"},
        {"TestUtil.Half -1.5", "-0.75"},
        {"TestUtil.Negate true", "false"},
        {"TestUtil.Describe (\"a\" + \"b\")", R"("\"ab\"")"},
        {"TestUtil.Describe #(1, undefined)", "\"#(1, undefined)\""},
        {"TestUtil.Make()", "\"made\""},
        {"TestUtil.Nothing()", "OK"},
        {"TestUtil.CurrentFrame", "7"},
        {"TestUtil.Frame = 9; TestUtil.CurrentFrame + TestUtil.Frame", "18"},
        {"f = TestUtil.Add\nf 4 5", "9"},
        {"TestUtil", "<Interface:TestUtil>"},
    });
}

TEST_P(PublishedInterfaceTest, RefusesWhatDoesNotFit) {
    expect_errors({
        {"TestUtil.Add 1", "-- Argument count error: TestUtil.Add wanted 2, got 1; line: 1"},
        {"TestUtil.Add 1 2 3", "-- Argument count error: TestUtil.Add wanted 2, got 3; line: 1"},
        {"TestUtil.Add 1 \"2\"",
         "-- Type error: TestUtil.Add: parameter b requires an integer, got: \"2\"; line: 1"},
        {"TestUtil.Add 1 1e20", "-- Unable to convert: 1e+20 to type: Integer; line: 1"},
        {"TestUtil.Half undefined",
         "-- Type error: TestUtil.Half: parameter number requires a number, got: undefined; line: 1"},
        {"TestUtil.Negate 1",
         "-- Type error: TestUtil.Negate: parameter flag requires true or false, got: 1; line: 1"},
        {"TestUtil.Make key:1", "-- Runtime error: TestUtil.Make has no keyword parameter key:; line: 1"},
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
    EXPECT_EQ(error_of("\n(1; TestUtil.Fail \"bad\")"), "-- Runtime error: bad");
    EXPECT_EQ(error_of("execute \"TestUtil.Fail \\\"bad\\\"\""), "-- Runtime error: bad");
    expect_values({
        {"try (TestUtil.Fail \"bad\") catch (getCurrentException())", "\"-- Runtime error: bad\""},
        {"try (try (TestUtil.Fail \"bad\") catch (throw())) catch (getCurrentException())",
         "\"-- Runtime error: bad\""},
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
    const FPSlot unknown_type[] = {0, text("F"), 0, 99, 0, 0, static_cast<FPSlot>(FP_END)};
    const FPSlot no_name[] = {0, 0, 0, TYPE_VOID, 0, 0, static_cast<FPSlot>(FP_END)};
    const FPSlot bad_count[] = {0, text("F"), 0, TYPE_VOID, 0, -1, static_cast<FPSlot>(FP_END)};
    for (const FPSlot* list : {unknown_type, no_name, bad_count})
        EXPECT_THROW(Broken{list}, std::invalid_argument);
    EXPECT_EQ(value_of("Broken"), "undefined");
}

TEST(PublishedBeforeTheRuntimeTest, IsThereWhenItStarts) {
    const TestInterface early("EarlyUtil");
    for (int start = 0; start < 2; ++start) {
        const MaxScriptRuntime runtime({.listener_to_stdout = false});
        EXPECT_EQ(run_text("EarlyUtil.Add 1 1").text, "2");
    }
}

TEST(FPValueTest, LoadsItemsAndPointersToThem) {
    FPValue value;
    const float number = 2.5F;
    const bool flag = true;
    const FPSlot slots[] = {-3, reinterpret_cast<FPSlot>(&number), reinterpret_cast<FPSlot>(&flag),
                            reinterpret_cast<FPSlot>(&undefined)};
    value.Loadva(TYPE_INT, &slots[0], false);
    EXPECT_EQ(value.i, -3);
    value.Loadva(TYPE_FLOAT, &slots[1], true);
    EXPECT_EQ(value.f, 2.5F);
    value.Loadva(TYPE_bool, &slots[2], true);
    EXPECT_TRUE(value.b);
    value.Loadva(TYPE_VALUE, &slots[3], false);
    EXPECT_EQ(value.v, &undefined);
    EXPECT_EQ(value.type, TYPE_VALUE);
}

}  // namespace

}  // namespace corrivane::host
