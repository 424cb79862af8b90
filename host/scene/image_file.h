#pragma once

#include "scene/byte_range.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace corrivane::host {

/// An image file in memory, decoded in two steps, so that its size can be judged before there is memory for its
/// pixels. The file's bytes must stay until it is done.
class ImageFile {
public:
    virtual ~ImageFile() = default;

    /// False when the header is damaged; fault() then says how.
    virtual bool read_header() = 0;
    std::uint64_t width() const { return m_width; }
    std::uint64_t height() const { return m_height; }

    /// Into width * height pixels of 4 bytes, RGBA, that hold zeros. False when the file is damaged beyond what
    /// can be shown; fault() then says how. True with a fault when part of it is lost.
    virtual bool read_pixels(std::uint8_t* rgba) = 0;
    const char* fault() const { return m_fault; }

protected:
    /// Called where the decoding libraries leave by longjmp: it allocates nothing. A fault that is there stays.
    void note_fault(const char* text) {
        if (m_fault[0] == '\0') std::memcpy(m_fault, text, strnlen(text, sizeof m_fault - 1));
    }

    std::uint64_t m_width = 0;
    std::uint64_t m_height = 0;

private:
    char m_fault[200] = {};
};

/// Null when the bytes do not begin like a file of that format.
std::unique_ptr<ImageFile> open_png(ByteRange file);
std::unique_ptr<ImageFile> open_jpeg(ByteRange file);

}  // namespace corrivane::host
