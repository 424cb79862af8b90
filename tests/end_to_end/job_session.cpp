#include "job_session.h"

#include <OpenImageIO/imageio.h>

#include <chrono>
#include <stdexcept>

namespace corrivane::test {

ImageFile::ImageFile(const std::filesystem::path& file) {
    const auto input = OIIO::ImageInput::open(file.string());
    if (!input) throw std::runtime_error(file.string() + ": " + OIIO::geterror());
    const OIIO::ImageSpec& spec = input->spec();
    width = spec.width;
    height = spec.height;
    bits_per_channel = static_cast<int>(spec.format.size()) * 8;

    const auto channels = static_cast<std::size_t>(spec.nchannels);
    pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), Pixel{0, 0, 0, 1});
    std::vector<float> values(pixels.size() * channels);
    if (!input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::FLOAT, values.data()))
        throw std::runtime_error(file.string() + ": " + input->geterror());
    for (std::size_t i = 0; i < pixels.size(); ++i)
        for (std::size_t channel = 0; channel < 4; ++channel)
            if (channel < channels)
                pixels[i][channel] = values[i * channels + channel];
            else if (channel < 3)
                pixels[i][channel] = values[i * channels];
}

std::vector<Pixel> ImageFile::part(int left, int top, int right, int bottom) const {
    std::vector<Pixel> result;
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x)
            result.push_back(at(x, y));
    return result;
}

Texts failed(const std::string& cause) {
    return {"STARTED", "ERROR: " + cause, "ERROR: Failed to save file."};
}

std::string start_job(const std::filesystem::path& scene, const std::string& camera) {
    return "StartJob," + field(scene.string()) + "," + field(camera);
}

JobSession::JobSession(const nlohmann::json& scene, const std::string& camera) {
    const auto file = save_scene(scene, session.folder() / "scene");
    start_replies = session.run(start_job(file, camera));
}

Texts JobSession::render(int frame) {
    const auto start = std::chrono::steady_clock::now();
    Texts replies = session.run("RenderTask," + std::to_string(frame));
    if (replies.back() == "ERROR: Failed to save file.") {
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    }
    return replies;
}

}  // namespace corrivane::test
