#include "images/image_formats.h"
#include "images/numbered_name.h"

#include <max/bitmap.h>

#include <cstring>
#include <string>

// What 3ds Max says of image file names, by the rules that the host and the worker share.

const char* BMMFormatName(const char* fileName) {
    const corrivane::ImageFormat* format = corrivane::find_image_format(fileName == nullptr ? "" : fileName);
    return format == nullptr ? "" : format->name;
}

bool BMMCreateNumberedFilename(const char* name, int frame, char* numbered) {
    numbered[0] = '\0';
    if (name == nullptr) return false;
    const std::string text = corrivane::numbered_name(name, frame);
    if (text.size() >= BMM_MAX_PATH) return false;
    std::memcpy(numbered, text.c_str(), text.size() + 1);
    return true;
}
