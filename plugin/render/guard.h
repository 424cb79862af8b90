#pragma once

#include "quorvel/max3d/maxscript.h"
#include "render/job_state.h"
#include "support/exception_report.h"
#include "support/guarded_call.h"

#include <stdexcept>
#include <string>

/// Runs call() under a structured-exception guard whose filter is the job state's. True when the call
/// returned; `errorText` is empty then. False when a fault was trapped: `errorText` is the prefix and the
/// fault's name. Exceptions pass through unchanged.
///
/// A fault abandons what the call was doing without running a destructor. What would be wrong afterwards is
/// put back here: the chain of MAXScript local-value frames, and whether a frame is being rendered.
template <typename Call>
bool run_guarded(JobState& job, const char* prefix, std::string& errorText, Call call) {
    errorText.clear();
    const quorvel::max3d::scoped_maxscript_frame scripts;
    const bool rendering = job.frameUnderWay.rendering;
    const DWORD code = guarded_call(job, call);
    if (code == 0) return true;
    job.frameUnderWay.rendering = rendering;
    errorText.append(prefix).append(seh_exception_name(code));
    return false;
}

/// Throws what a guard trapped, with the crash report.
[[noreturn]] inline void throw_trapped_fault(const JobState& job, const std::string& errorText) {
    throw std::runtime_error(errorText + "\n" + job.lastExceptionReport);
}
