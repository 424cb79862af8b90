#include "scene/image_file.h"
#include "scene/limits.h"

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <vector>

namespace corrivane::host {

namespace {

/// libjpeg leaves its functions by longjmp, so those here that call it hold no object that would have to be destroyed.
class JpegFile : public ImageFile {
public:
    explicit JpegFile(ByteRange file) : m_file(file) {}
    ~JpegFile() override {
        if (m_created) jpeg_destroy_decompress(&m_decoder);
    }

    bool read_header() override {
        m_decoder.err = jpeg_std_error(&m_errors);
        m_decoder.client_data = this;
        m_errors.error_exit = on_error;
        m_errors.emit_message = on_message;
        if (setjmp(m_way_out) != 0) return false;
        jpeg_create_decompress(&m_decoder);
        m_created = true;
        m_progress.progress_monitor = on_progress;
        m_decoder.progress = &m_progress;
        jpeg_mem_src(&m_decoder, m_file.data, static_cast<unsigned long>(m_file.size));
        jpeg_read_header(&m_decoder, TRUE);
        m_width = m_decoder.image_width;
        m_height = m_decoder.image_height;
        return true;
    }

    bool read_pixels(std::uint8_t* rgba) override {
        if (setjmp(m_way_out) != 0) return false;
        const bool four_inks =
            m_decoder.jpeg_color_space == JCS_CMYK || m_decoder.jpeg_color_space == JCS_YCCK;
        m_decoder.out_color_space = four_inks ? JCS_CMYK : JCS_EXT_RGBA;
        jpeg_start_decompress(&m_decoder);
        while (m_decoder.output_scanline < m_decoder.output_height) {
            JSAMPROW row = rgba + std::size_t{m_decoder.output_scanline} * m_width * 4;
            jpeg_read_scanlines(&m_decoder, &row, 1);
            if (four_inks) inks_to_rgba(row);
        }
        jpeg_finish_decompress(&m_decoder);
        return true;
    }

private:
    /// Cyan, magenta, yellow and black; Adobe's programs, which write nearly all such files, store them inverted.
    void inks_to_rgba(std::uint8_t* pixels) const {
        const unsigned flip = m_decoder.saw_Adobe_marker ? 0 : 255;
        for (std::uint64_t x = 0; x < m_width; ++x, pixels += 4) {
            const unsigned black = pixels[3] ^ flip;
            for (int c = 0; c < 3; ++c)
                pixels[c] = static_cast<std::uint8_t>(((pixels[c] ^ flip) * black + 127) / 255);
            pixels[3] = 255;
        }
    }

    static JpegFile& of(j_common_ptr decoder) { return *static_cast<JpegFile*>(decoder->client_data); }

    void note_message() {
        char text[JMSG_LENGTH_MAX] = {};
        m_errors.format_message(reinterpret_cast<j_common_ptr>(&m_decoder), text);
        note_fault(text);
    }
    [[noreturn]] static void on_error(j_common_ptr decoder) {
        of(decoder).note_message();
        std::longjmp(of(decoder).m_way_out, 1);
    }
    /// Level -1 is data that was lost. A few of those messages are about nothing that shows.
    static void on_message(j_common_ptr decoder, int level) {
        const int code = decoder->err->msg_code;
        if (level >= 0 || code == JWRN_ADOBE_XFORM || code == JWRN_EXTRANEOUS_DATA ||
            code == JWRN_JFIF_MAJOR) {
            return;
        }
        of(decoder).note_message();
    }
    static void on_progress(j_common_ptr decoder) {
        JpegFile& file = of(decoder);
        if (file.m_decoder.input_scan_number <= limits::jpeg_scans) return;
        file.note_fault("too many scans");
        std::longjmp(file.m_way_out, 1);
    }

    ByteRange m_file;
    jpeg_decompress_struct m_decoder{};
    jpeg_error_mgr m_errors{};
    jpeg_progress_mgr m_progress{};
    std::jmp_buf m_way_out{};
    bool m_created = false;
};

}  // namespace

std::unique_ptr<ImageFile> open_jpeg(ByteRange file) {
    if (file.size < 3 || file.data[0] != 0xff || file.data[1] != 0xd8 || file.data[2] != 0xff) return nullptr;
    return std::make_unique<JpegFile>(file);
}

}  // namespace corrivane::host
