#pragma once

#include <max/bitmap.h>

#include <stdexcept>
#include <utility>

struct JobState;

/// What one frame holds of 3ds Max besides its render elements. It is a field of the job state and not on the
/// stack, so that what a trapped fault abandons can still be given back.
struct Frame {
    Bitmap* mainBitmap = nullptr;
    Bitmap* passBitmap = nullptr;    ///< of a multi-pass effect
    Bitmap* regionBitmap = nullptr;  ///< while a region is being written
    bool rendering = false;          ///< RenderFrame is on the stack
};

/// Gives back every bitmap of the frame, its elements' too. Without a frame it does nothing: the element lists
/// may be those of a scene that is gone.
void release_frame(JobState& job);

/// How the failure of an operation goes on that needs a running job.
inline constexpr const char* job_not_running_text =
    " called when consistency check flag jobRunning was not set";

/// Throws std::runtime_error when a frame is being rendered. A script in a render callback that ended the job
/// or rendered another frame would free what the renderer below it is still using.
void refuse_inside_a_frame(const JobState& job, const char* operation);

/// A fresh bitmap, the caller's to release; one that cannot be made fails the frame.
inline Bitmap* create_bitmap(const BitmapInfo& info) {
    Bitmap* bitmap = TheManager->Create(info);
    if (bitmap == nullptr)
        throw std::runtime_error("Failed to allocate Bitmap: TheManager->Create() return NULL");
    return bitmap;
}

/// Gives a bitmap back, if there is one, and forgets it first: a call that faults must not be made again by
/// every later frame.
inline void release(Bitmap*& bitmap) {
    if (Bitmap* given_back = std::exchange(bitmap, nullptr)) given_back->DeleteThis();
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
