// Feeds the MAXScript compiler and evaluator with any text: nothing may fault, hang or leak frames.

#include "maxscript/machine/heap.h"
#include "maxscript/machine/thread_state.h"
#include "maxscript/runtime.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace corrivane::host;

// Enough for a script that does something, and for a loop that would not end.
constexpr std::uint64_t steps_for_an_input = 20000;
constexpr std::size_t heap_for_an_input = std::size_t{64} << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The first byte chooses the heap's mode; collecting always is slow, so only short texts get it.
    const bool collect_always = size > 0 && size < 512 && data[0] % 16 == 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    {
        const MaxScriptRuntime runtime({.listener_to_stdout = false, .file_access = false});
        define_function("sleep", [](Arguments&) -> Value* { return &ok; });
        set_heap_limit(heap_for_an_input);
        set_step_limit(collect_always ? steps_for_an_input / 100 : steps_for_an_input);
        set_gc_stress(collect_always);
        run_text(text);
        set_gc_stress(false);
    }
    if (thread_state().locals.current_locals_frame != nullptr) std::abort();
    return 0;
}
