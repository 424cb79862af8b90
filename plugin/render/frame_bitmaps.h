#pragma once

#include <max/bitmap.h>

#include <stdexcept>
#include <utility>

/// A fresh bitmap, the caller's to release; one that cannot be made fails the frame.
inline Bitmap* create_bitmap(const BitmapInfo& info) {
    Bitmap* bitmap = TheManager->Create(info);
    if (bitmap == nullptr)
        throw std::runtime_error("Failed to allocate Bitmap: TheManager->Create() return NULL");
    return bitmap;
}

/// Gives a bitmap back, if there is one, and forgets it first: a call that faults must not be made again by
/// every later frame.
inline void release(Bitmap*& bitmap) {
    if (Bitmap* given_back = std::exchange(bitmap, nullptr)) given_back->DeleteThis();
}
