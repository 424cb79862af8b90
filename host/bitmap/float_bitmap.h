#pragma once

#include "bitmap/frame_buffer_window.h"
#include "bitmap/output_file.h"

#include <max/bitmap.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace corrivane::host {

/// The one kind of bitmap that this host makes: 32-bit float RGBA, always with image storage. Colour is
/// not divided by alpha, and is kept as the renderer left it: values below 0, above 1, infinite or not a
/// number stay.
///
/// Lives from TheManager->Create (or make) to DeleteThis. Code that gets a Bitmap* from elsewhere in the host
/// reaches the storage with dynamic_cast<FloatBitmap*>. Pixels may be written from several threads at once,
/// each its own; everything else belongs to one thread.
class FloatBitmap final : public Bitmap {
public:
    /// A black, transparent bitmap. Null when a size is not positive, when the image would have more than
    /// max_pixels pixels or would not fit in this machine's memory, or when there is no memory left; the
    /// bitmap log then says so.
    static FloatBitmap* make(int width, int height);
    static constexpr std::int64_t max_pixels = std::int64_t{1} << 30;

    FloatBitmap(const FloatBitmap&) = delete;
    FloatBitmap& operator=(const FloatBitmap&) = delete;

    /// All pixels: rows from the top one down, without gaps, the first pixel at the start of a memory page.
    BMM_Color_fl* pixels() { return m_pixels; }
    const BMM_Color_fl* pixels() const { return m_pixels; }
    /// Row `y`, which must lie in the image.
    BMM_Color_fl* row(int y) { return m_pixels + y * stride(); }
    const BMM_Color_fl* row(int y) const { return m_pixels + y * stride(); }
    /// Pixels from the start of a row to the start of the next.
    std::ptrdiff_t stride() const { return m_width; }

    int Width() const override { return m_width; }
    int Height() const override { return m_height; }
    bool HasStorage() const override { return true; }
    bool GetPixels(int x, int y, int count, BMM_Color_fl* pixels) const override;
    const BMM_Color_fl* FloatRow(int y) const override;
    /// Nothing to make: alpha is always there, and the renderer keeps its other channels itself.
    void PrepareGChannels(const BitmapInfo& info) override;

    /// The results are those of output_codes.h, and failures are in the bitmap log too; what goes into the
    /// file, and when, is in output_file.h. OpenOutput creates nothing, Write puts the whole file in its
    /// place, Close forgets the file.
    BMMRES OpenOutput(const BitmapInfo& info) override;
    BMMRES Write(const BitmapInfo& info, int frame) override;
    BMMRES Close(const BitmapInfo& info, int flag) override;

    /// `from` is another bitmap. In COPY_IMAGE_USE_CUSTOM mode, with BMM_CUSTOM_POSITION among the custom
    /// flags, the top left pixel of `from` comes to (CustomX, CustomY), else to (0, 0). What lies outside is
    /// cut off, what is not covered gets `fill`.
    void CopyImage(const Bitmap& from, int mode, BMM_Color_fl fill, const BitmapInfo& info) override;

    /// Headless: recorded for last_frame_buffer_window, not shown.
    void Display(const char* title, int position, bool autonomous, bool saveButton, const void* crop,
                 const void* clone) override;
    void UnDisplay() override;

    void DeleteThis() override;

private:
    FloatBitmap(int width, int height, BMM_Color_fl* pixels);
    ~FloatBitmap();

    int m_width;
    int m_height;
    BMM_Color_fl* m_pixels;
    std::optional<OutputFile> m_output;
};

/// How many bitmaps this process has made and given back. Safe to ask from any thread.
struct BitmapCounts {
    std::uint64_t created;
    std::uint64_t released;
};
BitmapCounts bitmap_counts();
/// Bitmaps that were made and not yet given back.
std::int64_t live_bitmaps();

}  // namespace corrivane::host
