#include "worker/views/report/html.h"

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

#include <cctype>
#include <cstdio>
#include <filesystem>

namespace corrivane::worker {
namespace {

std::string percent_encoded(const std::string& path) {
    std::string address;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        char code[4];
        std::snprintf(code, sizeof code, "%%%02X", byte);
        const bool plain = (byte < 0x80 && std::isalnum(byte) != 0) ||
                           std::string_view("/-_.~").find(c) != std::string_view::npos;
        address += plain ? std::string(1, c) : code;
    }
    return address;
}

}  // namespace

std::string escaped(std::string_view text) {
    std::string html;
    html.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html +=
                    (static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t') || c == '\x7f' ? '?' : c;
        }
    }
    return html;
}

std::string file_link(const std::string& path, std::string_view text) {
    if (path.empty()) return escaped(text);
    std::error_code ignored;
    const std::string absolute = std::filesystem::absolute(path, ignored).lexically_normal().string();
    return "<a href=\"file://" + percent_encoded(absolute) + "\">" + escaped(text) + "</a>";
}

std::string jpeg_address(const std::vector<unsigned char>& bytes) {
    using namespace boost::archive::iterators;
    using Digits = base64_from_binary<transform_width<const unsigned char*, 6, 8>>;
    std::string address = "data:image/jpeg;base64,";
    address.append(Digits(bytes.data()), Digits(bytes.data() + bytes.size()));
    return address.append((3 - bytes.size() % 3) % 3, '=');
}

}  // namespace corrivane::worker
