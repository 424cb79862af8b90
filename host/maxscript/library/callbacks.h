#pragma once

#include <string_view>

class Value;

namespace corrivane::host {

/// Runs what `callbacks.addScript #kind …` has registered, in the order of its registration; `kind` is a name of 3ds
/// Max's, in any case, that callbacks.cpp lists. `parameter` is what `callbacks.notificationParam()` gives meanwhile;
/// null for undefined. An error in one of them is thrown on, and ends the round.
void run_callbacks(std::string_view kind, Value* parameter = nullptr);

/// Whether anything waits for that.
bool has_callbacks(std::string_view kind);

/// Forgets the registered callback scripts.
void forget_callbacks();

}  // namespace corrivane::host
