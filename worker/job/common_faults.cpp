#include "worker/job/common_faults.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace corrivane::worker {
namespace {

/// Of opening or writing a file; docs/scenes.md lists them.
constexpr int codes_of_every_frame[] = {3, 5, 15, 19, 50, 53, 87, 112, 123, 126, 206, 223, 267};

constexpr std::string_view code_prefix = "(): error code ";

constexpr std::string_view texts_of_every_frame[] = {
    "Scene does not contain render camera ",
    "The output file name is too long for frame ",
};

}  // namespace

bool is_fault_of_every_frame(std::string_view error) {
    const auto holds = [error](std::string_view text) { return error.find(text) != std::string_view::npos; };
    if (std::ranges::any_of(texts_of_every_frame, holds)) return true;
    const auto place = error.find(code_prefix);
    if (place == std::string_view::npos) return false;
    int code = 0;
    std::from_chars(error.data() + place + code_prefix.size(), error.data() + error.size(), code);
    return std::ranges::find(codes_of_every_frame, code) != std::end(codes_of_every_frame);
}

}  // namespace corrivane::worker
