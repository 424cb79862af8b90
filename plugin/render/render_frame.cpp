#include "render/job_state.h"
#include "render/output_names.h"
#include "render/output_writing.h"
#include "render/render_elements.h"
#include "render/render_image.h"
#include "support/file_system.h"
#include "support/log.h"

#include <cstdint>
#include <stdexcept>

namespace {

bool has_requirement(Renderer* renderer, int requirement) {
    if (renderer == nullptr) return false;
    auto* requirements =
        static_cast<IRendererRequirements*>(renderer->GetInterface(IRENDERERREQUIREMENTS_INTERFACE_ID));
    return requirements != nullptr && requirements->HasRequirement(requirement);
}

void prepare_outputs(JobState& job) {
    job.outputBitmapInfo = job.coreInterface->GetRendFileBI();
    job.PrepareBitmapInfo(job.outputBitmapInfo);
    job.sceneOutputFilename =
        job.coreInterface->GetRendSaveFile() ? job.outputBitmapInfo.Name() : temporary_output_name();
    collect_render_elements(job);
}

void name_main_output(JobState& job, int frame) {
    const std::string& name = job.useOutputImageFilename ? job.outputImageFilename : job.sceneOutputFilename;
    job.outputBitmapInfo.SetName(frame_file_name(job, name, frame).c_str());
}

bool skip_existing_frame(const JobState& job) {
    const std::string name = job.outputBitmapInfo.Name();
    if (!job.coreInterface->GetSkipRenderedFrames() || !file_exists(name)) return false;
    connect_log.entry("Skipping frame ", name, " because it already exists");
    return true;
}

void create_main_bitmap(JobState& job) {
    Bitmap*& bitmap = job.frameUnderWay.mainBitmap;
    bitmap = create_bitmap(job.outputBitmapInfo);
    bitmap->PrepareGChannels(job.outputBitmapInfo);
    connect_log.entry("Bitmap ", static_cast<const void*>(bitmap));
}

void require_running_job(const JobState& job) {
    if (!job.jobRunning) throw std::runtime_error(std::string("RenderFrame") + job_not_running_text);
}

void save_main_output(JobState& job) {
    const bool renderer_saves =
        has_requirement(job.coreInterface->GetCurrentRenderer(), RENDERER_SAVES_OUTPUT);
    if (!job.coreInterface->GetRendSaveFile() || renderer_saves) return;
    Bitmap* bitmap = job.frameUnderWay.mainBitmap;
    save_image(job, bitmap, job.outputBitmapInfo);
    if (job.regionRendering || !job.useJpegOutput) return;
    try {
        job.write_jpeg_preview(bitmap, job.outputBitmapInfo);
    } catch (const std::exception& error) {
        connect_log.entry("Failed to save jpeg output because: ", error.what());
    }
}

/// From the bitmaps to the files. Whatever ends it, every bitmap is given back.
void render_and_save(JobState& job, int frame, TimeValue time, quorvel::win32::simple_socket& socket) {
    const at_scope_end give_back([&job] { release_frame(job); });
    create_main_bitmap(job);
    create_element_bitmaps(job, frame);
    // The scene that an ended job's camera and viewport belonged to is gone: nothing is opened for them.
    require_running_job(job);
    job.OpenRenderer(frame);
    create_element_accumulators(job);
    create_output_paths(job);
    job.CheckDefaultActions();
    connect_log.entry("calling renderer");
    render_image(job, time, socket);
    connect_log.entry("render done");
    if (job.failOnBlackFrames) job.check_black_frame(job.frameUnderWay.mainBitmap);
    save_main_output(job);
    save_elements(job);
}

}  // namespace

unsigned short JobState::RenderFrame(int frame, simple_socket& socket) {
    connect_log.entry("Renderframe ", frame);
    refuse_inside_a_frame(*this, "RenderFrame");
    frameUnderWay.rendering = true;
    const at_scope_end over([this] { frameUnderWay.rendering = false; });
    // Before the first job there is no 3ds Max to ask.
    if (coreInterface == nullptr) require_running_job(*this);
    // What a trapped fault made an earlier frame leave behind.
    release_frame(*this);

    const TimeValue time = frame_time(frame);
    coreInterface->SetTime(time, TRUE);
    writtenOutputFiles.clear();
    if (!rendererOpen) prepare_outputs(*this);
    name_main_output(*this, frame);
    if (skip_existing_frame(*this)) return 0;
    connect_log.entry("Rendering frame ", outputBitmapInfo.Name());
    render_and_save(*this, frame, time, socket);

    outputBitmapInfo.SetName(sceneOutputFilename.c_str());
    if (restartRendererMode) {
        // The lists go once it is closed: where that fails, the next frame uses both as they are.
        CloseRenderer();
        renderElements.clear();
        elementBitmaps.clear();
    }
    return 0;
}

void JobState::PrepareBitmapInfo(BitmapInfo& bitmapInfo) const {
    const bool wants_float =
        has_requirement(coreInterface->GetCurrentRenderer(), RENDERER_WANTS_FLOAT_OUTPUT);
    bitmapInfo.SetType(wants_float ? BMM_FLOAT_RGBA_32 : BMM_TRUE_64);
    bitmapInfo.SetFlags(MAP_HAS_ALPHA);
    bitmapInfo.SetCustomFlags(0);
    // Sizes have 16 bits: a region whose edges are crossed becomes one that the renderer refuses.
    const std::int64_t width =
        regionRendering ? std::int64_t{regionRight} - regionLeft : coreInterface->GetRendWidth();
    const std::int64_t height =
        regionRendering ? std::int64_t{regionBottom} - regionTop : coreInterface->GetRendHeight();
    bitmapInfo.SetWidth(static_cast<std::uint16_t>(width));
    bitmapInfo.SetHeight(static_cast<std::uint16_t>(height));
    bitmapInfo.SetAspect(coreInterface->GetRendImageAspect());
}
