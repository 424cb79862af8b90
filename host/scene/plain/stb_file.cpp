#include "scene/image_file.h"
#include "scene/limits.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#include <stb/stb_image.h>

#include <climits>
#include <initializer_list>

namespace corrivane::host {

namespace {

/// PNG and JPEG by the small decoder, which takes a damaged file for none at all.
class StbFile : public ImageFile {
public:
    explicit StbFile(ByteRange file) : m_file(file) {}

    bool read_header() override {
        int width = 0;
        int height = 0;
        int channels = 0;
        const bool read =
            m_file.size <= INT_MAX && stbi_info_from_memory(m_file.data, size(), &width, &height, &channels);
        if (!read) return fail();
        m_width = static_cast<std::uint64_t>(width);
        m_height = static_cast<std::uint64_t>(height);
        return true;
    }

    bool read_pixels(std::uint8_t* rgba) override {
        int width = 0;
        int height = 0;
        int channels = 0;
        stbi_uc* pixels = stbi_load_from_memory(m_file.data, size(), &width, &height, &channels, 4);
        if (pixels == nullptr) return fail();
        std::memcpy(rgba, pixels, m_width * m_height * 4);
        stbi_image_free(pixels);
        return true;
    }

private:
    int size() const { return static_cast<int>(m_file.size); }

    bool fail() {
        const char* reason = stbi_failure_reason();
        note_fault(reason == nullptr ? "damaged" : reason);
        return false;
    }

    ByteRange m_file;
};

std::unique_ptr<ImageFile> open_file(ByteRange file, std::initializer_list<unsigned char> start) {
    if (file.size < start.size() || !std::equal(start.begin(), start.end(), file.data)) return nullptr;
    return std::make_unique<StbFile>(file);
}

}  // namespace

std::unique_ptr<ImageFile> open_png(ByteRange file) {
    return open_file(file, {0x89, 'P', 'N', 'G'});
}

std::unique_ptr<ImageFile> open_jpeg(ByteRange file) {
    return open_file(file, {0xFF, 0xD8});
}

}  // namespace corrivane::host
