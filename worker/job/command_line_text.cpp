#include "worker/job/command_line_text.h"

#include "net/farm_protocol.h"

#include <stdexcept>

namespace corrivane::worker {

std::string command_field(std::string_view text) {
    std::string field;
    field.reserve(text.size() + 2);
    for (const char c : text) {
        switch (c) {
            case '\0':
                throw std::invalid_argument("\"" + std::string(text.substr(0, text.find('\0'))) +
                                            "\" is followed by a NUL character, which no command can carry");
            case '\\':
            case '"':
                field += {'\\', c};
                break;
            case '\n':
                field += "\\n";
                break;
            default:
                field += c;
        }
    }
    return text.find(',') == std::string_view::npos ? field : '"' + field + '"';
}

std::string command_line(std::string_view name, const std::vector<std::string>& parameters) {
    std::string line(name);
    for (const std::string& parameter : parameters)
        line += ',' + command_field(parameter);
    if (line.size() > max_sent_payload)
        throw std::invalid_argument(std::string(name) + ": the command has " + std::to_string(line.size()) +
                                    " bytes, one message holds " + std::to_string(max_sent_payload));
    return line;
}

}  // namespace corrivane::worker
