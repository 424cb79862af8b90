#include "scene/external_files.h"

#include "json/shortened.h"
#include "scene/limits.h"

#include <array>
#include <charconv>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace corrivane::host {

namespace {

namespace fs = std::filesystem;

std::string percent_decoded(std::string_view uri) {
    std::string text;
    text.reserve(uri.size());
    for (std::size_t i = 0; i < uri.size(); ++i) {
        unsigned char byte = 0;
        const char* digits = uri.data() + i + 1;
        if (uri[i] == '%' && i + 2 < uri.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            text += static_cast<char>(byte);
            i += 2;
        } else {
            text += uri[i];
        }
    }
    return text;
}

/// 64 for a character that is none of base64's digits.
constexpr std::array<unsigned char, 256> make_base64_table() {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<unsigned char, 256> table{};
    table.fill(64);
    for (std::size_t i = 0; i < digits.size(); ++i)
        table[static_cast<unsigned char>(digits[i])] = static_cast<unsigned char>(i);
    return table;
}

/// False when there is something else in it.
bool decode_base64(std::string_view text, std::vector<unsigned char>& bytes) {
    static constexpr auto table = make_base64_table();
    while (text.ends_with('='))
        text.remove_suffix(1);
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const unsigned char digit = table[static_cast<unsigned char>(c)];
        if (digit == 64) return false;
        bits = bits << 6 | digit;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<unsigned char>(bits >> count));
        }
    }
    return true;
}

}  // namespace

bool is_regular_file(const fs::path& file, std::string& why) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (fs::is_regular_file(status)) return true;
    why = fs::exists(status) ? "not a regular file" : "not there";
    return false;
}

std::optional<std::vector<unsigned char>> read_file(const fs::path& file, std::string& why) {
    if (!is_regular_file(file, why)) return std::nullopt;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    if (!error && size > limits::file_bytes) {
        why = "larger than 2 GB";
        return std::nullopt;
    }
    std::ifstream stream(file, std::ios::binary);
    std::vector<unsigned char> bytes(error ? 0 : size);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (error || !stream) {
        why = "cannot be read";
        return std::nullopt;
    }
    return bytes;
}

std::optional<fs::path> ExternalFiles::locate(const std::string& name, std::string& why) const {
    if (name.empty()) {
        why = "no name";
        return std::nullopt;
    }
    auto path = name.find("://") == std::string::npos ? m_context.neighbour(name) : std::nullopt;
    if (!path) why = "not named relative to the scene";
    return path;
}

ExternalFiles::Bytes ExternalFiles::read(const json::Value& uri) {
    return uri.text().starts_with("data:") ? read_data(uri) : read_named(uri);
}

std::string ExternalFiles::name_of(const json::Value& uri) {
    return uri.text().starts_with("data:") ? std::string() : percent_decoded(uri.text());
}

ExternalFiles::Bytes ExternalFiles::hold(std::vector<unsigned char> bytes) {
    const std::size_t size = bytes.size();
    m_context.hold(size);
    return Bytes(new std::vector<unsigned char>(std::move(bytes)),
                 [&context = m_context, size](const std::vector<unsigned char>* held) {
                     delete held;
                     context.release(size);
                 });
}

ExternalFiles::Bytes ExternalFiles::read_data(const json::Value& uri) {
    const std::string_view text = uri.text();
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos) uri.fail("a data: URI without a comma: " + json::shortened(text));
    const std::string_view type = text.substr(0, comma);
    std::string_view data = text.substr(comma + 1);
    const bool encoded = data.find('%') != std::string_view::npos;
    const std::string decoded = encoded ? percent_decoded(data) : std::string();
    if (encoded) data = decoded;
    if (!type.ends_with(";base64")) return hold({data.begin(), data.end()});
    std::vector<unsigned char> bytes;
    if (!decode_base64(data, bytes)) uri.fail("no base64: " + json::shortened(text));
    return hold(std::move(bytes));
}

ExternalFiles::Bytes ExternalFiles::read_named(const json::Value& uri) {
    const std::string name = name_of(uri);
    const auto [found, added] = m_files.try_emplace(name);
    File& file = found->second;
    if (file.missing) return nullptr;
    if (auto bytes = file.bytes.lock()) return bytes;
    std::string why;
    const auto path = locate(name, why);
    auto content = path ? read_file(*path, why) : std::nullopt;
    if (!content) {
        file.missing = true;
        m_context.missing(MissingKind::external_file, name, json::shortened(name, 200) + ": " + why);
        return nullptr;
    }
    if (added) m_context.note_read(content->size());
    Bytes bytes = hold(std::move(*content));
    file.bytes = bytes;
    return bytes;
}

}  // namespace corrivane::host
