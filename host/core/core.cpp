#include "core/core.h"

#include "bitmap/bitmap_log.h"
#include "bitmap/float_bitmap.h"
#include "bitmap/output_file.h"
#include "core/fault_injection.h"

#include <system/drive_map.h>
#include <system/guarded_call.h>

#include <new>
#include <stdexcept>
#include <utility>

namespace corrivane::host {

namespace {

constexpr int perspective_view_type = 7;

void run_hook(const std::function<void()>& hook) {
    if (hook) {
        hook();
    }
}

BoundedFile bounded_file(const std::string& windows_path) {
    const NativePath path = native_path(windows_path);
    return {path.path, path.root};
}

}  // namespace

Core::Core() {
    set_bitmap_log([](BitmapLogKind kind, const std::string& call, const std::string& text) {
        kind == BitmapLogKind::error ? SystemLog().error(call, text) : SystemLog().warning(call, text);
    });
}

Core& Core::instance() {
    static Core core;
    return core;
}

bool Core::IsMaxFile(const char* fileName) {
    const std::string name = fileName == nullptr ? "" : fileName;
    const NativePath path = native_path(name);
    std::string why(path_fault(name, path.error));
    if (path.error == ERROR_SUCCESS && is_scene_file(path.path, &why)) return true;
    m_log.error("IsMaxFile", name + ": " + why);
    return false;
}

int Core::LoadFromFile(const char* fileName, int /*flags*/) {
    const bool loaded = load_scene_file(fileName == nullptr ? "" : fileName);
    if (loaded) {
        m_retired.clear();
    }
    return loaded ? 1 : 0;
}

bool Core::load_scene_file(const std::string& name) {
    fail_if_ordered(CoreCall::load_from_file);
    const NativePath path = native_path(name);
    if (path.error != ERROR_SUCCESS) {
        m_log.error("LoadFromFile", name + ": " + std::string(path_fault(name, path.error)));
        return false;
    }
    LoadOptions options = m_default_actions.load_options();
    options.resolve_path = bounded_file;
    options.root = path.root;
    try {
        replace_document(std::make_unique<Document>(load_scene(path.path, options), name));
    } catch (const SceneError& error) {
        m_log.error("LoadFromFile", error.what());
        return false;
    } catch (const std::bad_alloc&) {
        m_log.error("LoadFromFile", name + ": not enough memory");
        return false;
    }
    for (const std::string& warning : m_document->scene()->warnings) {
        m_log.warning("LoadFromFile", warning);
    }
    return true;
}

void Core::FileReset(BOOL /*noPrompt*/) {
    reset_scene();
    m_retired.clear();
}

void Core::reset_scene() {
    replace_document(std::make_unique<Document>());
}

void Core::open_scene(std::shared_ptr<const Scene> scene, const std::string& name) {
    replace_document(std::make_unique<Document>(std::move(scene), name));
}

void Core::replace_document(std::unique_ptr<Document> document) {
    m_session.reset();
    // A script may load another scene under a plug-in that still has nodes and render elements of this one.
    if (m_document->is_handed_out()) {
        m_retired.push_back(std::move(m_document));
    }
    m_document = std::move(document);
    set_tga_alpha_split(settings().tga_alpha_split);
}

void Core::SetTime(TimeValue time, BOOL /*redraw*/) {
    fail_if_ordered(CoreCall::set_time);
    m_document->set_time(time);
    if (!m_rendering) {
        m_document->elements().restore_names();
    }
}

int Core::ActiveViewport::GetViewType() const {
    return m_core.settings().active_view.empty() ? perspective_view_type : VIEW_CAMERA;
}

INode* Core::ActiveViewport::GetViewCamera() {
    Document& document = m_core.document();
    document.note_handed_out();
    return document.nodes().at(document.view_camera());
}

ViewExp* Core::GetActiveViewport() {
    fail_if_ordered(CoreCall::get_active_viewport);
    return &m_viewport;
}

void Core::ReleaseViewport(ViewExp* /*viewport*/) {
    fail_if_ordered(CoreCall::release_viewport);
}

INode* Core::GetINodeByName(const char* name) {
    m_document->note_handed_out();
    return name == nullptr ? nullptr : m_document->nodes().find(name);
}

void Core::SetupRendParams(RendParams& params, ViewExp* /*viewport*/, int renderType) {
    params.rendType = renderType;
    params.width = settings().width;
    params.height = settings().height;
    params.pixelAspect = settings().pixel_aspect;
}

RenderSession::Setup Core::session_setup(INode* camera_node, ViewExp* viewport, int render_type) {
    if (m_document->renderer() == nullptr) {
        throw std::invalid_argument("the scene's renderer is not installed");
    }
    if ((camera_node == nullptr) == (viewport == nullptr)) {
        throw std::invalid_argument("either a camera or a viewport has to be given");
    }
    RenderSession::Setup setup;
    setup.scene = m_document->scene();
    setup.render_type = render_type;
    setup.pixel_aspect = settings().pixel_aspect;
    setup.samples = settings().samples;
    if (camera_node == nullptr) {
        setup.camera_node = m_document->view_camera();
        return setup;
    }
    if (!m_document->nodes().contains(camera_node)) {
        throw std::invalid_argument("the camera is not part of the open scene");
    }
    const HostNode& node = static_cast<HostNode&>(*camera_node);
    if (!node.is_camera()) {
        throw std::invalid_argument("the node \"" + std::string(node.GetName()) + "\" is not a camera");
    }
    setup.camera_node = node.index();
    return setup;
}

int Core::OpenCurRenderer(INode* cameraNode, ViewExp* viewport, int renderType, int width, int height) {
    fail_if_ordered(CoreCall::open_cur_renderer);
    m_session.reset();
    run_hook(m_hooks.before_render);
    try {
        RenderSession::Setup setup = session_setup(cameraNode, viewport, renderType);
        setup.width = width;
        setup.height = height;
        setup.threads = m_render_threads;
        m_session = std::make_shared<RenderSession>(std::move(setup));
        return 1;
    } catch (const std::exception& error) {
        m_log.error("OpenCurRenderer", error.what());
        return 0;
    }
}

void Core::CloseCurRenderer() {
    fail_if_ordered(CoreCall::close_cur_renderer);
    const bool was_open = std::exchange(m_session, nullptr) != nullptr;
    if (was_open) {
        run_hook(m_hooks.after_render);
    }
}

/// One frame's render with the scripts around it, as a guarded call.
struct Core::FrameCall {
    Core& core;
    const RenderSession::Frame& frame;
    int result = 0;

    static void run(void* self) { static_cast<FrameCall*>(self)->run(); }

    void run() {
        run_hook(core.m_hooks.before_frame);
        const std::shared_ptr<RenderSession> session = core.m_session;
        if (session == nullptr) {
            core.m_log.error("CurRendererRenderFrame", "a script closed the renderer in front of the frame");
            return;
        }
        result = core.render(*session, frame) ? 1 : 0;
        run_hook(core.m_hooks.after_frame);
    }

    /// A fault leaves the call without running destructors, so the end of the rendering is noted by a filter,
    /// which passes everything on.
    static int leave(DWORD /*code*/, EXCEPTION_POINTERS* /*information*/, void* owner) {
        static_cast<Core*>(owner)->m_rendering = false;
        return EXCEPTION_CONTINUE_SEARCH;
    }
};

int Core::CurRendererRenderFrame(TimeValue time, Bitmap* bitmap, RendProgressCallback* progress,
                                 float /*frameDuration*/, ViewParams* view, RECT* region) {
    fail_if_ordered(CoreCall::cur_renderer_render_frame);
    if (m_session == nullptr || m_rendering) {
        m_log.error("CurRendererRenderFrame",
                    m_rendering ? "a frame is being rendered" : "the renderer is not open");
        return 0;
    }
    RenderSession::Frame frame;
    frame.time = time;
    frame.bitmap = bitmap;
    frame.progress = progress;
    frame.view = view;
    frame.region = region;
    FrameCall call{*this, frame};
    begin_frame_outputs();
    m_rendering = true;
    seh_guarded_call(&FrameCall::run, &call, &FrameCall::leave, this);
    m_rendering = false;
    return call.result;
}

bool Core::render(RenderSession& session, const RenderSession::Frame& frame) {
    try {
        session.set_scene(m_document->scene());
        return session.render(frame, m_document->elements());
    } catch (const std::exception& error) {
        m_log.error("CurRendererRenderFrame", error.what());
        return false;
    }
}

}  // namespace corrivane::host

Interface* GetCOREInterface() {
    return GetCOREInterface8();
}

Interface8* GetCOREInterface8() {
    return &corrivane::host::Core::instance();
}

int GetTicksPerFrame() {
    return corrivane::host::Core::instance().document().ticks_per_frame();
}
