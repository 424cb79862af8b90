#include "bitmap/float_bitmap.h"
#include "images/image_module.h"
#include "render/job_state.h"
#include "support/log.h"
#include "support/temporary_folder.h"

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/imageio.h>
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <cmath>
#include <limits>
#include <random>

log_stream connect_log;

namespace {

using corrivane::host::FloatBitmap;
using corrivane::test::TemporaryFolder;

constexpr float black_threshold = 0.1F;

/// A bitmap with smooth colours, some noise, and black in its lower half.
FloatBitmap& picture(int width, int height) {
    FloatBitmap& bitmap = *FloatBitmap::make(width, height);
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> noise(0.0F, 0.02F);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const float brightness =
                2 * y < height ? 0.2F + 0.6F * static_cast<float>(x) / static_cast<float>(width) : 0;
            const float blue = brightness * (0.5F + 0.4F * std::sin(static_cast<float>(y) / 50.0F));
            bitmap.row(y)[x] = {brightness + noise(random), brightness, blue, 1.0F};
        }
    }
    return bitmap;
}

FloatBitmap& black_checked_picture() {
    static FloatBitmap& bitmap = picture(3840, 2160);
    return bitmap;
}

void black_frame_check(benchmark::State& state) {
    const FloatBitmap& bitmap = black_checked_picture();
    JobState job;
    job.blackFramePercentage = 100;
    job.blackFrameThreshold = black_threshold;
    for (auto round : state)
        job.check_black_frame(&bitmap);
}

void read_same_memory(benchmark::State& state) {
    const FloatBitmap& bitmap = black_checked_picture();
    const float* values = &bitmap.pixels()->r;
    const std::size_t count =
        4UL * static_cast<std::size_t>(bitmap.Width()) * static_cast<std::size_t>(bitmap.Height());
    for (auto round : state) {
        __m128 sums[4] = {};
        for (std::size_t i = 0; i < count; i += 16)
            for (std::size_t part = 0; part < 4; ++part)
                sums[part] = _mm_add_ps(sums[part], _mm_load_ps(values + i + 4 * part));
        benchmark::DoNotOptimize(sums);
    }
}

OIIO::ImageBuf wrapped(FloatBitmap& bitmap) {
    return {OIIO::ImageSpec(bitmap.Width(), bitmap.Height(), 4, OIIO::TypeFloat), bitmap.pixels()};
}

/// The same question: within the threshold of transparent or of opaque black.
void openimageio_color_count(benchmark::State& state) {
    const OIIO::ImageBuf image = wrapped(black_checked_picture());
    const float colors[] = {0, 0, 0, 0, 0, 0, 0, 1};
    OIIO::imagesize_t counts[2];
    for (auto round : state)
        if (!OIIO::ImageBufAlgo::color_count(image, counts, 2, colors, black_threshold, {}, 1))
            state.SkipWithError("color_count failed");
}

/// Half of the question: one range of alpha.
void openimageio_color_range_check(benchmark::State& state) {
    const OIIO::ImageBuf image = wrapped(black_checked_picture());
    constexpr float lowest = std::numeric_limits<float>::lowest();
    const float low[] = {lowest, lowest, lowest, 1.0F - black_threshold};
    const float high[] = {black_threshold, black_threshold, black_threshold, 2.0F};
    OIIO::imagesize_t below;
    OIIO::imagesize_t above;
    OIIO::imagesize_t within;
    for (auto round : state)
        if (!OIIO::ImageBufAlgo::color_range_check(image, &below, &above, &within, low, high, {}, 1))
            state.SkipWithError("color_range_check failed");
}

/// What the host asks of a format's writer for an ordinary frame.
struct Format {
    const char* extension;
    OIIO::TypeDesc depth;
    int channels;
    const char* compression;  ///< null for the format's own
};

constexpr int png_run_lengths_filter = 16;

const Format formats[] = {
    {"png", OIIO::TypeUInt16, 4, "rle"},   {"jpg", OIIO::TypeUInt8, 3, "jpeg:95"},
    {"bmp", OIIO::TypeUInt8, 4, nullptr},  {"tga", OIIO::TypeUInt8, 4, nullptr},
    {"tif", OIIO::TypeUInt16, 4, "zip:1"}, {"exr", OIIO::TypeHalf, 4, "zip:1"},
};

FloatBitmap& saved_picture() {
    static FloatBitmap& bitmap = picture(1920, 1080);
    return bitmap;
}

std::string file_name(const Format& format) {
    return std::string("image.") + format.extension;
}

void save_with_host(benchmark::State& state, const Format& format) {
    const TemporaryFolder folder;
    FloatBitmap& bitmap = saved_picture();
    BitmapInfo info;
    info.SetName((folder / file_name(format)).c_str());
    info.SetType(BMM_TRUE_64);
    info.SetFlags(MAP_HAS_ALPHA);
    corrivane::image_module();
    for (auto round : state) {
        const bool saved = bitmap.OpenOutput(info) == BMMRES_SUCCESS &&
                           bitmap.Write(info, BMM_SINGLEFRAME) == BMMRES_SUCCESS &&
                           bitmap.Close(info, 0) == BMMRES_SUCCESS;
        if (!saved) state.SkipWithError("cannot save");
    }
}

OIIO::ImageSpec file_spec(const FloatBitmap& bitmap, const Format& format) {
    OIIO::ImageSpec spec(bitmap.Width(), bitmap.Height(), format.channels, format.depth);
    spec.attribute("oiio:UnassociatedAlpha", 1);
    spec.attribute("PixelAspectRatio", 1.0F);
    if (format.compression != nullptr) spec.attribute("compression", format.compression);
    spec.attribute("png:compressionLevel", 1);
    spec.attribute("png:filter", png_run_lengths_filter);
    spec.attribute("tiff:write_exif", 0);
    return spec;
}

void save_with_openimageio(benchmark::State& state, const Format& format) {
    const TemporaryFolder folder;
    const FloatBitmap& bitmap = saved_picture();
    const std::string name = folder / file_name(format);
    const OIIO::ImageSpec spec = file_spec(bitmap, format);
    for (auto round : state) {
        const auto output = OIIO::ImageOutput::create(name);
        const bool saved = output && output->open(name, spec) &&
                           output->write_image(OIIO::TypeFloat, bitmap.pixels(), sizeof(BMM_Color_fl)) &&
                           output->close();
        if (!saved) state.SkipWithError("cannot save");
    }
}

void register_saving() {
    for (const Format& format : formats) {
        const std::string name = std::string("save/") + format.extension;
        const auto host = [&format](benchmark::State& state) { save_with_host(state, format); };
        const auto direct = [&format](benchmark::State& state) { save_with_openimageio(state, format); };
        benchmark::RegisterBenchmark((name + "/host").c_str(), host)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((name + "/openimageio").c_str(), direct)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
}

BENCHMARK(read_same_memory)->Name("black_frame/read")->Unit(benchmark::kMillisecond);
BENCHMARK(black_frame_check)->Name("black_frame/check")->Unit(benchmark::kMillisecond);
BENCHMARK(openimageio_color_count)->Name("black_frame/color_count")->Unit(benchmark::kMillisecond);
BENCHMARK(openimageio_color_range_check)
    ->Name("black_frame/color_range_check")
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    register_saving();
    benchmark::RunSpecifiedBenchmarks();
}
