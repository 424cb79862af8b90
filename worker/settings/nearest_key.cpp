#include "worker/settings/nearest_key.h"

#include "worker/settings/job_settings.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>
#include <vector>

namespace corrivane::worker {
namespace {

/// Lower case, without what joins words.
std::string plain(std::string_view name) {
    std::string text;
    for (const char c : name)
        if (c != '-' && c != '_') text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string_view last_part(std::string_view key) {
    return key.substr(key.rfind('.') + 1);
}

/// How many letters have to be put in, taken out or exchanged to make one of the other.
std::size_t distance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string nearest_name(std::string_view name, std::span<const std::string> names) {
    constexpr std::size_t longest = 100;  // a name beyond is no slip of the hand
    if (name.size() > longest) return {};
    const std::string wanted = plain(name);
    std::string nearest;
    std::size_t least = std::max<std::size_t>(wanted.size() / 3, 1) + 1;
    for (const std::string& candidate : names) {
        const std::size_t found = distance(wanted, plain(candidate));
        if (found < least) {
            least = found;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string nearest_key(std::string_view key) {
    std::vector<std::string> keys;
    std::vector<std::string> last_parts;
    for (const JobSetting& setting : job_setting_table()) {
        keys.push_back(setting.key);
        last_parts.emplace_back(last_part(setting.key));
    }
    const std::string part = nearest_name(last_part(key), last_parts);
    if (part.empty()) return nearest_name(key, keys);
    return keys[static_cast<std::size_t>(std::ranges::find(last_parts, part) - last_parts.begin())];
}

std::string did_you_mean(const std::string& name) {
    return name.empty() ? "" : "; did you mean \"" + name + "\"?";
}

}  // namespace corrivane::worker
