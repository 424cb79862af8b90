#pragma once

#include <max/bitmap.h>
#include <max/types.h>
#include <windows.h>

/// The parameters of a render as 3ds Max fills them in; a plug-in only hands them on.
struct RendParams {
    int rendType = 0;
    int width = 0;
    int height = 0;
    float pixelAspect = 1.0F;
};

/// A view to render through: the inverse of the camera's placement (world to view, row-major, the last
/// row is the translation; the view looks down its negative z axis) and the field of view across the
/// image, in radians.
struct ViewParams {
    float affineTM[4][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
    float fov = 0.785398F;
};

/// How a renderer tells what it is doing and asks whether to go on. It may call from several threads at once.
class RendProgressCallback {
public:
    /// `title` is zero-terminated and need not outlive the call.
    virtual void SetTitle(const char* title) = 0;
    /// Returns 1 to go on and 0 to stop the render. A `total` of 0 means that the amount of work is unknown.
    virtual int Progress(int done, int total) = 0;
    virtual void SetCurrentField(int /*field*/) {}
    virtual void SetSceneStatistics(int /*lights*/, int /*rayTraced*/, int /*shadowMapped*/, int /*objects*/,
                                    int /*faces*/) {}

protected:
    ~RendProgressCallback() = default;
};

/// IRendererRequirements: the renderer saves its output itself.
constexpr int RENDERER_SAVES_OUTPUT = 2;
/// IRendererRequirements: the renderer wants 32-bit floating-point output.
constexpr int RENDERER_WANTS_FLOAT_OUTPUT = 3;

constexpr Interface_ID IRENDERERREQUIREMENTS_INTERFACE_ID{0x27c85c29, 0x0fab6ee0};

class IRendererRequirements : public BaseInterface {
public:
    virtual bool HasRequirement(int requirement) const = 0;

protected:
    ~IRendererRequirements() = default;
};

class Renderer {
public:
    virtual Class_ID ClassID() const = 0;
    /// The interface with that identifier, null if the renderer has none.
    virtual BaseInterface* GetInterface(Interface_ID id) = 0;

protected:
    ~Renderer() = default;
};

/// A bitmap description followed by its bitmap: where a render element writes.
struct PBBitmap {
    BitmapInfo bi;
    Bitmap* bm = nullptr;
};

class IRenderElement {
public:
    /// Points `bitmap` at the element's own record, which stays the element's; leaves it null if it has none.
    virtual void GetPBBitmap(PBBitmap*& bitmap) = 0;

protected:
    ~IRenderElement() = default;
};

class IRenderElementMgr {
public:
    virtual BOOL GetElementsActive() const = 0;
    virtual int NumRenderElements() const = 0;
    virtual IRenderElement* GetRenderElement(int index) = 0;

protected:
    ~IRenderElementMgr() = default;
};
