#include "render/output_writing.h"

#include "render/job_state.h"
#include "support/file_system.h"
#include "support/filename_utilities.h"
#include "support/log.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace {

/// Where the TGA writer's alpha split puts the alpha channel of a file.
std::string alpha_companion_name(const std::string& name) {
    return ensure_trailing_backslash(get_directory_from_path(name)) + "A_" + get_filename_from_path(name);
}

void throw_on_error(const char* operation, BMMRES result) {
    if (result != BMMRES_SUCCESS)
        throw std::runtime_error(std::string("Error in bm->") + operation + "(): error code " +
                                 std::to_string(result));
}

/// A writer's success proves nothing: a share may have dropped the file.
void require_file(const std::string& name, const char* circumstance) {
    if (!file_exists(name))
        throw std::runtime_error(std::string("bm->Write() returned success, but the ") + circumstance +
                                 "output file, \"" + name + "\" did not exist.");
}

/// What is left of a size without the padding on both sides, of which the image's edges had cut off
/// some before.
std::uint16_t unpadded(long long padded, long long padding, long long low_overflow, long long high_overflow) {
    const long long size = padded - 2 * padding + low_overflow + high_overflow;
    return static_cast<std::uint16_t>(
        std::clamp<long long>(size, 0, std::numeric_limits<std::uint16_t>::max()));
}

void write_bitmap(Bitmap* bitmap, const BitmapInfo& info) {
    throw_on_error("OpenOutput", bitmap->OpenOutput(info));
    throw_on_error("Write", bitmap->Write(info, BMM_SINGLEFRAME));
    bitmap->Close(info, 0);
}

}  // namespace

void JobState::save_output(Bitmap* bitmap, const BitmapInfo& info) {
    const std::string name = info.Name();
    // Formed for every write: a name that the path rules refuse fails before anything is written.
    const std::string alpha_name = alpha_companion_name(name);
    connect_log.entry("writing to output file: ", name);
    if (alphaSplit) connect_log.entry("Alpha Split feature (tga) is enabled, need to save ", alpha_name);

    write_bitmap(bitmap, info);
    require_file(name, "");
    if (alphaSplit) require_file(alpha_name, "Alpha Split feature (tga) is enabled, and the ");
    writtenOutputFiles.push_back(name);
    if (alphaSplit) writtenOutputFiles.push_back(alpha_name);
}

void JobState::save_region_output(Bitmap* bitmap, const BitmapInfo& info) {
    BitmapInfo region_info;
    region_info.Copy(info);
    region_info.SetWidth(unpadded(bitmap->Width(), regionPadding, regionLeftOverflow, regionRightOverflow));
    region_info.SetHeight(unpadded(bitmap->Height(), regionPadding, regionTopOverflow, regionBottomOverflow));

    Bitmap*& region = frameUnderWay.regionBitmap;
    region = TheManager->Create(region_info);
    if (region == nullptr)
        throw std::runtime_error("Failed to allocate region Bitmap: TheManager->Create() return NULL");
    const at_scope_end give_back([&region] { release(region); });
    region_info.SetCustomFlags(BMM_CUSTOM_POSITION);
    region_info.SetCustomX(static_cast<int>(std::int64_t{regionLeftOverflow} - regionPadding));
    region_info.SetCustomY(static_cast<int>(std::int64_t{regionTopOverflow} - regionPadding));
    region->PrepareGChannels(region_info);
    if (region->HasStorage())
        region->CopyImage(*bitmap, COPY_IMAGE_USE_CUSTOM, BMM_Color_fl{0, 0, 0, 0}, region_info);
    save_output(region, region_info);
}

void save_image(JobState& job, Bitmap* bitmap, const BitmapInfo& info) {
    if (job.regionRendering)
        job.save_region_output(bitmap, info);
    else
        job.save_output(bitmap, info);
}

void JobState::write_jpeg_preview(Bitmap* bitmap, const BitmapInfo& info) {
    const std::string preview_name =
        jpegOutputPath + get_filename_from_path(replace_extension(info.Name(), ".jpg"));
    connect_log.entry("writing jpeg output to temp file: ", preview_name);
    BitmapInfo preview_info;
    PrepareBitmapInfo(preview_info);
    preview_info.SetName(preview_name.c_str());
    write_bitmap(bitmap, preview_info);
    require_file(preview_name, "");
}
