#include "scene/image_file.h"

#include <png.h>

#include <csetjmp>
#include <cstring>
#include <vector>

namespace corrivane::host {

namespace {

/// libpng leaves its functions by longjmp, so those here that call it hold no object that would have to be destroyed.
class PngFile : public ImageFile {
public:
    explicit PngFile(ByteRange file) : m_rest(file) {}
    ~PngFile() override { png_destroy_read_struct(&m_png, &m_info, nullptr); }

    bool read_header() override {
        m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning);
        if (m_png != nullptr) m_info = png_create_info_struct(m_png);
        if (m_info == nullptr) {
            note_fault("not enough memory");
            return false;
        }
        if (setjmp(png_jmpbuf(m_png)) != 0) return false;
        png_set_read_fn(m_png, this, read_bytes);
        // Checksums catch what a line has garbled, not what somebody has made.
        png_set_crc_action(m_png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
        // All that says nothing about the pixels, and may be made to take memory.
        png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        // Sizes are judged by the caller.
        png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_read_info(m_png, m_info);
        m_width = png_get_image_width(m_png, m_info);
        m_height = png_get_image_height(m_png, m_info);
        return true;
    }

    bool read_pixels(std::uint8_t* rgba) override {
        m_rows.resize(m_height);
        for (std::uint64_t y = 0; y < m_height; ++y)
            m_rows[y] = rgba + y * m_width * 4;
        return read_rows();
    }

private:
    bool read_rows() {
        if (setjmp(png_jmpbuf(m_png)) != 0) return false;
        png_set_expand(m_png);
        png_set_scale_16(m_png);
        png_set_gray_to_rgb(m_png);
        png_set_add_alpha(m_png, 0xff, PNG_FILLER_AFTER);
        png_set_interlace_handling(m_png);
        png_read_update_info(m_png, m_info);
        if (png_get_rowbytes(m_png, m_info) != m_width * 4) png_error(m_png, "not made into RGBA");
        png_read_image(m_png, m_rows.data());
        png_read_end(m_png, nullptr);
        return true;
    }

    static void read_bytes(png_structp png, png_bytep to, std::size_t size) {
        ByteRange& rest = static_cast<PngFile*>(png_get_io_ptr(png))->m_rest;
        if (size > rest.size) png_error(png, "the data ends early");
        std::memcpy(to, rest.data, size);
        rest.data += size;
        rest.size -= size;
    }
    [[noreturn]] static void on_error(png_structp png, png_const_charp text) {
        static_cast<PngFile*>(png_get_error_ptr(png))->note_fault(text);
        png_longjmp(png, 1);
    }
    static void on_warning(png_structp, png_const_charp) {}

    ByteRange m_rest;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    std::vector<png_bytep> m_rows;
};

}  // namespace

std::unique_ptr<ImageFile> open_png(ByteRange file) {
    static constexpr unsigned char signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (file.size < sizeof signature || std::memcmp(file.data, signature, sizeof signature) != 0)
        return nullptr;
    return std::make_unique<PngFile>(file);
}

}  // namespace corrivane::host
