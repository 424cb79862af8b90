#include <system/text_files.h>

void end_lines_as_text_streams_do(std::string& text) {
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 2))
        text.insert(end, 1, '\r');
}
