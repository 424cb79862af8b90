#include "render/guard.h"
#include "support/log.h"

#include <max/exceptions.h>

#include <locale>
#include <sstream>
#include <stdexcept>

namespace {

struct missing_file_policy {
    int kind;
    bool JobState::*ignored;
    const char* label;    ///< how CheckDefaultActions logs the kind
    const char* subject;  ///< how SetupDefaultActions logs it
};

constexpr missing_file_policy missing_file_policies[] = {
    {TYPE_MISSING_EXTERNAL_FILES, &JobState::ignoreMissingExternalFiles,
     "  TYPE_MISSING_EXTERNAL_FILES = ", "missing external file errors"},
    {TYPE_MISSING_UVWS, &JobState::ignoreMissingUVWs,
     "  TYPE_MISSING_UVWS = ", "missing UVW cooridinate errors"},
    {TYPE_MISSING_DLL_FILES, &JobState::ignoreMissingDLLs,
     "  TYPE_MISSING_DLL_FILES = ", "missing DLL errors"},
    {TYPE_MISSING_XREF_FILES, &JobState::ignoreMissingXREFs,
     "  TYPE_MISSING_XREF_FILES = ", "missing XREF errors"},
};

struct renderer_class {
    Class_ID id;
    bool JobState::*flag;
};

constexpr renderer_class renderer_classes[] = {
    {{0x52ad1c02, 0x112d2fbc}, &JobState::rendererClass1},
    {{0x58f67d6c, 0x4fcf3bc3}, &JobState::rendererClass2},
};

constexpr float default_black_frame_threshold = 0.1F;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

void reset_job_options(JobState& job) {
    job.blackFrameThreshold = default_black_frame_threshold;
    job.jpegOutputPath.clear();
    job.rendererClass1 = job.rendererClass2 = false;
    job.frameNumberBase = 0;
    job.showFrameBuffer = true;
    job.restartRendererMode = job.removePadding = job.alphaSplit = job.failOnBlackFrames = false;
    job.useJpegOutput = job.regionRendering = job.useOutputImageFilename = false;
    job.blackFramePercentage = 0;
    job.regionLeft = job.regionTop = job.regionRight = job.regionBottom = job.regionPadding = 0;
    job.regionLeftOverflow = job.regionTopOverflow = job.regionRightOverflow = job.regionBottomOverflow = 0;
}

void load_scene(JobState& job, const std::string& maxFile) {
    connect_log.entry("Trying to load max file...");
    std::string errorText;
    int loaded = 0;
    try {
        loaded = job.CallLoadFromFile(maxFile, errorText);
    } catch (const std::exception& error) {
        connect_log.entry("catch(std::exception& e) from LoadFromFile()");
        throw std::runtime_error(std::string("Caught an exception in GetCOREInterface()->LoadFromFile(): ") +
                                 error.what());
    } catch (const MAXException& error) {
        connect_log.entry("catch(MAXException& e) from LoadFromFile()");
        throw std::runtime_error("Caught a MAXException in GetCOREInterface()->LoadFromFile(): " +
                                 error.message);
    } catch (...) {
        connect_log.entry("catch(...) from LoadFromFile()");
        throw std::runtime_error("3ds max crashed in GetCOREInterface()->LoadFromFile(): " + quoted(maxFile));
    }
    if (!errorText.empty()) throw_trapped_fault(job, errorText);
    if (loaded == 0) {
        connect_log.entry("LoadFromFile() returned failure");
        throw std::runtime_error("Failed to load max file: " + quoted(maxFile));
    }
}

void choose_render_camera(JobState& job, const std::string& cameraName) {
    job.renderCameraNode = nullptr;
    if (!cameraName.empty()) {
        job.renderCameraNode = job.coreInterface->GetINodeByName(cameraName.c_str());
        if (job.renderCameraNode == nullptr)
            throw std::runtime_error("Scene does not contain render camera " + quoted(cameraName));
        return;
    }
    if (job.activeViewport == nullptr || job.activeViewport->GetViewType() != VIEW_CAMERA) return;
    job.renderCameraNode = job.activeViewport->GetViewCamera();
    if (job.renderCameraNode == nullptr)
        connect_log.entry("Viewport is of type camera, but it did not return a valid camera node");
    else
        connect_log.entry("Rendering viewport with camera: ", job.renderCameraNode->GetName());
}

void recognise_renderer(JobState& job) {
    Renderer* renderer = job.coreInterface->GetCurrentRenderer();
    if (renderer == nullptr) return;
    for (const renderer_class& known : renderer_classes) {
        if (renderer->ClassID() != known.id) continue;
        job.*known.flag = true;
        return;
    }
}

}  // namespace

void JobState::StartJob(const std::string& maxFile, const std::string& cameraName) {
    coreInterface = GetCOREInterface();
    coreInterface8 = GetCOREInterface8();
    connect_log.entry("StartJob begin");
    reset_job_options(*this);
    if (jobRunning) throw std::runtime_error("StartJob called when job was already running.");

    connect_log.entry("setting up default actions");
    SetupDefaultActions();
    connect_log.entry("Checking max file validity...");
    if (!coreInterface->IsMaxFile(maxFile.c_str()))
        throw std::runtime_error("Invalid max file: " + quoted(maxFile));

    load_scene(*this, maxFile);
    connect_log.entry("Successfully loaded the max file");
    connect_log.entry("setting up default actions again, just to ensure they're set");
    SetupDefaultActions();

    activeViewport = coreInterface->GetActiveViewport();
    connect_log.entry("Got the active viewport: ", static_cast<const void*>(activeViewport));
    choose_render_camera(*this, cameraName);
    recognise_renderer(*this);
    jobRunning = true;
}

void JobState::SetupDefaultActions() {
    IDefaultActionSystem* actions = coreInterface->GetDefaultActionSystem();
    for (const missing_file_policy& policy : missing_file_policies) {
        const bool ignored = this->*policy.ignored;
        actions->SetDefaultAction(policy.kind, ignored ? DEFAULT_ACTION_IGNORE : DEFAULT_ACTION_FAIL, nullptr,
                                  nullptr);
        connect_log.entry(ignored ? "Ignoring " : "Not ignoring ", policy.subject);
    }
}

void JobState::CheckDefaultActions() {
    connect_log.entry("checking default actions");
    const IDefaultActionSystem* actions = coreInterface->GetDefaultActionSystem();
    for (const missing_file_policy& policy : missing_file_policies) {
        int action = DEFAULT_ACTION_FAIL;
        actions->GetDefaultAction(policy.kind, action);
        connect_log.entry(policy.label, action == DEFAULT_ACTION_IGNORE ? "IGNORE" : "FAIL");
    }
}

std::string JobState::DescribeOutput() const {
    std::ostringstream description;
    description.imbue(std::locale::classic());
    description << "[filename] " << outputBitmapInfo.Name() << "\n[format] " << outputBitmapInfo.FormatName()
                << "\n[size] " << outputBitmapInfo.Width() << 'x' << outputBitmapInfo.Height()
                << "\n[aspect] " << outputBitmapInfo.Aspect() << '\n';
    return description.str();
}
