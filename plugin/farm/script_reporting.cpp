#include "farm/script_reporting.h"

#include "farm/daemon_session.h"
#include "quorvel/max3d/maxscript.h"
#include "render/job_state.h"
#include "support/log.h"
#include "support/message_pump.h"

#include <stdexcept>

namespace {

using quorvel::max3d::maxscript_output;

/// Runs a guarded operation, which sets its error text and tells whether it succeeded, and reports
/// its failure.
template <typename Operation>
bool run_by_hand(Operation operation) {
    try {
        std::string error_text;
        const bool succeeded = operation(error_text);
        if (error_text.empty()) return succeeded;
        maxscript_output()->printf("SEH Exception: %s\n", error_text.c_str());
        connect_log.entry(error_text);
    } catch (const std::exception& error) {
        maxscript_output()->printf("Exception: %s\n", error.what());
        connect_log.entry(error.what());
    }
    return false;
}

}  // namespace

void LogMessage(const std::string& message) {
    log_calling_thread();
    if (daemon_running) {
        pump_messages();
        job_state.LogMessage(message, session_socket);
    } else {
        maxscript_output()->puts((message + "\n").c_str());
    }
}

bool Debug_StartJob(const std::string& fileName, const std::string& cameraName) {
    return run_by_hand([&](std::string& error_text) {
        job_state.CallStartJob(fileName, cameraName, error_text);
        return true;
    });
}

bool Debug_RenderFrame(int frameIndex) {
    return run_by_hand([frameIndex](std::string& error_text) {
        // Never connected: the render's progress has nobody to go to.
        quorvel::win32::simple_socket nobody;
        return job_state.CallRenderFrame(frameIndex, nobody, error_text) == 0;
    });
}

bool Debug_EndJob() {
    return run_by_hand([](std::string& error_text) {
        job_state.CallEndJob(error_text);
        return true;
    });
}
