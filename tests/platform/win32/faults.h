// Code that really faults, one function for each way to do it.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <iosfwd>
#include <string>
#include <vector>

struct Provocation {
    std::string name;
    void (*provoke)(void*);  // the argument is not used
    DWORD code;              // what Windows would call it
    int signal;              // what Linux kills for
    // For access violations and the like: what the record's parameters say, if they are the same each time.
    std::vector<ULONG_PTR> parameters = {};
};

void PrintTo(const Provocation& provocation, std::ostream* out);
std::string provocation_name(const testing::TestParamInfo<Provocation>& info);

// All of them save the stack overflows, which take a while.
const std::vector<Provocation>& provocations();
const std::vector<Provocation>& stack_overflows();

void read_address_16(void* unused);
