#include "fakes/fake_max.h"

#include <system/drive_map.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fstream>

namespace corrivane::test {

namespace {

std::string text(int number) {
    return std::to_string(number);
}

const std::string& label_of(const Bitmap* bitmap) {
    return static_cast<const FakeBitmap*>(bitmap)->label;
}

void create_file(const std::string& windows_path) {
    if (!fake_max().dropped_files.contains(windows_path))
        std::ofstream(native_path(windows_path).path) << "image";
}

}  // namespace

ViewParams* FakeEffect::Apply(INode*, Object*, int pass, TimeValue& time) {
    time += shift * pass;
    note("Apply", text(pass));
    return &view;
}

void FakeEffect::AccumulateBitmap(Bitmap* destination, const Bitmap* source, int pass, TimeValue time) {
    note("AccumulateBitmap",
         label_of(destination) + " += " + label_of(source) + ", pass " + text(pass) + ", time " + text(time));
}

FakeBitmap::FakeBitmap(std::string bitmap_label, const BitmapInfo& description)
    : label(std::move(bitmap_label)),
      info(description),
      pixels(std::size_t{description.Width()} * description.Height(), BMM_Color_fl{1, 1, 1, 1}) {
    ++fake_max().bitmaps_alive;
}

bool FakeBitmap::GetPixels(int x, int y, int count, BMM_Color_fl* copied) const {
    std::copy_n(row(y) + x, count, copied);
    return true;
}

BMMRES FakeBitmap::OpenOutput(const BitmapInfo& description) {
    note("OpenOutput", label + " " + description.Name());
    return fake_max().open_output_result;
}

BMMRES FakeBitmap::Write(const BitmapInfo& description, int frame) {
    note("Write", label + " " + description.Name() + " " + text(frame));
    if (fake_max().write_result == BMMRES_SUCCESS) create_file(description.Name());
    return fake_max().write_result;
}

void FakeBitmap::CopyImage(const Bitmap& from, int mode, BMM_Color_fl, const BitmapInfo& description) {
    note("CopyImage", label_of(&from) + " mode " + text(mode) + " at " + text(description.CustomX()) + "," +
                          text(description.CustomY()));
}

void FakeBitmap::Display(const char* title, int position, bool autonomous, bool saveButton, const void* crop,
                         const void* clone) {
    const bool bare = title == nullptr && crop == nullptr && clone == nullptr;
    note("Display", label + " " + text(position) + text(autonomous) + text(saveButton) + text(bare));
}

void FakeBitmap::DeleteThis() {
    note("DeleteThis", label);
    --fake_max().bitmaps_alive;
    delete this;
}

void note(const std::string& name, const std::string& arguments) {
    FakeMax& max = fake_max();
    max.calls.push_back(arguments.empty() ? name : name + " " + arguments);
    // A copy: the function may take itself away.
    if (const auto found = max.inside.find(name); found != max.inside.end()) std::function(found->second)();
}

std::vector<std::string> FakeMax::calls_of(const std::string& name) const {
    std::vector<std::string> found;
    std::ranges::copy_if(calls, std::back_inserter(found), [&](const std::string& noted) {
        return noted == name || noted.starts_with(name + " ");
    });
    return found;
}

void FakeMax::SetTime(TimeValue newTime, BOOL redraw) {
    note("SetTime", text(newTime) + " " + text(redraw));
    time = newTime;
}

void FakeMax::SetupRendParams(RendParams& params, ViewExp* view, int renderType) {
    note("SetupRendParams", text(renderType) + (view == nullptr ? "" : " with viewport"));
    params.rendType = renderType;
}

int FakeMax::OpenCurRenderer(INode* cameraNode, ViewExp* view, int renderType, int imageWidth,
                             int imageHeight) {
    const std::string camera = cameraNode == nullptr ? "none" : cameraNode->GetName();
    note("OpenCurRenderer", "camera " + camera + " viewport " + (view == nullptr ? "none" : "active") +
                                " type " + text(renderType) + " " + text(imageWidth) + "x" +
                                text(imageHeight));
    return open_result;
}

int FakeMax::CurRendererRenderFrame(TimeValue frameTime, Bitmap* bitmap, RendProgressCallback*,
                                    float duration, ViewParams* view, RECT* region) {
    std::string arguments = text(frameTime) + " " + label_of(bitmap) + " " + text(int(duration * 100));
    if (view != nullptr) arguments += " view";
    if (region != nullptr)
        arguments += " region " + text(region->left) + "," + text(region->top) + "," + text(region->right) +
                     "," + text(region->bottom);
    note("CurRendererRenderFrame", arguments);
    return render_result;
}

void FakeMax::LogEntry(DWORD type, BOOL dialog, const char* title, const char* format, ...) {
    char message[1000];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    system_log.push_back(text(int(type)) + " " + text(dialog) + " " + title + ": " + message);
}

Bitmap* FakeMax::Create(const BitmapInfo& info) {
    if (++bitmaps_made == failing_bitmap) return nullptr;
    return new FakeBitmap("bitmap" + text(bitmaps_made), info);
}

FakeMax& fake_max() {
    static FakeMax max;
    return max;
}

}  // namespace corrivane::test

BitmapManager* TheManager = &corrivane::test::fake_max();

const char* BMMFormatName(const char* /*fileName*/) {
    return "Fake format";
}

bool BMMCreateNumberedFilename(const char* name, int frame, char* numbered) {
    std::string result = name;
    char digits[16];
    std::snprintf(digits, sizeof digits, "%04d", frame);
    result.insert(std::min(result.rfind('.'), result.size()), digits);
    const bool fits = result.size() < BMM_MAX_PATH;
    std::snprintf(numbered, BMM_MAX_PATH, "%s", fits ? result.c_str() : "");
    return fits;
}

Interface* GetCOREInterface() {
    return &corrivane::test::fake_max();
}

Interface8* GetCOREInterface8() {
    return &corrivane::test::fake_max();
}

int GetTicksPerFrame() {
    return corrivane::test::fake_max().ticks_per_frame;
}
