#pragma once

#include "faults.h"

#include <gtest/gtest.h>

// The list of exception handlers, which only 32-bit code uses, to be compared.
struct ThreadState {
    const void* handlers;

    static ThreadState now() { return {reinterpret_cast<const NT_TIB*>(NtCurrentTeb())->ExceptionList}; }
};

inline void expect_same(const ThreadState& before, const ThreadState& after) {
    EXPECT_EQ(before.handlers, after.handlers);
}

inline void disturb_thread() {}
