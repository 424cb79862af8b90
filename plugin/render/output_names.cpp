#include "render/output_names.h"

#include "render/job_state.h"
#include "support/file_system.h"
#include "support/filename_utilities.h"
#include "support/log.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace {

constexpr const char* temporary_output_prefix = "C:\\quillane\\temp\\temp_filename";

void create_jpeg_output_path(JobState& job) {
    if (job.jpegOutputPath.empty()) {
        connect_log.entry("no jpeg output path specified, disabling jpeg output");
        job.useJpegOutput = false;
        return;
    }
    try {
        if (directory_exists(job.jpegOutputPath)) return;
        connect_log.entry("creating jpeg output path: ", job.jpegOutputPath);
        create_directory_tree(job.jpegOutputPath);
    } catch (const std::exception&) {
        connect_log.entry("could not create jpeg output path, disabling jpeg output");
        job.useJpegOutput = false;
    }
}

}  // namespace

std::string frame_file_name(const JobState& job, const std::string& name, int frame) {
    // The sum wraps as 32-bit numbers do.
    const int number =
        static_cast<int>(static_cast<std::uint32_t>(frame) + static_cast<std::uint32_t>(job.frameNumberBase));
    char numbered[BMM_MAX_PATH] = "";
    const bool fits = name.size() < BMM_MAX_PATH;
    if (fits && job.removePadding) return name;
    if (!fits || !BMMCreateNumberedFilename(name.c_str(), number, numbered))
        throw std::runtime_error("The output file name is too long for frame " + std::to_string(number) +
                                 ": \"" + name + "\"");
    return numbered;
}

std::string temporary_output_name() {
    return temporary_output_prefix + std::to_string(std::rand()) + ".bmp";
}

void JobState::CreateOutputPath(const BitmapInfo& bitmapInfo) const {
    const std::string directory = get_directory_from_path(bitmapInfo.Name());
    if (directory_exists(directory)) return;
    connect_log.entry("creating output path: ", directory);
    create_directory_tree(directory);
}

void create_output_paths(JobState& job) {
    connect_log.entry("checking output paths");
    if (job.coreInterface->GetRendSaveFile()) {
        job.CreateOutputPath(job.outputBitmapInfo);
        if (job.useJpegOutput) create_jpeg_output_path(job);
    }
    for (const PBBitmap* element : job.elementBitmaps)
        if (element != nullptr) job.CreateOutputPath(element->bi);
}
