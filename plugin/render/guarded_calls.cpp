#include "render/guard.h"

namespace {

constexpr int load_flags = 6;

}  // namespace

int JobState::CallLoadFromFile(const std::string& fileName, std::string& errorText) {
    int loaded = 0;
    const bool returned = run_guarded(*this, "Trapped SEH Exception in LoadFromFile(): ", errorText, [&] {
        loaded = coreInterface8->LoadFromFile(fileName.c_str(), load_flags);
    });
    return returned ? loaded : 0;
}

int JobState::CallOpenCurRenderer(INode* cameraNode, ViewExp* viewport, int renderType, int width, int height,
                                  std::string& errorText) {
    int opened = 0;
    const bool returned = run_guarded(*this, "Trapped SEH Exception in OpenCurRenderer(): ", errorText, [&] {
        opened = coreInterface->OpenCurRenderer(cameraNode, viewport, renderType, width, height);
    });
    return returned ? opened : 0;
}

void JobState::CallCloseCurRenderer(std::string& errorText) {
    run_guarded(*this, "Trapped SEH Exception in CloseCurRenderer(): ", errorText,
                [&] { coreInterface->CloseCurRenderer(); });
}

int JobState::CallCurRendererRenderFrame(TimeValue time, Bitmap* bitmap,
                                         RendProgressCallback* progressCallback, float frameDuration,
                                         ViewParams* viewParams, RECT* regionRect, std::string& errorText) {
    int rendered = 0;
    const bool returned =
        run_guarded(*this, "Trapped SEH Exception in CurRendererRenderFrame(): ", errorText, [&] {
            rendered = coreInterface->CurRendererRenderFrame(time, bitmap, progressCallback, frameDuration,
                                                             viewParams, regionRect);
        });
    return returned ? rendered : 0;
}

void JobState::CallStartJob(const std::string& maxFile, const std::string& cameraName,
                            std::string& errorText) {
    run_guarded(*this, "Trapped SEH Exception in StartJob(): ", errorText,
                [&] { StartJob(maxFile, cameraName); });
}

unsigned short JobState::CallRenderFrame(int frame, simple_socket& socket, std::string& errorText) {
    unsigned short result = 1;
    const bool returned = run_guarded(*this, "Trapped SEH Exception in RenderFrame(): ", errorText,
                                      [&] { result = RenderFrame(frame, socket); });
    return returned ? result : 1;
}

void JobState::CallEndJob(std::string& errorText) {
    run_guarded(*this, "Trapped SEH Exception in EndJob(): ", errorText, [&] { EndJob(); });
}
