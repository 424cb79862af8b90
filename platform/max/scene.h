#pragma once

#include <max/types.h>
#include <windows.h>

class Bitmap;
class INode;
class Object;
struct ViewParams;

/// An effect that a camera renders as several passes that are accumulated into one image.
class IMultiPassCameraEffect {
public:
    virtual Class_ID ClassID() const = 0;
    virtual int TotalPasses(TimeValue time) const = 0;
    /// Sets up a pass (counted from 0) and gives its view, null for the camera's own; may change `time`. The
    /// view stays the effect's and is valid until the next call.
    virtual ViewParams* Apply(INode* cameraNode, Object* cameraObject, int pass, TimeValue& time) = 0;
    /// Adds a pass to what `destination` has accumulated so far.
    virtual void AccumulateBitmap(Bitmap* destination, const Bitmap* source, int pass, TimeValue time) = 0;
    /// Tells that all passes of a frame are done.
    virtual void PostRenderFrame() = 0;

protected:
    ~IMultiPassCameraEffect() = default;
};

class Object {
public:
    virtual Class_ID ClassID() const = 0;

protected:
    virtual ~Object() = default;
};

class CameraObject : public Object {
public:
    virtual BOOL GetMultiPassEffectEnabled(TimeValue time, Interval& valid) const = 0;
    virtual IMultiPassCameraEffect* GetIMultiPassCameraEffect() = 0;

protected:
    ~CameraObject() override = default;
};

/// What a node evaluates to at a time.
struct ObjectState {
    Object* obj = nullptr;
};

class INode {
public:
    virtual const char* GetName() const = 0;
    virtual int NumberOfChildren() const = 0;
    virtual INode* GetChildNode(int index) = 0;
    virtual ObjectState EvalWorldState(TimeValue time, BOOL evalHidden) = 0;

protected:
    ~INode() = default;
};

/// ViewExp::GetViewType of a viewport that looks through a camera.
constexpr int VIEW_CAMERA = 8;

class ViewExp {
public:
    virtual int GetViewType() const = 0;
    /// The camera node that the viewport looks through, null if it has none.
    virtual INode* GetViewCamera() = 0;

protected:
    ~ViewExp() = default;
};
