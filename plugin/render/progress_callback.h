#pragma once

#include "net/simple_socket.h"

#include <max/renderer.h>
#include <windows.h>

#include <atomic>
#include <mutex>
#include <string>

/// Reports one render call to the worker and lets the worker stop it. The renderer may call it from several
/// threads at once.
///
/// At most every 100 ms it sends the title and the progress and waits up to 100 ms for the answer: "CONTINUE"
/// goes on, anything else stops the render. A missing answer goes on too, until six in a row have been
/// missed. Made for one render call, given its pass if it is one of several, and destroyed after it.
class CorrivaneRenderCallback final : public RendProgressCallback {
public:
    /// The socket must outlive the object.
    CorrivaneRenderCallback(quorvel::win32::simple_socket& socket, std::string titlePrefix);

    /// Maps the progress of pass `pass`, counted from 1, onto that of the whole frame. To be called before
    /// the render.
    void SetPass(int pass, int passCount);

    void SetTitle(const char* text) override;
    int Progress(int done, int total) override;

private:
    bool may_report(int done, int total);
    int report(float percentage);
    static int give_up();
    void send_progress(float percentage);

    quorvel::win32::simple_socket& socket;
    std::mutex lock;                    ///< held while the title changes and from a request to its reply
    std::atomic<int> timeoutCount = 0;  ///< replies in a row that did not come
    std::string titlePrefix;
    std::string title;            ///< without trailing line breaks
    float progressOffset = 0.0F;  ///< percent
    float progressScale = 1.0F;
    std::atomic<bool> initializingRayServer = false;  ///< what title tells, for readers without the lock

    // When the last request was sent, and whether it was for an unknown amount of work. Frames and jobs share
    // them, so that the worker is not flooded at the seams either.
    static inline std::atomic<DWORD> lastProgressTick = 0;
    static inline std::atomic<bool> lastProgressIndeterminate = true;
};
