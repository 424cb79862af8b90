#pragma once

#include <max/renderer.h>
#include <max/scene.h>
#include <max/types.h>
#include <windows.h>

/// LogSys::LogEntry: kind of entry, and whether it is also shown in a dialog.
constexpr DWORD SYSLOG_ERROR = 1;
constexpr BOOL DISPLAY_DIALOG = 1;

/// 3ds Max's own log.
class LogSys {
public:
    /// `format` and what follows are printf's.
    virtual void LogEntry(DWORD type, BOOL dialog, const char* title, const char* format, ...)
        __attribute__((format(printf, 5, 6))) = 0;

protected:
    ~LogSys() = default;
};

/// Kinds of resource that a scene may miss, as IDefaultActionSystem counts them.
constexpr int TYPE_MISSING_EXTERNAL_FILES = 1;
constexpr int TYPE_MISSING_DLL_FILES = 2;
constexpr int TYPE_MISSING_XREF_FILES = 3;
constexpr int TYPE_MISSING_UVWS = 4;

/// What to do about a missing resource: go on without it, or fail.
constexpr int DEFAULT_ACTION_IGNORE = 1;
constexpr int DEFAULT_ACTION_FAIL = 5;

/// One default action per kind of missing resource; the load of a scene obeys them and may change them.
class IDefaultActionSystem {
public:
    virtual void SetDefaultAction(int kind, int action, const void* argument, const void* owner) = 0;
    virtual void GetDefaultAction(int kind, int& action) const = 0;

protected:
    ~IDefaultActionSystem() = default;
};

/// Interface::OpenCurRenderer: what is rendered.
constexpr int RENDTYPE_NORMAL = 0;
constexpr int RENDTYPE_REGION = 4;

/// The core interface: the scene, its settings and the current renderer. One object, alive as long as 3ds
/// Max. All of it belongs to the main thread.
class Interface {
public:
    virtual bool IsMaxFile(const char* fileName) = 0;

    virtual TimeValue GetTime() const = 0;
    virtual void SetTime(TimeValue time, BOOL redraw) = 0;

    /// The active viewport; to be given back with ReleaseViewport.
    virtual ViewExp* GetActiveViewport() = 0;
    virtual void ReleaseViewport(ViewExp* viewport) = 0;
    virtual INode* GetINodeByName(const char* name) = 0;

    virtual BitmapInfo& GetRendFileBI() = 0;
    virtual BOOL GetRendSaveFile() const = 0;
    virtual BOOL GetSkipRenderedFrames() const = 0;
    virtual int GetRendWidth() const = 0;
    virtual int GetRendHeight() const = 0;
    virtual float GetRendImageAspect() const = 0;

    /// Null when the scene names a renderer that is not there.
    virtual Renderer* GetCurrentRenderer() = 0;
    virtual IRenderElementMgr* GetCurRenderElementMgr() = 0;
    virtual void SetupRendParams(RendParams& params, ViewExp* viewport, int renderType) = 0;
    /// Exactly one of `cameraNode` and `viewport` is given. Returns 0 on failure.
    virtual int OpenCurRenderer(INode* cameraNode, ViewExp* viewport, int renderType, int width,
                                int height) = 0;
    virtual void CloseCurRenderer() = 0;
    /// Renders into `bitmap` and into the active render elements' bitmaps. `view` null: as opened. `region`
    /// null: the whole image; otherwise pixels of the whole image, and the bitmaps are as large as the
    /// region. Returns 0 on failure and when the callback stopped the render.
    virtual int CurRendererRenderFrame(TimeValue time, Bitmap* bitmap, RendProgressCallback* progress,
                                       float frameDuration, ViewParams* view, RECT* region) = 0;

    virtual IDefaultActionSystem* GetDefaultActionSystem() = 0;
    virtual LogSys* Log() = 0;
    /// Empties the scene; asks nobody when `noPrompt`.
    virtual void FileReset(BOOL noPrompt) = 0;

protected:
    ~Interface() = default;
};

class Interface8 : public Interface {
public:
    /// Replaces the scene by that of a file. Returns 0 on failure. May throw MAXException.
    virtual int LoadFromFile(const char* fileName, int flags) = 0;

protected:
    ~Interface8() = default;
};

Interface* GetCOREInterface();
Interface8* GetCOREInterface8();

/// Ticks per frame at the scene's frame rate.
int GetTicksPerFrame();
