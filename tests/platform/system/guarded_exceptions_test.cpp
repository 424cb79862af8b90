// Exceptions that are no processor faults: those of C++, and those that are raised in software.
#include "faults.h"

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

namespace {

TEST(GuardedCall, CppExceptionPassesAsTheSameObjectOncePastEachFilter) {
    Watch outer, inner;
    outer.decision = inner.decision = EXCEPTION_CONTINUE_SEARCH;
    const std::exception* thrown = nullptr;
    const auto throw_noted = [&] {
        try {
            throw std::runtime_error("passes");
        } catch (const std::exception& exception) {
            thrown = &exception;
            throw;
        }
    };
    try {
        guarded([&] { guarded(throw_noted, inner); }, outer);
        FAIL() << "the exception did not pass";
    } catch (const std::runtime_error& exception) {
        EXPECT_EQ(&exception, thrown);
    }
    for (const Watch& seen : {inner, outer}) {
        EXPECT_EQ(seen.runs, 1);
        EXPECT_EQ(seen.code, CPP_EXCEPTION_CODE);
        MODULEENTRY32 module;
        EXPECT_TRUE(find_module(seen.record.ExceptionAddress, module));
        EXPECT_TRUE(seen.walk_goes_on);
    }
}

struct FaultsOnDestruction {
    ~FaultsOnDestruction() { read_address_16(); }
};

TEST(GuardedCall, WhatIsTakenLeavesNoTraceOfTheExceptionUnderWay) {
    Watch seen;
    const auto fault_in_catch = [] {
        try {
            throw 1;
        } catch (int) {
            read_address_16();
        }
    };
    const auto fault_in_unwinding = [] {
        const FaultsOnDestruction guard;
        throw 1;
    };
    EXPECT_EQ(guarded(fault_in_catch, seen), EXCEPTION_ACCESS_VIOLATION);
    EXPECT_EQ(std::current_exception(), nullptr);
    EXPECT_EQ(guarded(fault_in_unwinding, seen), EXCEPTION_ACCESS_VIOLATION);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_EQ(guarded([] { throw 1; }, seen), CPP_EXCEPTION_CODE);
    EXPECT_EQ(std::current_exception(), nullptr);
}

TEST(RaiseException, WalksTheGuardsLikeAFault) {
    Watch outer, inner;
    inner.decision = EXCEPTION_CONTINUE_SEARCH;
    const ULONG_PTR parameters[] = {7, 8};
    const auto raise_it = [&] { RaiseException(0xE0001234, 0, 2, parameters); };
    EXPECT_EQ(guarded([&] { guarded(raise_it, inner); }, outer), 0xE0001234);
    EXPECT_EQ(inner.runs, 1);
    EXPECT_EQ(outer.record.NumberParameters, 2u);
    EXPECT_EQ(outer.record.ExceptionInformation[1], 8u);
}

}  // namespace
