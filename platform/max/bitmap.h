#pragma once

#include <cstdint>
#include <string>

/// One pixel as four floats; 1.0 is full intensity.
struct BMM_Color_fl {
    float r, g, b, a;
};

/// What a bitmap call answers: 0 is success, anything else an error code.
using BMMRES = std::uint16_t;
constexpr BMMRES BMMRES_SUCCESS = 0;

/// BitmapInfo::Type values that are used here.
constexpr int BMM_TRUE_64 = 7;         ///< 16 bits per channel, RGBA
constexpr int BMM_FLOAT_RGBA_32 = 17;  ///< 32-bit floating point per channel, RGBA

/// BitmapInfo::Flags: the image has an alpha channel.
constexpr std::uint32_t MAP_HAS_ALPHA = 2;

/// BitmapInfo::CustomFlags: Bitmap::CopyImage places the source at the custom position.
constexpr std::uint32_t BMM_CUSTOM_POSITION = 8;

/// Bitmap::Write: this is the one image of its file, not a frame of a sequence.
constexpr int BMM_SINGLEFRAME = -2000000;

/// Bitmap::CopyImage: place the source by the custom settings of the description.
constexpr int COPY_IMAGE_USE_CUSTOM = 3;

/// The longest file name that the bitmap calls take, terminating zero included.
constexpr int BMM_MAX_PATH = 260;

/// The name of the image format that a file name's extension stands for ("PNG", "OpenEXR"), "" for none.
const char* BMMFormatName(const char* fileName);

/// Describes an image: where it is stored and what it looks like. A plain value: copies are independent.
/// A fresh description has no name, no format, size 0 x 0 and square pixels.
class BitmapInfo {
public:
    const char* Name() const { return m_name.c_str(); }
    /// The image format that belongs to the name, as a text.
    const char* FormatName() const { return m_format.c_str(); }
    void SetName(const char* name) {
        m_name = name;
        m_format = BMMFormatName(name);
    }

    std::uint16_t Width() const { return m_width; }
    std::uint16_t Height() const { return m_height; }
    float Aspect() const { return m_aspect; }
    int Type() const { return m_type; }
    std::uint32_t Flags() const { return m_flags; }
    std::uint32_t CustomFlags() const { return m_customFlags; }
    int CustomX() const { return m_customX; }
    int CustomY() const { return m_customY; }

    void SetWidth(std::uint16_t width) { m_width = width; }
    void SetHeight(std::uint16_t height) { m_height = height; }
    void SetAspect(float aspect) { m_aspect = aspect; }
    void SetType(int type) { m_type = type; }
    void SetFlags(std::uint32_t added) { m_flags |= added; }
    void SetCustomFlags(std::uint32_t flags) { m_customFlags = flags; }
    void SetCustomX(int x) { m_customX = x; }
    void SetCustomY(int y) { m_customY = y; }

    /// Takes over everything of another description.
    void Copy(const BitmapInfo& from) { *this = from; }

private:
    std::string m_name;
    std::string m_format;
    std::uint16_t m_width = 0;
    std::uint16_t m_height = 0;
    float m_aspect = 1.0F;
    int m_type = 0;
    std::uint32_t m_flags = 0;
    std::uint32_t m_customFlags = 0;
    int m_customX = 0;
    int m_customY = 0;
};

/// An image in memory. Made by BitmapManager::Create, given back by DeleteThis.
class Bitmap {
public:
    /// Size in pixels; 0 when the bitmap has no image storage.
    virtual int Width() const = 0;
    virtual int Height() const = 0;
    virtual bool HasStorage() const = 0;

    /// Copies `count` pixels of row `y`, from column `x` on, into `pixels`. False when they lie outside
    /// the image.
    virtual bool GetPixels(int x, int y, int count, BMM_Color_fl* pixels) const = 0;
    /// The pixels of row `y` where they are kept as floats, valid until the bitmap changes; null otherwise.
    virtual const BMM_Color_fl* FloatRow(int y) const = 0;

    /// Makes the channels that the description asks for besides colour.
    virtual void PrepareGChannels(const BitmapInfo& info) = 0;

    /// Opens the description's file for writing; format and settings follow the description.
    virtual BMMRES OpenOutput(const BitmapInfo& info) = 0;
    /// Writes the image to the file that OpenOutput opened.
    virtual BMMRES Write(const BitmapInfo& info, int frame) = 0;
    virtual BMMRES Close(const BitmapInfo& info, int flag) = 0;

    /// Copies another image into this one and fills what it does not cover.
    virtual void CopyImage(const Bitmap& from, int mode, BMM_Color_fl fill, const BitmapInfo& info) = 0;

    /// Shows the image in a frame-buffer window and takes that window away again.
    virtual void Display(const char* title, int position, bool autonomous, bool saveButton, const void* crop,
                         const void* clone) = 0;
    virtual void UnDisplay() = 0;

    virtual void DeleteThis() = 0;

protected:
    ~Bitmap() = default;
};

class BitmapManager {
public:
    /// A new black, transparent bitmap of the description's size; null when it cannot be made.
    virtual Bitmap* Create(const BitmapInfo& info) = 0;

protected:
    ~BitmapManager() = default;
};

extern BitmapManager* TheManager;

/// Writes into `numbered` (BMM_MAX_PATH characters) the name with the frame's number added in front of its
/// extension. False when the result does not fit; `numbered` is then "".
bool BMMCreateNumberedFilename(const char* name, int frame, char* numbered);
