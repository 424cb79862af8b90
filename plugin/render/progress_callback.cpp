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

/// Renderers name many phases; these are the ones in which pixels are made.
bool is_rendering_title(std::string title) {
    std::transform(title.begin(), title.end(), title.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return title == "rendering" || title.find("rendering image") != std::string::npos ||
           title.find("%  rendering") != std::string::npos;
}

}  // namespace

CorrivaneRenderCallback::CorrivaneRenderCallback(quorvel::win32::simple_socket& farm_link, std::string prefix)
    : socket(farm_link), titlePrefix(std::move(prefix)) {}

void CorrivaneRenderCallback::SetPass(int pass, int passCount) {
    titlePrefix = "Pass " + std::to_string(pass) + " of " + std::to_string(passCount) + " - ";
    progressOffset = static_cast<float>(pass * 100 - 100) / static_cast<float>(passCount);
    progressScale = 1.0F / static_cast<float>(passCount);
}

void CorrivaneRenderCallback::SetTitle(const char* text) {
    const std::lock_guard held(lock);
    title = text;
    title.erase(title.find_last_not_of("\r\n") + 1);
    initializingRayServer = title == "Initializing Ray Server";
}

int CorrivaneRenderCallback::Progress(int done, int total) {
    if (timeoutCount > tolerated_timeouts) return give_up();
    // In this phase the renderer's process must not be held up.
    if (initializingRayServer) return go_on;
    if (!may_report(done, total)) return go_on;

    pump_messages();
    done = std::min(done, total);
    const float percentage = total == 0 ? -1.0F : static_cast<float>(done * 100.0 / total);
    return report(percentage);
}

int CorrivaneRenderCallback::give_up() {
    connect_log.entry("timed out, aborting");
    return stop;
}

/// Lets one call through in every interval, besides the final report and the first one after the amount of
/// work became known.
bool CorrivaneRenderCallback::may_report(int done, int total) {
    const DWORD now = GetTickCount();
    DWORD last = lastProgressTick.load(std::memory_order_relaxed);
    const bool due =
        std::abs(static_cast<std::int64_t>(static_cast<std::int32_t>(now - last))) >= report_interval_ms;
    const bool final_report = total != 0 && done >= total;
    const bool first_determinate = total > 0 && lastProgressIndeterminate.load(std::memory_order_relaxed);
    if (!final_report && !first_determinate) {
        // Of several threads that find the interval over, one reports.
        if (!due || !lastProgressTick.compare_exchange_strong(last, now)) return false;
    }
    lastProgressTick = now;
    lastProgressIndeterminate = total <= 0;
    return true;
}

int CorrivaneRenderCallback::report(float percentage) {
    const std::lock_guard held(lock);
    int missed = timeoutCount;
    if (missed > tolerated_timeouts) return give_up();  // while this thread waited for the lock
    try {
        send_progress(percentage);
        ++missed;
        const std::string reply = socket.receive(reply_timeout_ms);
        timeoutCount = 0;
        if (reply == corrivane::continue_word) return go_on;
        connect_log.entry("response: ", reply);
        return stop;
    } catch (const simple_socket_error& error) {
        connect_log.entry("caught simple socket excetion when handling progress: ", error.what(),
                          " (timeout count = ", missed, ")");
        // Only now: the renderer's other threads must not give up while the reply may still come.
        timeoutCount = missed;
        return go_on;
    }
}

/// Sends the title and the progress; work of an unknown amount has neither.
void CorrivaneRenderCallback::send_progress(float percentage) {
    namespace request = corrivane::request;
    if (!(percentage > 0)) {
        socket.send(std::string(request::progress_unknown));
        return;
    }
    char shown[64];
    std::snprintf(shown, sizeof shown, "%.1f", static_cast<double>(percentage));
    socket.send(request::text(request::set_title, titlePrefix + title + " - " + shown + "%"));
    if (is_rendering_title(title))
        socket.send(
            request::text(request::progress, float_text(progressScale * percentage + progressOffset)));
    else
        socket.send(std::string(request::progress_unknown));
}
