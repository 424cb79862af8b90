#include "worker/views/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace corrivane::worker {
namespace {

template <typename... Value>
std::string formatted(const char* format, Value... values) {
    char text[64];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string time_text(std::chrono::system_clock::time_point time, const char* format,
                      std::tm* (*parts_of)(const std::time_t*, std::tm*)) {
    const std::time_t seconds =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
    std::tm parts{};
    char text[32];
    std::strftime(text, sizeof text, format, parts_of(&seconds, &parts));
    return text;
}

bool continues_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string format_duration(std::chrono::milliseconds duration) {
    const auto seconds = static_cast<long long>(std::chrono::round<std::chrono::seconds>(duration).count());
    if (seconds < 3600) return formatted("%lld:%02lld", seconds / 60, seconds % 60);
    return formatted("%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string format_seconds(std::chrono::milliseconds duration) {
    return formatted("%.2f s", std::chrono::duration<double>(duration).count());
}

std::string format_bytes(std::uint64_t bytes) {
    if (bytes < 1024) return counted(bytes, "byte");
    double amount = static_cast<double>(bytes);
    const char* unit = "";
    for (const char* const larger : {"KiB", "MiB", "GiB", "TiB"}) {
        // What would be printed as 1024.0 is one of the next unit.
        if (*unit != '\0' && amount < 1023.95) break;
        amount /= 1024;
        unit = larger;
    }
    return formatted("%.1f %s", amount, unit);
}

std::string clock_time(std::chrono::system_clock::time_point time) {
    return time_text(time, "%H:%M:%S", ::localtime_r);
}

std::string utc_time(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto rest = std::chrono::floor<std::chrono::milliseconds>(time - seconds).count();
    return time_text(time, "%Y-%m-%dT%H:%M:%S", ::gmtime_r) + formatted(".%03dZ", static_cast<int>(rest));
}

std::string frame_ranges(const std::vector<int>& frames) {
    std::string text;
    for (auto first = frames.begin(); first != frames.end();) {
        const auto gap = std::adjacent_find(
            first, frames.end(), [](int one, int next) { return static_cast<long long>(next) - one != 1; });
        const auto last = gap == frames.end() ? gap - 1 : gap;
        text += (text.empty() ? "" : ",") + std::to_string(*first);
        if (last != first) text += (last - first == 1 ? "," : "-") + std::to_string(*last);
        first = last + 1;
    }
    return text;
}

std::string cut(const std::string& line, std::size_t columns) {
    std::size_t end = 0;
    for (; end < line.size(); ++end)
        if (!continues_character(line[end]) && columns-- == 0) break;
    return line.substr(0, end);
}

}  // namespace corrivane::worker
