#pragma once

#include "images/image_formats.h"

#include <string>
#include <vector>

namespace corrivane {

// Images as files, through corrivane-imageio.so: the module that brings the image library, loaded on first
// use since that takes a third of a second. Everything here may be called from any thread.

/// Which channels of the pixels go into the file. JPEG has no alpha.
enum class ImageChannels { rgba, rgb, alpha };

struct EncodeRequest {
    const float* rgba = nullptr;  ///< four floats a pixel, rows from the top, without gaps
    int width = 0;
    int height = 0;
    const ImageFormat* format = nullptr;
    SampleDepth depth = SampleDepth::bits8;
    ImageChannels channels = ImageChannels::rgba;
    float pixel_aspect = 1;  ///< width of a pixel over its height; not kept by BMP
};

struct ImageFacts {
    int width = 0;
    int height = 0;
    int channels = 0;
};

/// How closely an image file is looked at.
enum class ImageLook {
    ends,        ///< its header, and how it begins and ends
    every_pixel  ///< to the last pixel
};

/// What the module gives. Its functions throw std::runtime_error with what went wrong, or std::bad_alloc.
struct ImageModule {
    /// Puts the bytes of the file into `bytes`, which comes empty. Colour is not divided by alpha. Integer
    /// samples are rounded, 1.0 is the largest one; what lies outside 0 to 1 is clamped, what is not a
    /// number becomes 0. Floating-point samples keep all of that; a half holds at most 65504, larger values
    /// become infinite.
    void (*encode)(const EncodeRequest& request, std::vector<unsigned char>& bytes);
    /// See verify_image_file; the text does not name the file.
    ImageFacts (*verify)(const std::string& path, ImageLook look);
    /// Puts a small JPEG file of an image file of this machine into `jpeg`, which comes empty: at most
    /// `longest_side` pixels wide and high, never larger than the image. Alpha is left out; a channel alone is
    /// grey.
    void (*shrink)(const std::string& path, int longest_side, std::vector<unsigned char>& jpeg);
};

/// Name of the function through which the module hands out its ImageModule.
constexpr const char* image_module_entry = "corrivane_image_module";

/// Takes the module from this file instead of from beside the program. To be called before anything
/// else here.
void set_image_module_path(const std::string& path);

/// Starts to load the module on a thread of its own, so that the first image does not wait for it. Returns at
/// once; a failure is reported by image_module(). The program's exit waits for a load that is under way.
void prefetch_image_module();

/// The loaded module; waits until it is there. Throws std::runtime_error with the loader's text when it
/// cannot be loaded, every time alike.
const ImageModule& image_module();

/// Reads an image file of this machine, to its last pixel in bands unless less is asked for. Throws
/// std::runtime_error, which names the file, when it is missing, is not an image, or is damaged or cut short.
ImageFacts verify_image_file(const std::string& path, ImageLook look = ImageLook::every_pixel);

}  // namespace corrivane
