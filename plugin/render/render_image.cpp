#include "render/render_image.h"

#include "render/guard.h"
#include "render/progress_callback.h"
#include "support/log.h"

#include <stdexcept>
#include <string>

namespace {

bool shows_frame_buffer(const JobState& job) {
    return job.showFrameBuffer && !job.rendererClass1;
}

void show(Bitmap* bitmap) {
    constexpr int frame_buffer_position = 5;
    bitmap->Display(nullptr, frame_buffer_position, false, true, nullptr, nullptr);
}

/// One call of the renderer. Returns its result, 0 for a failure.
int render_into(JobState& job, Bitmap* bitmap, TimeValue time, CorrivaneRenderCallback& callback,
                ViewParams* view) {
    RECT region{job.regionLeft, job.regionTop, job.regionRight, job.regionBottom};
    std::string error_text;
    const int rendered = job.CallCurRendererRenderFrame(time, bitmap, &callback, 1.0F, view,
                                                        job.regionRendering ? &region : nullptr, error_text);
    connect_log.entry("CallCurRendererRenderFrame returned code ", rendered != 0);
    if (!error_text.empty()) throw_trapped_fault(job, error_text);
    return rendered;
}

void render_single_pass(JobState& job, TimeValue time, quorvel::win32::simple_socket& socket) {
    Bitmap* bitmap = job.frameUnderWay.mainBitmap;
    CorrivaneRenderCallback callback(socket, "");
    const bool shown = shows_frame_buffer(job);
    if (shown) show(bitmap);
    if (render_into(job, bitmap, time, callback, nullptr) == 0)
        throw std::runtime_error("Failed to render the frame.");
    if (shown) bitmap->UnDisplay();
}

void accumulate_pass(JobState& job, int pass, TimeValue time) {
    const Frame& frame = job.frameUnderWay;
    job.multipassEffect->AccumulateBitmap(frame.mainBitmap, frame.passBitmap, pass, time);
    for (std::size_t i = 0; i < job.elementBitmaps.size(); ++i) {
        const PBBitmap* element = job.elementBitmaps[i];
        Bitmap* accumulator = job.elementAccumulators[i];
        if (element != nullptr && element->bm != nullptr && accumulator != nullptr)
            job.multipassEffect->AccumulateBitmap(accumulator, element->bm, pass, time);
    }
}

[[noreturn]] void fail_pass(JobState& job, const std::string& number) {
    release(job.frameUnderWay.passBitmap);
    for (PBBitmap* element : job.elementBitmaps)
        if (element != nullptr) release(element->bm);
    connect_log.entry("\tfailure");
    throw std::runtime_error("Failed to render the frame for pass " + number);
}

void render_pass(JobState& job, int pass, TimeValue time, quorvel::win32::simple_socket& socket) {
    const std::string number = std::to_string(pass + 1) + " of " + std::to_string(job.multipassTotalPasses);
    Bitmap* bitmap = job.frameUnderWay.passBitmap;
    if (shows_frame_buffer(job)) show(bitmap);
    CorrivaneRenderCallback callback(socket, "");
    connect_log.entry("\trendering pass: ", number);
    callback.SetPass(pass + 1, job.multipassTotalPasses);

    TimeValue passTime = time;
    ViewParams* view =
        job.multipassEffect->Apply(job.renderCameraNode, job.renderCameraObject, pass, passTime);
    if (render_into(job, bitmap, passTime, callback, view) == 0) fail_pass(job, number);
    accumulate_pass(job, pass, passTime);
    connect_log.entry("\tsuccess");
}

void render_multipass(JobState& job, TimeValue time, quorvel::win32::simple_socket& socket) {
    connect_log.entry("rendering multipass effect:");
    job.frameUnderWay.passBitmap = create_bitmap(job.outputBitmapInfo);
    for (int pass = 0; pass < job.multipassTotalPasses; ++pass)
        render_pass(job, pass, time, socket);
    if (shows_frame_buffer(job)) job.frameUnderWay.passBitmap->UnDisplay();
    release(job.frameUnderWay.passBitmap);
    job.multipassEffect->PostRenderFrame();
}

}  // namespace

void render_image(JobState& job, TimeValue time, quorvel::win32::simple_socket& socket) {
    if (job.multipassEnabled)
        render_multipass(job, time, socket);
    else
        render_single_pass(job, time, socket);
}
