#pragma once

#include "images/image_module.h"

#include <max/bitmap.h>

#include <string>

namespace corrivane::host {

/// The image file that a bitmap is going to be written to.
class OutputFile {
public:
    /// Checks whatever can be known before there are any bytes: the name, its format, the folder, permissions
    /// and the image's size. Creates nothing. Throws OutputFailure.
    ///
    /// The depth follows the description's image type where the format has it: 16 bits for BMM_TRUE_64 (EXR:
    /// half), 32-bit floating point for BMM_FLOAT_RGBA_32 (PNG: 16 bits), else 8 bits (EXR: half). Alpha goes
    /// into the file when the description has MAP_HAS_ALPHA and the format has alpha.
    OutputFile(const BitmapInfo& info, int width, int height);

    /// Encodes the pixels (RGBA, of the size that was checked) and puts the file in its place. Throws
    /// OutputFailure; what was there before then remains, and nothing else.
    ///
    /// With tga_alpha_split(), a TGA file is written without alpha and a grey image of the alpha, in a file
    /// beside it with `A_` in front of the name, comes to its place before it. When the image then cannot
    /// take its place, the companion goes again, and an older one that it has replaced is lost.
    ///
    /// Ignores SIGXFSZ from the first call on, for the whole process: the limit on file sizes becomes a
    /// result code.
    void write(const BMM_Color_fl* pixels) const;

    /// Notes a file that was written. False when the frame has written it before.
    bool note_written() const;

private:
    std::string m_path;        ///< of this machine
    std::string m_alpha_path;  ///< of the alpha split's companion; empty when alpha is not split off
    EncodeRequest m_request;   ///< all but the pixels
};

/// Thrown when an output file cannot be opened or written.
struct OutputFailure {
    BMMRES code;  ///< one of output_codes.h
};

/// From now on the images of another frame are written. Two of one frame in the same file are worth a warning:
/// the last one stays. The main thread's.
void begin_frame_outputs();

/// The scene's choice for TGA files; off at first. The main thread's.
void set_tga_alpha_split(bool split);
bool tga_alpha_split();

}  // namespace corrivane::host
