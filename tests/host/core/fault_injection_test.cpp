#include "core/fault_injection.h"

#include "core/processor_faults.h"
#include "core_test_support.h"

#include <max/exceptions.h>
#include <system/guarded_call.h>

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>

namespace corrivane::host::test {
namespace {

struct FaultCase {
    const char* kind;
    DWORD code;
};

constexpr FaultCase trapped_faults[] = {
    {"Access Violation", EXCEPTION_ACCESS_VIOLATION},
    {"Access Violation Write", EXCEPTION_ACCESS_VIOLATION},
    {"Array Bounds Exceeded", EXCEPTION_ARRAY_BOUNDS_EXCEEDED},
    {"Datatype Misalignment", EXCEPTION_DATATYPE_MISALIGNMENT},
    {"Float Denormal Operand", EXCEPTION_FLT_DENORMAL_OPERAND},
    {"Float Divide By Zero", EXCEPTION_FLT_DIVIDE_BY_ZERO},
    {"Float Inexact Result", EXCEPTION_FLT_INEXACT_RESULT},
    {"Float Invalid Operation", EXCEPTION_FLT_INVALID_OPERATION},
    {"Float Overflow", EXCEPTION_FLT_OVERFLOW},
    {"Float Stack Check", EXCEPTION_FLT_STACK_CHECK},
    {"Illegal Instruction", EXCEPTION_ILLEGAL_INSTRUCTION},
    {"In Page Error", EXCEPTION_IN_PAGE_ERROR},
    {"Integer Divide By Zero", EXCEPTION_INT_DIVIDE_BY_ZERO},
    {"Integer Overflow", EXCEPTION_INT_OVERFLOW},
    {"Privileged Instruction", EXCEPTION_PRIV_INSTRUCTION},
    {"Stack Overflow", EXCEPTION_STACK_OVERFLOW},
};

/// What a filter saw.
struct Seen {
    DWORD code = 0;
    ULONG_PTR written = 0;
};

int take_faults(DWORD code, EXCEPTION_POINTERS* information, void* owner) {
    auto& seen = *static_cast<Seen*>(owner);
    seen.code = code;
    seen.written = information->ExceptionRecord->ExceptionInformation[0];
    return code == CPP_EXCEPTION_CODE ? EXCEPTION_CONTINUE_SEARCH : EXCEPTION_EXECUTE_HANDLER;
}

Seen guarded(void (*call)()) {
    Seen seen;
    seh_guarded_call([](void* target) { (*static_cast<void (**)()>(target))(); }, &call, take_faults, &seen);
    return seen;
}

void set_time_to_frame_1() {
    Core::instance().SetTime(160, TRUE);
}

class FaultInjectionTest : public CoreTest {};

TEST_F(FaultInjectionTest, EachKindIsThatFaultInTheCallItIsOrderedForAndHappensOnce) {
    for (const FaultCase& fault : trapped_faults) {
        SCOPED_TRACE(fault.kind);
        m_core.FileReset(TRUE);
        fault_at_next("SetTime", fault.kind);
        EXPECT_EQ(fault.code, guarded(set_time_to_frame_1).code);
        EXPECT_EQ(0, m_core.GetTime()) << "the call went on";
        EXPECT_EQ(0U, guarded(set_time_to_frame_1).code);
        EXPECT_EQ(160, m_core.GetTime());
    }
}

TEST_F(FaultInjectionTest, TellsReadsFromWrites) {
    fault_at_next("SetTime", "Access Violation");
    EXPECT_EQ(0U, guarded(set_time_to_frame_1).written);
    fault_at_next("SetTime", "Access Violation Write");
    EXPECT_NE(0U, guarded(set_time_to_frame_1).written);
}

TEST_F(FaultInjectionTest, EachCallCanBeMadeToFail) {
    const std::pair<const char*, void (*)()> calls[] = {
        {"LoadFromFile", [] { GetCOREInterface8()->LoadFromFile("x", 6); }},
        {"OpenCurRenderer", [] { GetCOREInterface()->OpenCurRenderer(nullptr, nullptr, 0, 1, 1); }},
        {"CloseCurRenderer", [] { GetCOREInterface()->CloseCurRenderer(); }},
        {"CurRendererRenderFrame",
         [] { GetCOREInterface()->CurRendererRenderFrame(0, nullptr, nullptr, 1.0F, nullptr, nullptr); }},
        {"GetActiveViewport", [] { GetCOREInterface()->GetActiveViewport(); }},
        {"SetTime", set_time_to_frame_1},
        {"ReleaseViewport", [] { GetCOREInterface()->ReleaseViewport(nullptr); }},
    };
    for (const auto& [name, call] : calls) {
        SCOPED_TRACE(name);
        fault_at_next(name, "Illegal Instruction");
        EXPECT_EQ(EXCEPTION_ILLEGAL_INSTRUCTION, guarded(call).code);
        EXPECT_EQ(0U, guarded(call).code);
    }
}

TEST_F(FaultInjectionTest, ThrowsEachTypeOfException) {
    throw_at_next("SetTime", "stdException", "first");
    try {
        set_time_to_frame_1();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::exception& error) {
        EXPECT_STREQ("first", error.what());
    }
    throw_at_next("SetTime", "maxException", "second");
    try {
        set_time_to_frame_1();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const MAXException& error) {
        EXPECT_EQ("second", error.message);
    }
    throw_at_next("SetTime", "other", "third");
    try {
        set_time_to_frame_1();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::exception&) {
        ADD_FAILURE() << "a standard exception";
    } catch (const MAXException&) {
        ADD_FAILURE() << "a MAXException";
    } catch (...) {
    }
    set_time_to_frame_1();
    EXPECT_EQ(160, m_core.GetTime());
}

TEST_F(FaultInjectionTest, UnknownNamesAreRefusedWithTheValidOnes) {
    const auto text_of = [](auto call) -> std::string {
        try {
            call();
        } catch (const std::invalid_argument& error) {
            return error.what();
        }
        return "nothing was thrown";
    };
    EXPECT_THAT(text_of([] { fault_at_next("Render", "Access Violation"); }),
                testing::AllOf(testing::HasSubstr("\"Render\""),
                               testing::HasSubstr("LoadFromFile, OpenCurRenderer")));
    EXPECT_THAT(
        text_of([] { fault_at_next("SetTime", "access violation"); }),
        testing::AllOf(testing::HasSubstr("\"access violation\""), testing::HasSubstr("\"Access Violation\""),
                       testing::HasSubstr("\"Float Underflow\"")));
    EXPECT_THAT(text_of([] { throw_at_next("SetTime", "custom", ""); }), testing::HasSubstr("maxException"));
    set_time_to_frame_1();
}

/// What the product's guards pass on.
int take_none(DWORD /*code*/, EXCEPTION_POINTERS* /*information*/, void* /*owner*/) {
    return EXCEPTION_CONTINUE_SEARCH;
}

void die_of(const char* kind) {
    const rlimit no_core_file{0, 0};
    setrlimit(RLIMIT_CORE, &no_core_file);
    const auto provoke = [](void* fault) { static_cast<const ProcessorFault*>(fault)->provoke(); };
    ProcessorFault fault = find_processor_fault(kind);
    seh_guarded_call(provoke, &fault, take_none, nullptr);
}

TEST(ProcessorFaultDeathTest, WhatNoGuardTakesKillsWithItsOwnSignal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(die_of("Float Underflow"), testing::KilledBySignal(SIGFPE), "");
    EXPECT_EXIT(die_of("Breakpoint"), testing::KilledBySignal(SIGTRAP), "");
    EXPECT_EXIT(die_of("Unknown SEH Exception Code"), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace corrivane::host::test
