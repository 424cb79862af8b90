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
    bool MayReport(int done, int total);
    int Report(float percentage);
    static int GiveUp();
    void SendProgress(float percentage);

    quorvel::win32::simple_socket& m_socket;
    std::mutex m_lock;                    ///< held while the title changes and from a request to its reply
    std::atomic<int> m_timeoutCount = 0;  ///< replies in a row that did not come
    std::atomic<bool> m_initializingRayServer = false;  ///< what m_title tells, for readers without the lock
    std::string m_titlePrefix;
    std::string m_title;
    float m_progressOffset = 0.0F;  ///< percent
    float m_progressScale = 1.0F;
};
