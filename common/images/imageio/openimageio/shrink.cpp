#include "images/imageio/codec.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace corrivane {

namespace {

/// A damaged header may claim anything.
constexpr std::size_t most_band_bytes = std::size_t{256} << 20;

/// Small rather than exact.
constexpr ImageFormat small_jpeg{.name = "JPEG",
                                 .endings = {".jpg"},
                                 .ordinary = SampleDepth::bits8,
                                 .deep = SampleDepth::bits8,
                                 .floating = SampleDepth::bits8,
                                 .has_alpha = false,
                                 .settings = {{{"compression", "jpeg:80"}}}};

/// The means over the rectangles that become one pixel each, gathered row by row: a large image never stands in
/// memory whole.
class Averages {
public:
    Averages(const OIIO::ImageSpec& spec, int longest_side)
        : m_spec(spec), m_scale(std::min(1.0, double(longest_side) / std::max(spec.width, spec.height))) {
        width = std::max(1, int(std::lround(spec.width * m_scale)));
        height = std::max(1, int(std::lround(spec.height * m_scale)));
        m_sums.resize(std::size_t(width) * height * 3);
        m_counts.resize(std::size_t(width) * height);
    }

    /// `row` is counted from 0; its samples stand as the file has them.
    void add_row(int row, const float* samples) {
        const std::size_t y = std::size_t(row) * height / m_spec.height;
        const int channels = m_spec.nchannels;
        for (int column = 0; column < m_spec.width; ++column, samples += channels) {
            const std::size_t pixel = y * width + std::size_t(column) * width / m_spec.width;
            ++m_counts[pixel];
            for (int channel = 0; channel < 3; ++channel) {
                const float sample = samples[channels < 3 ? 0 : channel];
                // What is not a number counts as black.
                m_sums[3 * pixel + channel] += sample > 0 ? std::min(sample, 1.0F) : 0.0F;
            }
        }
    }

    std::vector<float> rgba() const {
        std::vector<float> pixels(m_counts.size() * 4, 1.0F);
        for (std::size_t pixel = 0; pixel < m_counts.size(); ++pixel)
            for (int channel = 0; channel < 3; ++channel)
                pixels[4 * pixel + channel] =
                    m_sums[3 * pixel + channel] / float(std::max(1U, m_counts[pixel]));
        return pixels;
    }

    int width = 0;
    int height = 0;

private:
    const OIIO::ImageSpec& m_spec;
    double m_scale;
    std::vector<float> m_sums;
    std::vector<unsigned> m_counts;
};

bool read_band(OIIO::ImageInput& input, const OIIO::ImageSpec& spec, int top, int bottom, float* samples) {
    if (spec.tile_width > 0)
        return input.read_tiles(0, 0, spec.x, spec.x + spec.width, top, bottom, 0, 1, 0, spec.nchannels,
                                OIIO::TypeFloat, samples);
    return input.read_scanlines(0, 0, top, bottom, 0, 0, spec.nchannels, OIIO::TypeFloat, samples);
}

void read_into(OIIO::ImageInput& input, const OIIO::ImageSpec& spec, Averages& averages) {
    const int rows = spec.tile_height > 0 ? spec.tile_height : 64;
    const std::size_t row_samples = std::size_t(spec.width) * spec.nchannels;
    if (row_samples > most_band_bytes / sizeof(float) / rows)
        throw std::runtime_error("the rows are too long");
    std::vector<float> band(row_samples * rows);
    const int end = spec.y + spec.height;
    for (int top = spec.y; top < end; top += rows) {
        const int bottom = std::min(top + rows, end);
        if (!read_band(input, spec, top, bottom, band.data())) throw std::runtime_error(input.geterror());
        for (int row = top; row < bottom; ++row)
            averages.add_row(row - spec.y, band.data() + (row - top) * row_samples);
    }
}

}  // namespace

void shrink_image(const std::string& path, int longest_side, std::vector<unsigned char>& jpeg) {
    OIIO::ImageSpec as_stored;
    as_stored.attribute("oiio:UnassociatedAlpha", 1);
    const std::unique_ptr<OIIO::ImageInput> input = OIIO::ImageInput::open(path, &as_stored);
    if (!input) throw std::runtime_error(OIIO::geterror());
    const OIIO::ImageSpec& spec = input->spec();
    Averages averages(spec, longest_side);
    read_into(*input, spec, averages);

    const std::vector<float> pixels = averages.rgba();
    encode_image({.rgba = pixels.data(),
                  .width = averages.width,
                  .height = averages.height,
                  .format = &small_jpeg,
                  .depth = SampleDepth::bits8,
                  .channels = ImageChannels::rgb},
                 jpeg);
}

}  // namespace corrivane
