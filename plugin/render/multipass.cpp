#include "render/frame_bitmaps.h"
#include "render/job_state.h"
#include "render/progress_callback.h"
#include "support/log.h"

#include <stdexcept>

void JobState::RenderMultipass(TimeValue time, simple_socket& socket) {
    connect_log.entry("rendering multipass effect:");
    passBitmap = create_bitmap(outputBitmapInfo);
    for (int pass = 0; pass < multipassTotalPasses; ++pass)
        RenderPass(pass, time, socket);
    release(passBitmap);
    multipassEffect->PostRenderFrame();
}

void JobState::RenderPass(int pass, TimeValue time, simple_socket& socket) {
    const std::string number = std::to_string(pass + 1) + " of " + std::to_string(multipassTotalPasses);
    CorrivaneRenderCallback callback(socket, "");
    connect_log.entry("\trendering pass: ", number);
    callback.SetPass(pass + 1, multipassTotalPasses);

    TimeValue passTime = time;
    ViewParams* view = multipassEffect->Apply(renderCameraNode, renderCameraObject, pass, passTime);
    if (RenderInto(passBitmap, passTime, callback, view) == 0) {
        connect_log.entry("\tfailure");
        throw std::runtime_error("Failed to render the frame for pass " + number);
    }
    AccumulatePass(pass, passTime);
    connect_log.entry("\tsuccess");
}

void JobState::AccumulatePass(int pass, TimeValue passTime) {
    multipassEffect->AccumulateBitmap(mainBitmap, passBitmap, pass, passTime);
    for (std::size_t i = 0; i < elementBitmaps.size(); ++i)
        if (elementBitmaps[i] != nullptr)
            multipassEffect->AccumulateBitmap(elementAccumulators[i], elementBitmaps[i]->bm, pass, passTime);
}
