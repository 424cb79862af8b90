#pragma once

#include "core/default_actions.h"
#include "core/document.h"
#include "core/render_session.h"
#include "core/system_log.h"

#include <max/core_interface.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corrivane::host {

/// What scripts have registered to run on the main thread before the renderer is opened, around each frame's render and
/// when the renderer has been closed. What they throw comes out of the call.
struct RenderHooks {
    std::function<void()> before_frame{};
    std::function<void()> after_frame{};
    std::function<void()> before_render{};
    std::function<void()> after_render{};
};

/// The core interface over this host's scene and renderer: what GetCOREInterface returns. There is one, made
/// when it is first asked for, and it belongs to the main thread. Beyond the interface that plug-ins see, it
/// gives the host's own scripts the open document.
///
/// A call that fails says why in the system log; a progress callback that throws a std::exception fails the
/// render. A MAXScript error of a script around a frame comes out of the render call.
class Core final : public Interface8 {
public:
    static Core& instance();

    /// The open document. The reference holds until the next load or reset.
    Document& document() { return *m_document; }
    SystemLog& log() { return m_log; }
    bool is_rendering() const { return m_rendering; }
    void set_render_hooks(RenderHooks hooks) { m_hooks = std::move(hooks); }
    /// Of the renderers that are opened from now on; 0: one for each processor.
    int render_threads() const { return m_render_threads; }
    void set_render_threads(int threads) { m_render_threads = threads; }

    /// LoadFromFile and FileReset as scripts do them: what a plug-in was given of the scene that goes stays at its
    /// address until the plug-in itself loads or resets.
    bool load_scene_file(const std::string& name);
    void reset_scene();
    void open_scene(std::shared_ptr<const Scene> scene, const std::string& name);

    bool IsMaxFile(const char* fileName) override;
    /// Takes a Windows path. A scene that cannot be loaded leaves the open one as it is.
    int LoadFromFile(const char* fileName, int flags) override;
    void FileReset(BOOL noPrompt) override;

    TimeValue GetTime() const override { return m_document->time(); }
    /// Also gives the render elements their configured names back, so that the next frame numbers those; not
    /// while a frame is rendered, whose names are still needed when it is saved.
    void SetTime(TimeValue time, BOOL redraw) override;

    ViewExp* GetActiveViewport() override;
    void ReleaseViewport(ViewExp* viewport) override;
    INode* GetINodeByName(const char* name) override;

    BitmapInfo& GetRendFileBI() override { return m_document->output(); }
    BOOL GetRendSaveFile() const override { return settings().save_file ? TRUE : FALSE; }
    BOOL GetSkipRenderedFrames() const override { return settings().skip_existing_frames ? TRUE : FALSE; }
    int GetRendWidth() const override { return settings().width; }
    int GetRendHeight() const override { return settings().height; }
    float GetRendImageAspect() const override { return settings().pixel_aspect; }

    ::Renderer* GetCurrentRenderer() override { return m_document->renderer(); }
    IRenderElementMgr* GetCurRenderElementMgr() override {
        m_document->note_handed_out();
        return &m_document->elements();
    }
    void SetupRendParams(RendParams& params, ViewExp* viewport, int renderType) override;
    int OpenCurRenderer(INode* cameraNode, ViewExp* viewport, int renderType, int width, int height) override;
    void CloseCurRenderer() override;
    int CurRendererRenderFrame(TimeValue time, Bitmap* bitmap, RendProgressCallback* progress,
                               float frameDuration, ViewParams* view, RECT* region) override;

    IDefaultActionSystem* GetDefaultActionSystem() override { return &m_default_actions; }
    LogSys* Log() override { return &m_log; }

private:
    /// The active viewport: through the scene's active camera, if it names one.
    class ActiveViewport final : public ViewExp {
    public:
        explicit ActiveViewport(Core& core) : m_core(core) {}
        int GetViewType() const override;
        INode* GetViewCamera() override;

    private:
        Core& m_core;
    };

    struct FrameCall;

    Core();

    const RenderSettings& settings() const { return m_document->settings(); }
    void replace_document(std::unique_ptr<Document> document);
    RenderSession::Setup session_setup(INode* camera_node, ViewExp* viewport, int render_type);
    bool render(RenderSession& session, const RenderSession::Frame& frame);

    SystemLog m_log;
    DefaultActions m_default_actions;
    RenderHooks m_hooks;
    int m_render_threads = 0;
    ActiveViewport m_viewport{*this};
    std::unique_ptr<Document> m_document = std::make_unique<Document>();
    std::vector<std::unique_ptr<Document>> m_retired;
    /// Null while the renderer is closed. Shared, since a script that runs around a frame may close it.
    std::shared_ptr<RenderSession> m_session;
    bool m_rendering = false;
};

}  // namespace corrivane::host
