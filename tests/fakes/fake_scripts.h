#pragma once

#include <max/maxscript/maxscript.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace corrivane::test {

Value* boolean(bool truth);
/// A value that is printed as a number and has no text.
Value* number(int value);
/// A value whose text is null.
Value* without_text();

/// A MAXScript runtime whose language is what a test says: an expression ends at a semicolon or an end of
/// line, one that begins with ")" is a syntax error, and what any other one does is looked up. Values live on
/// a heap that is collected at every allocation, from the runtime's own kind of roots, so that a value
/// without a root is a use after free.
struct FakeScripts {
    std::map<std::string, std::function<Value*()>> expressions;
    std::map<std::string, std::string> files;  ///< texts by name
    std::string listener;                      ///< everything printed
    int closed_files = 0;
    bool refuses_thread_locals = false;
    std::size_t collected = 0;  ///< objects
};

FakeScripts& fake_scripts();
/// A fresh runtime with an empty heap; for the calling thread, no frames.
void reset_fake_scripts();

/// The calling thread's chain of local-value frames; null for a thread that has never run MAXScript.
ValueLocalsFrame* current_locals_frame();

}  // namespace corrivane::test
