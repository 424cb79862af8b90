#include "quorvel/max3d/maxscript.h"
#include "render/job_state.h"
#include "support/exception_report.h"
#include "support/guarded_call.h"

namespace {

constexpr int load_flags = 6;

/// Whether the call returned; if a fault was trapped, `errorText` tells where and which.
template <typename Call>
bool returns(JobState& job, const char* operation, std::string& errorText, Call call) {
    errorText.clear();
    // A fault abandons the local-value frames of whatever script was running: they must not stay in
    // the chain.
    const quorvel::max3d::scoped_maxscript_frame frame;
    const DWORD code = guarded_call(job, call);
    if (code == 0) return true;
    errorText.append("Trapped SEH Exception in ")
        .append(operation)
        .append("(): ")
        .append(seh_exception_name(code));
    return false;
}

/// Counts a frame for as long as it lives.
class frame_under_way {
public:
    explicit frame_under_way(int& count) : m_count(count) { ++m_count; }
    ~frame_under_way() { --m_count; }
    frame_under_way(const frame_under_way&) = delete;
    frame_under_way& operator=(const frame_under_way&) = delete;

private:
    int& m_count;
};

}  // namespace

int JobState::CallLoadFromFile(const std::string& fileName, std::string& errorText) {
    int loaded = 0;
    const bool returned = returns(*this, "LoadFromFile", errorText, [&] {
        loaded = coreInterface8->LoadFromFile(fileName.c_str(), load_flags);
    });
    return returned ? loaded : 0;
}

int JobState::CallOpenCurRenderer(INode* cameraNode, ViewExp* viewport, int renderType, int width, int height,
                                  std::string& errorText) {
    int opened = 0;
    const bool returned = returns(*this, "OpenCurRenderer", errorText, [&] {
        opened = coreInterface->OpenCurRenderer(cameraNode, viewport, renderType, width, height);
    });
    return returned ? opened : 0;
}

void JobState::CallCloseCurRenderer(std::string& errorText) {
    returns(*this, "CloseCurRenderer", errorText, [&] { coreInterface->CloseCurRenderer(); });
}

int JobState::CallCurRendererRenderFrame(TimeValue time, Bitmap* bitmap,
                                         RendProgressCallback* progressCallback, float frameDuration,
                                         ViewParams* viewParams, RECT* regionRect, std::string& errorText) {
    int rendered = 0;
    const bool returned = returns(*this, "CurRendererRenderFrame", errorText, [&] {
        rendered = coreInterface->CurRendererRenderFrame(time, bitmap, progressCallback, frameDuration,
                                                         viewParams, regionRect);
    });
    return returned ? rendered : 0;
}

void JobState::CallStartJob(const std::string& maxFile, const std::string& cameraName,
                            std::string& errorText) {
    returns(*this, "StartJob", errorText, [&] { StartJob(maxFile, cameraName); });
}

unsigned short JobState::CallRenderFrame(int frame, simple_socket& socket, std::string& errorText) {
    unsigned short result = 1;
    const frame_under_way here(framesUnderWay);
    if (returns(*this, "RenderFrame", errorText, [&] { result = RenderFrame(frame, socket); })) return result;
    // Its image still there shows that the fault came before the frame was complete.
    if (mainBitmap != nullptr) DiscardWrittenFiles();
    return 1;
}

void JobState::CallEndJob(std::string& errorText) {
    returns(*this, "EndJob", errorText, [&] { EndJob(); });
}
