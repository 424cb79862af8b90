#include "render/progress_callback.h"

#include "net/farm_protocol.h"
#include "support/log.h"
#include "support/message_pump.h"
#include "support/number_text.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

using quorvel::win32::simple_socket_error;

constexpr int report_interval_ms = 100;
constexpr int reply_timeout_ms = 100;
constexpr int tolerated_timeouts = 5;
constexpr int go_on = 1;
constexpr int stop = 0;

/// When the last request was sent, and whether it was for an unknown amount of work. Frames and jobs share
/// them, so that the worker is not flooded at the seams either.
std::atomic<DWORD> last_progress_tick = 0;
std::atomic<bool> last_progress_indeterminate = true;

/// Renderers name many phases; these are the ones in which pixels are made.
bool is_rendering_title(std::string title) {
    std::transform(title.begin(), title.end(), title.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return title == "rendering" || title.find("rendering image") != std::string::npos ||
           title.find("%  rendering") != std::string::npos;
}

}  // namespace

CorrivaneRenderCallback::CorrivaneRenderCallback(quorvel::win32::simple_socket& socket,
                                                 std::string titlePrefix)
    : m_socket(socket), m_titlePrefix(std::move(titlePrefix)) {}

void CorrivaneRenderCallback::SetPass(int pass, int passCount) {
    m_titlePrefix = "Pass " + std::to_string(pass) + " of " + std::to_string(passCount) + " - ";
    m_progressOffset = static_cast<float>(pass * 100 - 100) / static_cast<float>(passCount);
    m_progressScale = 1.0F / static_cast<float>(passCount);
}

void CorrivaneRenderCallback::SetTitle(const char* text) {
    const std::lock_guard lock(m_lock);
    m_title = text;
    m_title.erase(m_title.find_last_not_of("\r\n") + 1);
    m_initializingRayServer = m_title == "Initializing Ray Server";
}

int CorrivaneRenderCallback::Progress(int done, int total) {
    if (m_timeoutCount > tolerated_timeouts) return GiveUp();
    // In this phase the renderer's process must not be held up.
    if (m_initializingRayServer) return go_on;
    if (!MayReport(done, total)) return go_on;

    pump_messages();
    done = std::min(done, total);
    const float percentage = total == 0 ? -1.0F : static_cast<float>(done * 100.0 / total);
    return Report(percentage);
}

int CorrivaneRenderCallback::GiveUp() {
    connect_log.entry("timed out, aborting");
    return stop;
}

/// Lets one call through in every interval, besides the final report and the first one after the amount of
/// work became known.
bool CorrivaneRenderCallback::MayReport(int done, int total) {
    const DWORD now = GetTickCount();
    DWORD last = last_progress_tick.load(std::memory_order_relaxed);
    const bool due =
        std::abs(static_cast<std::int64_t>(static_cast<std::int32_t>(now - last))) >= report_interval_ms;
    const bool final_report = total != 0 && done >= total;
    const bool first_determinate = total > 0 && last_progress_indeterminate.load(std::memory_order_relaxed);
    if (!final_report && !first_determinate) {
        // Of several threads that find the interval over, one reports.
        if (!due || !last_progress_tick.compare_exchange_strong(last, now)) return false;
    }
    last_progress_tick = now;
    last_progress_indeterminate = total <= 0;
    return true;
}

int CorrivaneRenderCallback::Report(float percentage) {
    const std::lock_guard lock(m_lock);
    int missed = m_timeoutCount;
    if (missed > tolerated_timeouts) return GiveUp();  // while this thread waited for the lock
    try {
        SendProgress(percentage);
        ++missed;
        const std::string reply = m_socket.receive(reply_timeout_ms);
        m_timeoutCount = 0;
        if (reply == corrivane::k_continue) return go_on;
        connect_log.entry("response: ", reply);
        return stop;
    } catch (const simple_socket_error& error) {
        connect_log.entry("caught simple socket excetion when handling progress: ", error.what(),
                          " (timeout count = ", missed, ")");
        // Only now: the renderer's other threads must not give up while the reply may still come.
        m_timeoutCount = missed;
        return go_on;
    }
}

/// Sends the title and the progress; work of an unknown amount has neither.
void CorrivaneRenderCallback::SendProgress(float percentage) {
    namespace request = corrivane::request;
    if (!(percentage > 0)) {
        m_socket.send(std::string(request::k_progress_unknown));
        return;
    }
    char shown[64];
    std::snprintf(shown, sizeof shown, "%.1f", static_cast<double>(percentage));
    m_socket.send(request::text(request::k_set_title, m_titlePrefix + m_title + " - " + shown + "%"));
    if (is_rendering_title(m_title))
        m_socket.send(
            request::text(request::k_progress, float_text(m_progressScale * percentage + m_progressOffset)));
    else
        m_socket.send(std::string(request::k_progress_unknown));
}
