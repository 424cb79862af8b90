#include <max/maxscript/streams.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

void CharStream::printf(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::vector<char> text(length < 0 ? 1 : static_cast<std::size_t>(length) + 1);
    if (length >= 0) std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    write(text.data(), text.size() - 1);
}
