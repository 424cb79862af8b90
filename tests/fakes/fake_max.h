#pragma once

#include <max/bitmap.h>
#include <max/core_interface.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace corrivane::test {

/// Notes a call of the one fake and lets happen what is meant to happen inside it.
void note(const std::string& name, const std::string& arguments = "");

struct FakeEffect final : IMultiPassCameraEffect {
    Class_ID id{0xE, 0xF};
    int passes = 3;
    TimeValue shift = 0;  ///< added to a pass's time, once for each pass before it
    ViewParams view;

    Class_ID ClassID() const override { return id; }
    int TotalPasses(TimeValue) const override { return passes; }
    ViewParams* Apply(INode* cameraNode, Object* cameraObject, int pass, TimeValue& time) override;
    void AccumulateBitmap(Bitmap* destination, const Bitmap* source, int pass, TimeValue time) override;
    void PostRenderFrame() override { note("PostRenderFrame"); }
};

struct FakeObject final : Object {
    Class_ID ClassID() const override { return {1, 1}; }
};

struct FakeCamera final : CameraObject {
    Class_ID id{0xC, 0xD};
    bool effect_enabled = false;
    FakeEffect* effect = nullptr;

    Class_ID ClassID() const override { return id; }
    BOOL GetMultiPassEffectEnabled(TimeValue, Interval&) const override { return effect_enabled; }
    IMultiPassCameraEffect* GetIMultiPassCameraEffect() override { return effect; }
};

struct FakeNode final : INode {
    std::string name;
    Object* object = nullptr;
    std::vector<INode*> children;

    explicit FakeNode(std::string node_name, Object* evaluated = nullptr)
        : name(std::move(node_name)), object(evaluated) {}
    const char* GetName() const override { return name.c_str(); }
    int NumberOfChildren() const override { return static_cast<int>(children.size()); }
    INode* GetChildNode(int index) override { return children[static_cast<std::size_t>(index)]; }
    ObjectState EvalWorldState(TimeValue, BOOL) override { return {object}; }
};

struct FakeViewport final : ViewExp {
    int type = 7;
    INode* camera = nullptr;

    int GetViewType() const override { return type; }
    INode* GetViewCamera() override { return camera; }
};

struct FakeElement final : IRenderElement {
    PBBitmap record;
    bool has_record = true;

    explicit FakeElement(const char* output) { record.bi.SetName(output); }
    void GetPBBitmap(PBBitmap*& bitmap) override {
        if (has_record) bitmap = &record;
    }
};

struct FakeBitmap : Bitmap {
    std::string label;  ///< "bitmap1", "bitmap2", … in the order of creation
    BitmapInfo info;
    bool keeps_floats = true;
    std::vector<BMM_Color_fl> pixels;

    FakeBitmap(std::string bitmap_label, const BitmapInfo& description);
    virtual ~FakeBitmap() = default;
    BMM_Color_fl& pixel(int x, int y) { return pixels[std::size_t{info.Width()} * y + x]; }

    const BMM_Color_fl* row(int y) const { return &pixels[std::size_t{info.Width()} * y]; }

    int Width() const override { return info.Width(); }
    int Height() const override { return info.Height(); }
    bool HasStorage() const override { return true; }
    bool GetPixels(int x, int y, int count, BMM_Color_fl* copied) const override;
    const BMM_Color_fl* FloatRow(int y) const override { return keeps_floats ? row(y) : nullptr; }
    void PrepareGChannels(const BitmapInfo&) override { note("PrepareGChannels", label); }
    BMMRES OpenOutput(const BitmapInfo& description) override;
    BMMRES Write(const BitmapInfo& description, int frame) override;
    BMMRES Close(const BitmapInfo&, int flag) override {
        return note("Close", label + " " + std::to_string(flag)), BMMRES_SUCCESS;
    }
    void CopyImage(const Bitmap& from, int mode, BMM_Color_fl fill, const BitmapInfo& description) override;
    void Display(const char*, int position, bool autonomous, bool saveButton, const void*,
                 const void*) override;
    void UnDisplay() override { note("UnDisplay", label); }
    void DeleteThis() override;
};

/// Everything that the product calls of 3ds Max besides MAXScript. Fields are what it answers; `calls` is
/// what it was asked, one text a call: name and arguments.
struct FakeMax final : Interface8,
                       IDefaultActionSystem,
                       LogSys,
                       IRenderElementMgr,
                       Renderer,
                       IRendererRequirements,
                       BitmapManager {
    std::vector<std::string> calls;
    /// What happens inside a call of that name before it answers: a fault, an exception, a change of
    /// the fields.
    std::map<std::string, std::function<void()>> inside;

    bool is_max_file = true;
    int load_result = 1;
    int open_result = 1;
    int render_result = 1;

    int ticks_per_frame = 160;
    TimeValue time = 0;
    FakeViewport viewport;
    std::map<std::string, INode*> nodes;
    BitmapInfo output;
    bool save_file = true;
    bool skips_existing = false;
    int width = 8;
    int height = 4;
    bool has_renderer = true;
    Class_ID renderer_class{1, 2};
    std::set<int> requirements;
    std::vector<FakeElement*> elements;
    bool elements_active = true;
    std::map<int, int> default_actions;
    std::vector<std::string> system_log;

    int bitmaps_made = 0;
    int bitmaps_alive = 0;
    int failing_bitmap = 0;  ///< the creation, counted from 1, that gives null
    BMMRES open_output_result = 0;
    BMMRES write_result = 0;
    std::set<std::string> dropped_files;  ///< written without an error, and not there afterwards

    /// The noted calls of that name.
    std::vector<std::string> calls_of(const std::string& name) const;

    bool IsMaxFile(const char* fileName) override { return note("IsMaxFile", fileName), is_max_file; }
    int LoadFromFile(const char* fileName, int flags) override {
        return note("LoadFromFile", fileName + (" " + std::to_string(flags))), load_result;
    }
    TimeValue GetTime() const override { return time; }
    void SetTime(TimeValue newTime, BOOL redraw) override;
    ViewExp* GetActiveViewport() override { return note("GetActiveViewport"), &viewport; }
    void ReleaseViewport(ViewExp* released) override {
        note("ReleaseViewport", released == &viewport ? "active" : "unknown");
    }
    INode* GetINodeByName(const char* name) override { return nodes.contains(name) ? nodes[name] : nullptr; }
    BitmapInfo& GetRendFileBI() override { return output; }
    BOOL GetRendSaveFile() const override { return save_file; }
    BOOL GetSkipRenderedFrames() const override { return skips_existing; }
    int GetRendWidth() const override { return width; }
    int GetRendHeight() const override { return height; }
    float GetRendImageAspect() const override { return 1.25F; }
    Renderer* GetCurrentRenderer() override { return has_renderer ? this : nullptr; }
    IRenderElementMgr* GetCurRenderElementMgr() override { return this; }
    void SetupRendParams(RendParams& params, ViewExp* view, int renderType) override;
    int OpenCurRenderer(INode* cameraNode, ViewExp* view, int renderType, int imageWidth,
                        int imageHeight) override;
    void CloseCurRenderer() override { note("CloseCurRenderer"); }
    int CurRendererRenderFrame(TimeValue frameTime, Bitmap* bitmap, RendProgressCallback* callback,
                               float duration, ViewParams* view, RECT* region) override;
    IDefaultActionSystem* GetDefaultActionSystem() override { return this; }
    LogSys* Log() override { return this; }
    void FileReset(BOOL noPrompt) override { note("FileReset", std::to_string(noPrompt)); }

    void SetDefaultAction(int kind, int action, const void*, const void*) override {
        default_actions[kind] = action;
    }
    void GetDefaultAction(int kind, int& action) const override { action = default_actions.at(kind); }

    void LogEntry(DWORD type, BOOL dialog, const char* title, const char* format, ...) override;

    BOOL GetElementsActive() const override { return elements_active; }
    int NumRenderElements() const override { return static_cast<int>(elements.size()); }
    IRenderElement* GetRenderElement(int index) override { return elements[static_cast<std::size_t>(index)]; }

    Class_ID ClassID() const override { return renderer_class; }
    BaseInterface* GetInterface(Interface_ID id) override {
        return id == IRENDERERREQUIREMENTS_INTERFACE_ID ? static_cast<IRendererRequirements*>(this) : nullptr;
    }
    bool HasRequirement(int requirement) const override { return requirements.contains(requirement); }

    Bitmap* Create(const BitmapInfo& info) override;
};

/// The one fake. A test starts with `fake_max() = FakeMax()`.
FakeMax& fake_max();

}  // namespace corrivane::test
