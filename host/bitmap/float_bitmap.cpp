#include "bitmap/float_bitmap.h"

#include "bitmap/bitmap_log.h"
#include "bitmap/output_codes.h"
#include "os/memory_pages.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <string>

namespace corrivane::host {

namespace {

std::atomic<std::uint64_t> created = 0;
std::atomic<std::uint64_t> released = 0;

bool fits_in_memory(std::int64_t bytes) {
    return bytes < std::int64_t{PTRDIFF_MAX} && static_cast<std::uint64_t>(bytes) < physical_memory();
}

/// Where one image lies over another, along one axis: [begin, end) in the lower one's pixels.
struct Span {
    int begin;
    int end;
};

Span covered(int position, int size, int available) {
    const std::int64_t end = std::int64_t{position} + size;
    return {std::clamp(position, 0, available), int(std::clamp<std::int64_t>(end, 0, available))};
}

void copy_pixels(const Bitmap& from, int x, int y, int count, BMM_Color_fl* pixels) {
    if (const BMM_Color_fl* row = from.FloatRow(y)) {
        std::memcpy(pixels, row + x, count * sizeof *pixels);
    } else {
        from.GetPixels(x, y, count, pixels);
    }
}

/// A failure's code, after it has been logged.
BMMRES failed(const char* call, const BitmapInfo& info, BMMRES code) {
    log_bitmap_failure(
        call, std::string(info.Name()) + ": " + output_text(code) + " (code " + std::to_string(code) + ")");
    return code;
}

template <class Action>
BMMRES output_result(const char* call, const BitmapInfo& info, Action action) {
    try {
        action();
        return BMMRES_SUCCESS;
    } catch (const OutputFailure& failure) {
        return failed(call, info, failure.code);
    } catch (const std::bad_alloc&) {
        return failed(call, info, output_out_of_memory);
    }
}

/// Null, after the reason has been logged.
FloatBitmap* refused(int width, int height, const char* why) {
    log_bitmap_failure(
        "Create", "an image of " + std::to_string(width) + "x" + std::to_string(height) + " pixels: " + why);
    return nullptr;
}

}  // namespace

FloatBitmap* FloatBitmap::make(int width, int height) {
    if (width <= 0 || height <= 0) return refused(width, height, "sizes are at least 1");
    const std::int64_t count = std::int64_t{width} * height;
    if (count > max_pixels) return refused(width, height, "too many");
    if (!fits_in_memory(count * sizeof(BMM_Color_fl)))
        return refused(width, height, "too many for the memory");
    const std::size_t bytes = count * sizeof(BMM_Color_fl);
    // Which nobody has touched before the renderer does: calloc would clear a block that it uses again.
    void* pixels = zero_pages(bytes);
    if (!pixels) return refused(width, height, "no memory left");
    auto* bitmap = new (std::nothrow) FloatBitmap(width, height, static_cast<BMM_Color_fl*>(pixels));
    if (!bitmap) {
        release_zero_pages(pixels, bytes);
        return refused(width, height, "no memory left");
    }
    return bitmap;
}

FloatBitmap::FloatBitmap(int width, int height, BMM_Color_fl* pixels)
    : m_width(width), m_height(height), m_pixels(pixels) {
    ++created;
}

FloatBitmap::~FloatBitmap() {
    close_frame_buffer_window(*this);
    release_zero_pages(m_pixels, std::size_t(m_width) * m_height * sizeof(BMM_Color_fl));
    ++released;
}

bool FloatBitmap::GetPixels(int x, int y, int count, BMM_Color_fl* pixels) const {
    if (x < 0 || y < 0 || y >= m_height || count < 0 || count > m_width - x) return false;
    std::copy_n(row(y) + x, count, pixels);
    return true;
}

const BMM_Color_fl* FloatBitmap::FloatRow(int y) const {
    return y >= 0 && y < m_height ? row(y) : nullptr;
}

void FloatBitmap::PrepareGChannels(const BitmapInfo&) {}

BMMRES FloatBitmap::OpenOutput(const BitmapInfo& info) {
    m_output.reset();
    return output_result("OpenOutput", info, [&] { m_output.emplace(info, m_width, m_height); });
}

BMMRES FloatBitmap::Write(const BitmapInfo& info, int) {
    if (!m_output) return failed("Write", info, output_not_open);
    const BMMRES result = output_result("Write", info, [&] { m_output->write(m_pixels); });
    if (result == BMMRES_SUCCESS && !m_output->note_written())
        log_bitmap_warning("Write", std::string(info.Name()) +
                                        ": another image of this frame had this name; the last one stays");
    return result;
}

BMMRES FloatBitmap::Close(const BitmapInfo&, int) {
    if (!m_output) return output_not_open;
    m_output.reset();
    return BMMRES_SUCCESS;
}

void FloatBitmap::CopyImage(const Bitmap& from, int mode, BMM_Color_fl fill, const BitmapInfo& info) {
    const bool placed = mode == COPY_IMAGE_USE_CUSTOM && (info.CustomFlags() & BMM_CUSTOM_POSITION) != 0;
    const int left = placed ? info.CustomX() : 0;
    const int top = placed ? info.CustomY() : 0;
    const Span columns = covered(left, from.Width(), m_width);
    const Span rows = covered(top, from.Height(), m_height);

    std::fill(row(0), row(rows.begin), fill);
    for (int y = rows.begin; y < rows.end; ++y) {
        BMM_Color_fl* const target = row(y);
        std::fill(target, target + columns.begin, fill);
        if (columns.begin < columns.end) {
            copy_pixels(from, columns.begin - left, y - top, columns.end - columns.begin,
                        target + columns.begin);
        }
        std::fill(target + columns.end, target + m_width, fill);
    }
    std::fill(row(rows.end), row(m_height), fill);
}

void FloatBitmap::Display(const char* title, int position, bool autonomous, bool saveButton, const void*,
                          const void*) {
    open_frame_buffer_window(*this, {.title = title ? title : "",
                                     .position = position,
                                     .autonomous = autonomous,
                                     .save_button = saveButton,
                                     .width = m_width,
                                     .height = m_height});
}

void FloatBitmap::UnDisplay() {
    close_frame_buffer_window(*this);
}

void FloatBitmap::DeleteThis() {
    delete this;
}

BitmapCounts bitmap_counts() {
    return {created, released};
}

std::int64_t live_bitmaps() {
    const BitmapCounts counts = bitmap_counts();
    return std::int64_t(counts.created - counts.released);
}

}  // namespace corrivane::host
