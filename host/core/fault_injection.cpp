#include "core/fault_injection.h"

#include "core/processor_faults.h"

#include <max/exceptions.h>

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>
#include <utility>

namespace corrivane::host {

namespace {

constexpr std::array<std::pair<std::string_view, CoreCall>, 7> core_calls = {{
    {"LoadFromFile", CoreCall::load_from_file},
    {"OpenCurRenderer", CoreCall::open_cur_renderer},
    {"CloseCurRenderer", CoreCall::close_cur_renderer},
    {"CurRendererRenderFrame", CoreCall::cur_renderer_render_frame},
    {"GetActiveViewport", CoreCall::get_active_viewport},
    {"SetTime", CoreCall::set_time},
    {"ReleaseViewport", CoreCall::release_viewport},
}};

/// Thrown where neither std::exception nor MAXException is wanted.
struct OtherFailure {
    std::string text;
};

using Thrower = void (*)(const std::string& text);

[[noreturn]] void throw_standard(const std::string& text) {
    throw std::runtime_error(text);
}

[[noreturn]] void throw_max(const std::string& text) {
    throw MAXException(text);
}

[[noreturn]] void throw_other(const std::string& text) {
    throw OtherFailure{text};
}

constexpr std::array<std::pair<std::string_view, Thrower>, 3> throwers = {{
    {"stdException", throw_standard},
    {"maxException", throw_max},
    {"other", throw_other},
}};

/// What is to happen in the next call of each kind; empty for nothing.
std::array<std::function<void()>, core_calls.size()>& orders() {
    static std::array<std::function<void()>, core_calls.size()> all;
    return all;
}

template <typename Table>
auto look_up(const Table& table, std::string_view name, const char* what) {
    const auto found = std::ranges::find(table, name, [](const auto& row) { return row.first; });
    if (found != table.end()) {
        return found->second;
    }
    std::string text = "no " + std::string(what) + " is called \"" + std::string(name) + "\"; there are: ";
    for (const auto& row : table) {
        text += (row == *table.begin() ? "" : ", ") + std::string(row.first);
    }
    throw std::invalid_argument(text);
}

std::function<void()>& order_of(CoreCall call) {
    return orders()[static_cast<std::size_t>(call)];
}

CoreCall find_core_call(std::string_view name) {
    return look_up(core_calls, name, "call");
}

}  // namespace

void fault_at_next(std::string_view call, std::string_view kind) {
    std::function<void()>& order = order_of(find_core_call(call));
    order = find_processor_fault(kind).provoke;
}

void throw_at_next(std::string_view call, std::string_view exception_type, std::string text) {
    std::function<void()>& order = order_of(find_core_call(call));
    const Thrower thrower = look_up(throwers, exception_type, "type of exception");
    order = [thrower, text = std::move(text)] { thrower(text); };
}

void fail_if_ordered(CoreCall call) {
    std::function<void()>& order = order_of(call);
    if (order) {
        // The order is taken down first: a fault does not come back here.
        std::exchange(order, nullptr)();
    }
}

}  // namespace corrivane::host
