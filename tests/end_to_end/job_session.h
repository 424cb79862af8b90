#pragma once

#include "host_session.h"
#include "support/scene_file.h"
#include "support/test.h"

#include <array>

namespace corrivane::test {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// The replies to a frame that went well, and to one that failed because of an exception.
inline const Texts rendered = {"STARTED", "SUCCESS"};
Texts failed(const std::string& cause);

std::string start_job(const std::filesystem::path& scene, const std::string& camera = "");

/// StartJob's reply before any frame of the process was prepared.
inline const std::string no_output = "SUCCESS [filename] \n[format] \n[size] 0x0\n[aspect] 1\n";

using Pixel = std::array<float, 4>;

/// An image file as floats, RGBA; formats without alpha read as opaque.
struct ImageFile {
    /// Throws std::runtime_error when it is no readable image.
    explicit ImageFile(const std::filesystem::path& file);

    const Pixel& at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
    /// The pixels of a rectangle, row by row.
    std::vector<Pixel> part(int left, int top, int right, int bottom) const;

    int width = 0;
    int height = 0;
    int bits_per_channel = 0;
    std::vector<Pixel> pixels;
};

/// A session with a job started on a scene.
class JobSession {
public:
    explicit JobSession(const nlohmann::json& scene, const std::string& camera = "");

    /// The replies to a frame. Before the last word about one that failed there is a pause of half a second.
    Texts render(int frame);
    std::filesystem::path output(const std::string& name) const { return session.drive_c() / "out" / name; }
    ImageFile image(const std::string& name) const { return ImageFile(output(name)); }

    HostSession session;
    Texts start_replies;
};

}  // namespace corrivane::test
