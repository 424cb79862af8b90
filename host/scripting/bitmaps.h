#pragma once

#include "bitmap/float_bitmap.h"
#include "maxscript/machine/heap.h"
#include "maxscript/machine/properties.h"

#include <string>

namespace corrivane::host {

extern const ValueMetaClass Bitmap_class;

/// An image in memory: prints as `BitMap:C:\out\a.png`. Its pixels go when it is closed or collected.
class BitmapValue final : public TabledValue<BitmapValue> {
public:
    static constexpr const ValueMetaClass& metaclass = Bitmap_class;
    static const PropertyTable<BitmapValue>& properties();

    /// Black and transparent. A MAXScript error for a size that no bitmap has.
    BitmapValue(int width, int height);

    /// A MAXScript error when it was closed.
    FloatBitmap& pixels() const;
    const std::string& file() const { return m_file; }
    void set_file(std::string file) { m_file = std::move(file); }
    void close();
    KeptSettings& kept() { return m_kept; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    Value* copied() override;

private:
    ~BitmapValue() override { close(); }

    FloatBitmap* m_pixels;
    std::string m_file;
    KeptSettings m_kept;
    HeldBytes m_held;
};

/// Writes an image to a file; false, with the reason in the system's log, when that fails.
bool write_picture(FloatBitmap& pixels, const std::string& file);

}  // namespace corrivane::host
