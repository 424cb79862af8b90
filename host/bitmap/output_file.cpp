#include "bitmap/output_file.h"

#include "bitmap/output_codes.h"
#include "bitmap/staged_file.h"
#include "os/output_files.h"

#include <system/drive_map.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace corrivane::host {

namespace {

bool alpha_split = false;
std::set<std::string> frame_outputs;  ///< of this machine, normalised

const ImageFormat& checked_format(std::string_view name) {
    if (name.empty()) throw OutputFailure{output_invalid_name};
    const ImageFormat* format = find_image_format(name);
    if (format == nullptr) throw OutputFailure{output_unknown_format};
    return *format;
}

std::string checked_path(std::string_view name) {
    NativePath native = native_output_path(name);
    if (native.error == ERROR_PATH_NOT_FOUND) throw OutputFailure{output_drive_missing};
    if (native.error != ERROR_SUCCESS) throw OutputFailure{BMMRES(native.error)};
    return std::move(native.path);
}

/// A file name's folder with the slash behind it; empty when there is none.
std::string folder_of(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

void check_place(const std::string& path) {
    const std::string folder = folder_of(path);
    if (const int fault = folder_fault(folder.empty() ? "." : folder))
        throw OutputFailure{output_code(fault)};
    // A rename would replace whatever is there, so a file that may not be written is looked for here.
    if (const int fault = replacement_fault(path)) throw OutputFailure{output_code(fault)};
}

SampleDepth depth_for(const ImageFormat& format, int image_type) {
    if (image_type == BMM_FLOAT_RGBA_32) return format.floating;
    return image_type == BMM_TRUE_64 ? format.deep : format.ordinary;
}

EncodeRequest checked_request(const BitmapInfo& info, int width, int height) {
    EncodeRequest request{.width = width, .height = height, .format = &checked_format(info.Name())};
    request.depth = depth_for(*request.format, info.Type());
    const bool has_alpha = (info.Flags() & MAP_HAS_ALPHA) != 0 && request.format->has_alpha;
    request.channels = has_alpha ? ImageChannels::rgba : ImageChannels::rgb;
    if (std::isfinite(info.Aspect()) && info.Aspect() > 0) request.pixel_aspect = info.Aspect();
    return request;
}

void check_size(const EncodeRequest& request) {
    const ImageFormat& format = *request.format;
    const std::uint64_t bytes = std::uint64_t{4} * request.width * request.height;  // of the least depth
    if (std::max(request.width, request.height) > format.largest_side || bytes >= format.largest_bytes)
        throw OutputFailure{output_image_too_large};
}

const ImageModule& loaded_module() {
    try {
        return image_module();
    } catch (const std::runtime_error&) {
        throw OutputFailure{output_no_image_module};
    }
}

std::vector<unsigned char> encoded(EncodeRequest request, const BMM_Color_fl* pixels) {
    request.rgba = &pixels->r;
    const ImageModule& module = loaded_module();
    std::vector<unsigned char> bytes;
    try {
        module.encode(request, bytes);
    } catch (const std::runtime_error&) {
        throw OutputFailure{output_encoding_failed};
    }
    return bytes;
}

}  // namespace

void begin_frame_outputs() {
    frame_outputs.clear();
}

void set_tga_alpha_split(bool split) {
    alpha_split = split;
}

bool tga_alpha_split() {
    return alpha_split;
}

OutputFile::OutputFile(const BitmapInfo& info, int width, int height)
    : m_request(checked_request(info, width, height)) {
    check_size(m_request);
    m_path = checked_path(info.Name());
    check_place(m_path);
    if (m_request.format->splits_alpha && alpha_split) {
        const std::string folder = folder_of(m_path);
        m_alpha_path = folder + "A_" + m_path.substr(folder.size());
        m_request.channels = ImageChannels::rgb;
        check_place(m_alpha_path);
    }
}

void OutputFile::write(const BMM_Color_fl* pixels) const {
    keep_running_on_write_errors();
    try {
        StagedFile image(m_path, encoded(m_request, pixels));
        if (!m_alpha_path.empty()) {
            EncodeRequest alpha = m_request;
            alpha.channels = ImageChannels::alpha;
            StagedFile(m_alpha_path, encoded(alpha, pixels)).publish();
        }
        try {
            image.publish();
        } catch (const std::system_error&) {
            if (!m_alpha_path.empty()) unlink(m_alpha_path.c_str());
            throw;
        }
    } catch (const std::system_error& error) {
        throw OutputFailure{output_code(error.code().value())};
    } catch (const std::bad_alloc&) {
        throw OutputFailure{output_out_of_memory};
    }
}

bool OutputFile::note_written() const {
    return frame_outputs.insert(std::filesystem::path(m_path).lexically_normal().string()).second;
}

}  // namespace corrivane::host
