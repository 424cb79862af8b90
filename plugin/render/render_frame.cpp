#include "render/frame_bitmaps.h"
#include "render/job_state.h"
#include "render/progress_callback.h"
#include "support/file_system.h"
#include "support/filename_utilities.h"
#include "support/log.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace {

constexpr const char* temporary_output_prefix = "C:\\quillane\\temp\\temp_filename";

bool has_requirement(Renderer* renderer, int requirement) {
    if (renderer == nullptr) return false;
    auto* requirements =
        static_cast<IRendererRequirements*>(renderer->GetInterface(IRENDERERREQUIREMENTS_INTERFACE_ID));
    return requirements != nullptr && requirements->HasRequirement(requirement);
}

/// The region's extent between its edges, or the whole image's. No extent of a crossed region.
std::uint16_t image_size(bool region, int low, int high, int whole) {
    const long long size = region ? static_cast<long long>(high) - low : whole;
    if (size > std::numeric_limits<std::uint16_t>::max())
        throw std::runtime_error("The image is too large: " + std::to_string(size) +
                                 " pixels wide or high, 65535 at the most.");
    return static_cast<std::uint16_t>(std::max<long long>(size, 0));
}

/// What all spellings of one file's name have in common.
std::string file_key(const std::string& name) {
    std::vector<std::string> parts;
    std::istringstream elements(normalize_path(name));
    for (std::string element; std::getline(elements, element, '\\');) {
        if (element == ".." && parts.size() > 1)
            parts.pop_back();
        else if (element != "." && element != "..")
            parts.push_back(element);
    }
    std::string key;
    for (const std::string& part : parts)
        key.append(part).append("\\");
    std::transform(key.begin(), key.end(), key.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return key;
}

/// Calls at the end of the scope, also when an exception ends it.
template <typename Call>
class at_scope_end {
public:
    explicit at_scope_end(Call call) : m_call(call) {}
    ~at_scope_end() { m_call(); }
    at_scope_end(const at_scope_end&) = delete;
    at_scope_end& operator=(const at_scope_end&) = delete;

private:
    Call m_call;
};

}  // namespace

/// A script in a render callback must not end or replace what the frame around it still uses.
void JobState::RefuseInsideAFrame(const char* operation, int framesAllowed) const {
    if (framesUnderWay > framesAllowed)
        throw std::runtime_error(std::string(operation) + " called while a frame is being rendered.");
}

unsigned short JobState::RenderFrame(int frame, simple_socket& socket) {
    connect_log.entry("Renderframe ", frame);
    RefuseInsideAFrame("RenderFrame", 1);
    writtenOutputFiles.clear();
    filesToDiscard.clear();
    if (coreInterface == nullptr) throw std::runtime_error(std::string("RenderFrame") + job_not_running_text);
    // What a trapped fault made an earlier frame leave behind.
    ReleaseFrameBitmaps();
    const TimeValue time = frame_time(frame);
    coreInterface->SetTime(time, TRUE);

    if (!rendererOpen) PrepareOutputs();
    NameMainOutput(frame);
    if (IsAlreadyRendered()) return 0;
    connect_log.entry("Rendering frame ", outputBitmapInfo.Name());

    {
        const at_scope_end release_bitmaps([this] { ReleaseFrameBitmaps(); });
        CreateFrameBitmaps(frame);
        // The scene that an ended job's camera and viewport belonged to is gone: nothing is opened for them.
        if (!jobRunning) throw std::runtime_error(std::string("RenderFrame") + job_not_running_text);
        OpenRenderer(frame);
        CreateAccumulators();
        CreateOutputPaths();
        CheckDefaultActions();
        connect_log.entry("calling renderer");
        RenderImage(time, socket);
        connect_log.entry("render done");
        if (failOnBlackFrames) check_black_frame(mainBitmap);
        SaveOutputs();
    }
    outputBitmapInfo.SetName(sceneOutputFilename.c_str());
    if (restartRendererMode) {
        // The lists go once it is closed: where that fails, the next frame uses both as they are.
        CloseRenderer();
        renderElements.clear();
        elementBitmaps.clear();
        renderElementCount = 0;
    }
    return 0;
}

void JobState::PrepareOutputs() {
    outputBitmapInfo = coreInterface->GetRendFileBI();
    PrepareBitmapInfo(outputBitmapInfo);
    if (coreInterface->GetRendSaveFile())
        sceneOutputFilename = outputBitmapInfo.Name();
    else
        sceneOutputFilename = temporary_output_prefix + std::to_string(std::rand()) + ".bmp";
    CollectRenderElements();
}

void JobState::CollectRenderElements() {
    renderElements.clear();
    elementBitmaps.clear();
    IRenderElementMgr* manager = coreInterface->GetCurRenderElementMgr();
    const bool active = manager != nullptr && manager->GetElementsActive();
    renderElementCount = active ? manager->NumRenderElements() : 0;
    for (int i = 0; i < renderElementCount; ++i) {
        renderElements.push_back(manager->GetRenderElement(i));
        elementBitmaps.push_back(nullptr);
        renderElements.back()->GetPBBitmap(elementBitmaps.back());
        if (elementBitmaps.back() != nullptr) PrepareBitmapInfo(elementBitmaps.back()->bi);
    }
}

void JobState::PrepareBitmapInfo(BitmapInfo& bitmapInfo) const {
    const bool wants_float =
        has_requirement(coreInterface->GetCurrentRenderer(), RENDERER_WANTS_FLOAT_OUTPUT);
    bitmapInfo.SetType(wants_float ? BMM_FLOAT_RGBA_32 : BMM_TRUE_64);
    bitmapInfo.SetFlags(MAP_HAS_ALPHA);
    bitmapInfo.SetCustomFlags(0);
    bitmapInfo.SetWidth(image_size(regionRendering, regionLeft, regionRight, coreInterface->GetRendWidth()));
    bitmapInfo.SetHeight(
        image_size(regionRendering, regionTop, regionBottom, coreInterface->GetRendHeight()));
    bitmapInfo.SetAspect(coreInterface->GetRendImageAspect());
}

std::string JobState::NumberedName(const std::string& name, int frame) const {
    const long long number = static_cast<long long>(frame) + frameNumberBase;
    const bool countable =
        number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
    char numbered[BMM_MAX_PATH] = "";
    const bool fits = name.size() < BMM_MAX_PATH;
    if (fits && removePadding) return name;
    if (!countable)
        throw std::runtime_error("The output file number " + std::to_string(number) + " is out of range.");
    if (!fits || !BMMCreateNumberedFilename(name.c_str(), static_cast<int>(number), numbered))
        throw std::runtime_error("The output file name is too long for frame " + std::to_string(number) +
                                 ": \"" + name + "\"");
    return numbered;
}

void JobState::NameMainOutput(int frame) {
    const std::string& name = useOutputImageFilename ? outputImageFilename : sceneOutputFilename;
    outputBitmapInfo.SetName(NumberedName(name, frame).c_str());
}

bool JobState::IsAlreadyRendered() const {
    if (!coreInterface->GetSkipRenderedFrames() || !file_exists(outputBitmapInfo.Name())) return false;
    connect_log.entry("Skipping frame ", outputBitmapInfo.Name(), " because it already exists");
    return true;
}

void JobState::CreateFrameBitmaps(int frame) {
    mainBitmap = create_bitmap(outputBitmapInfo);
    mainBitmap->PrepareGChannels(outputBitmapInfo);
    connect_log.entry("Bitmap ", static_cast<const void*>(mainBitmap));
    for (PBBitmap* element : elementBitmaps)
        if (element != nullptr) CreateElementBitmap(*element, frame);
    connect_log.entry("Rendering ", renderElementCount, " render elements");
    CheckOutputNames();
}

void JobState::CreateElementBitmap(PBBitmap& element, int frame) {
    element.bi.SetName(NumberedName(element.bi.Name(), frame).c_str());
    element.bm = create_bitmap(element.bi);
    connect_log.entry("Element Bitmap ", static_cast<const void*>(element.bm));
}

/// Two images of one name would leave the last of them only.
void JobState::CheckOutputNames() const {
    std::vector<std::string> names;
    if (coreInterface->GetRendSaveFile()) names.push_back(file_key(outputBitmapInfo.Name()));
    for (const PBBitmap* element : elementBitmaps) {
        if (element == nullptr) continue;
        const std::string key = file_key(element->bi.Name());
        if (std::find(names.begin(), names.end(), key) != names.end())
            throw std::runtime_error("Two outputs of the frame have the same file name: \"" +
                                     std::string(element->bi.Name()) + "\"");
        names.push_back(key);
    }
}

/// Whether there are passes to accumulate is known once the renderer is open.
void JobState::CreateAccumulators() {
    elementAccumulators.clear();
    if (!multipassEnabled) return;
    for (const PBBitmap* element : elementBitmaps)
        elementAccumulators.push_back(element == nullptr ? nullptr : create_bitmap(element->bi));
}

void JobState::CreateOutputPaths() {
    connect_log.entry("checking output paths");
    if (coreInterface->GetRendSaveFile()) {
        CreateOutputPath(outputBitmapInfo);
        if (useJpegOutput) CreateJpegOutputPath();
    }
    for (const PBBitmap* element : elementBitmaps)
        if (element != nullptr) CreateOutputPath(element->bi);
}

void JobState::CreateOutputPath(const BitmapInfo& bitmapInfo) const {
    const std::string directory = get_directory_from_path(bitmapInfo.Name());
    if (directory_exists(directory)) return;
    connect_log.entry("creating output path: ", directory);
    create_directory_tree(directory);
}

void JobState::CreateJpegOutputPath() {
    if (jpegOutputPath.empty()) {
        connect_log.entry("no jpeg output path specified, disabling jpeg output");
        useJpegOutput = false;
        return;
    }
    try {
        if (directory_exists(jpegOutputPath)) return;
        connect_log.entry("creating jpeg output path: ", jpegOutputPath);
        create_directory_tree(jpegOutputPath);
    } catch (const std::exception&) {
        connect_log.entry("could not create jpeg output path, disabling jpeg output");
        useJpegOutput = false;
    }
}

void JobState::RenderImage(TimeValue time, simple_socket& socket) {
    if (multipassEnabled)
        RenderMultipass(time, socket);
    else
        RenderSinglePass(time, socket);
}

void JobState::RenderSinglePass(TimeValue time, simple_socket& socket) {
    CorrivaneRenderCallback callback(socket, "");
    if (RenderInto(mainBitmap, time, callback, nullptr) == 0)
        throw std::runtime_error("Failed to render the frame.");
}

/// One call of the renderer, with the bitmap on show if the job wants that. Returns the renderer's result.
int JobState::RenderInto(Bitmap* bitmap, TimeValue time, CorrivaneRenderCallback& callback,
                         ViewParams* view) {
    constexpr int frame_buffer_position = 5;
    const bool shown = ShowsFrameBuffer();
    if (shown) bitmap->Display(nullptr, frame_buffer_position, false, true, nullptr, nullptr);
    const at_scope_end hide([bitmap, shown] {
        if (shown) bitmap->UnDisplay();
    });

    RECT region{regionLeft, regionTop, regionRight, regionBottom};
    std::string errorText;
    const int rendered = CallCurRendererRenderFrame(time, bitmap, &callback, 1.0F, view,
                                                    regionRendering ? &region : nullptr, errorText);
    connect_log.entry("CallCurRendererRenderFrame returned code ", rendered != 0);
    if (!errorText.empty()) ThrowTrappedFault(errorText);
    return rendered;
}

void JobState::SaveOutputs() {
    try {
        SaveMainOutput();
        SaveElements();
    } catch (...) {
        DiscardWrittenFiles();
        throw;
    }
}

void JobState::SaveMainOutput() {
    const bool renderer_saves = has_requirement(coreInterface->GetCurrentRenderer(), RENDERER_SAVES_OUTPUT);
    if (!coreInterface->GetRendSaveFile() || renderer_saves) return;
    SaveImage(mainBitmap, outputBitmapInfo);
    if (regionRendering || !useJpegOutput) return;
    try {
        write_jpeg_preview(mainBitmap, outputBitmapInfo);
    } catch (const std::exception& error) {
        connect_log.entry("Failed to save jpeg output because: ", error.what());
    }
}

void JobState::SaveElements() {
    for (std::size_t i = 0; i < elementBitmaps.size(); ++i) {
        PBBitmap* element = elementBitmaps[i];
        if (element == nullptr) continue;
        if (multipassEnabled) {
            // The last pass is not needed any more, and the accumulated image may be large.
            release(element->bm);
            SaveImage(elementAccumulators[i], element->bi);
        } else if (element->bm != nullptr) {
            SaveImage(element->bm, element->bi);
        }
    }
}

void JobState::SaveImage(Bitmap* bitmap, const BitmapInfo& info) {
    if (regionRendering)
        save_region_output(bitmap, info);
    else
        save_output(bitmap, info);
}

void JobState::ReleaseElementBitmaps() {
    for (PBBitmap* element : elementBitmaps)
        if (element != nullptr) release(element->bm);
    for (Bitmap*& accumulator : elementAccumulators)
        release(accumulator);
    elementAccumulators.clear();
}

/// The main bitmap is the first that a frame makes and the last that it gives back: without one there are no
/// others, and the element lists may be those of a scene that is gone.
void JobState::ReleaseFrameBitmaps() {
    if (mainBitmap == nullptr) return;
    release(passBitmap);
    release(regionBitmap);
    ReleaseElementBitmaps();
    release(mainBitmap);
}
