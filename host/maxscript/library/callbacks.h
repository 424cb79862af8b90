#pragma once

#include <string_view>

namespace corrivane::host {

/// Runs the scripts that `callbacks.addScript #kind "…"` has registered, in the order of their registration;
/// `kind` is "preRenderFrame" or "postRenderFrame", in any case. An error in one of them is thrown on, and
/// ends the round.
void run_callbacks(std::string_view kind);

/// Forgets the registered callback scripts.
void forget_callbacks();

}  // namespace corrivane::host
