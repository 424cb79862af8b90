#include "render/job_state.h"
#include "support/log.h"

#include <stdexcept>
#include <string_view>

namespace {

/// A camera class whose multi-pass effect a rendererClass1 renderer takes from a child node.
constexpr Class_ID holder_camera_class{0x399ee5f2, 0x584a71a8};
/// A multi-pass effect that only a rendererClass2 renderer renders, in one pass.
constexpr Class_ID single_pass_effect_class{0x6cc9546e, 0x0b1961b9};

constexpr std::string_view multipass_holder_name = "Multipass";

INode* find_multipass_holder(INode* camera) {
    INode* holder = nullptr;
    for (int i = 0; i < camera->NumberOfChildren(); ++i) {
        INode* child = camera->GetChildNode(i);
        if (child->GetName() == multipass_holder_name) holder = child;
    }
    return holder;
}

/// The object's multi-pass effect if it is a camera whose effect is switched on, else null.
IMultiPassCameraEffect* enabled_effect(Object* object, TimeValue time) {
    auto* camera = dynamic_cast<CameraObject*>(object);
    Interval validity;
    if (camera == nullptr || !camera->GetMultiPassEffectEnabled(time, validity)) return nullptr;
    return camera->GetIMultiPassCameraEffect();
}

void find_holder_effect(JobState& job, TimeValue time) {
    job.multipassHolderNode = find_multipass_holder(job.renderCameraNode);
    if (job.multipassHolderNode == nullptr) return;
    connect_log.entry("Multipass plugin holder camera node ", job.multipassHolderNode->GetName());
    job.multipassHolderObject = job.multipassHolderNode->EvalWorldState(time, TRUE).obj;
    IMultiPassCameraEffect* effect = enabled_effect(job.multipassHolderObject, time);
    if (effect == nullptr) return;
    job.multipassEnabled = true;
    job.multipassEffect = effect;
    job.multipassTotalPasses = effect->TotalPasses(time);
}

void find_camera_effect(JobState& job, TimeValue time) {
    IMultiPassCameraEffect* effect = enabled_effect(job.renderCameraObject, time);
    if (effect == nullptr) return;
    job.multipassEffect = effect;
    const bool single_pass = effect->ClassID() == single_pass_effect_class;
    job.multipassEnabled = !single_pass || job.rendererClass2;
    job.multipassTotalPasses = single_pass ? 1 : effect->TotalPasses(time);
}

void find_multipass_effect(JobState& job, TimeValue time) {
    job.renderCameraObject = job.renderCameraNode->EvalWorldState(time, TRUE).obj;
    const bool holder_camera = job.rendererClass1 && job.renderCameraObject != nullptr &&
                               job.renderCameraObject->ClassID() == holder_camera_class;
    if (holder_camera)
        find_holder_effect(job, time);
    else
        find_camera_effect(job, time);
}

}  // namespace

void JobState::OpenRenderer(int frame) {
    if (rendererOpen) return;
    const int renderType = regionRendering ? RENDTYPE_REGION : RENDTYPE_NORMAL;
    connect_log.entry("Setting up render parameters");
    coreInterface->SetupRendParams(renderParams, nullptr, renderType);

    multipassEnabled = false;
    multipassTotalPasses = 1;
    if (renderCameraNode != nullptr) {
        connect_log.entry("Rendering camera node ", renderCameraNode->GetName());
        const TimeValue time = frame_time(frame);
        connect_log.entry("Checking multipass info for frame ", time / GetTicksPerFrame());
        find_multipass_effect(*this, time);
    } else {
        connect_log.entry("Rendering view at address ", static_cast<const void*>(activeViewport));
    }

    connect_log.entry("Opening renderer");
    std::string errorText;
    ViewExp* viewport = renderCameraNode == nullptr ? activeViewport : nullptr;
    const int opened =
        CallOpenCurRenderer(renderCameraNode, viewport, renderType, coreInterface->GetRendWidth(),
                            coreInterface->GetRendHeight(), errorText);
    // 0 after a trapped fault too.
    if (opened == 0) throw std::runtime_error("Failed to open the max renderer.");

    connect_log.entry("Multipass enabled = ", multipassEnabled);
    connect_log.entry("Total passes = ", multipassTotalPasses);
    rendererOpen = true;
}
