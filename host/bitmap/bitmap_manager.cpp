#include "bitmap/float_bitmap.h"
#include "images/image_module.h"

#include <max/bitmap.h>

namespace corrivane::host {

namespace {

class FloatBitmapManager final : public BitmapManager {
public:
    Bitmap* Create(const BitmapInfo& info) override {
        // An image file is going to be written: its writer loads while the frame renders.
        if (*info.FormatName()) prefetch_image_module();
        return FloatBitmap::make(info.Width(), info.Height());
    }
};

FloatBitmapManager manager;

}  // namespace

}  // namespace corrivane::host

BitmapManager* TheManager = &corrivane::host::manager;
