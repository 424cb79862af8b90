#include "maxscript/corrivane_interface.h"

#include "farm/daemon_session.h"
#include "farm/script_reporting.h"
#include "quorvel/max3d/maxscript.h"
#include "render/job_state.h"
#include "support/message_pump.h"

#include <max/core_interface.h>
#include <max/maxscript/exceptions.h>

#include <stdexcept>

namespace {

constexpr Interface_ID quillane_util_id{0x83928748, 0xA38F941E};

/// What a request answers, as a MAXScript string; `undefined` when the item does not exist.
template <typename Request>
Value* value_of(Request request) {
    try {
        const std::string text = request();
        return new String(text.c_str());
    } catch (const std::invalid_argument&) {
        return &undefined;
    }
}

/// The same for what only a worker can answer.
template <typename Request>
Value* value_from_worker(Request request) {
    if (!daemon_running) return &undefined;
    pump_messages();
    return value_of(request);
}

}  // namespace

CorrivaneInterface::CorrivaneInterface() {
    auto descriptor = quorvel::FPWrapper::QXCreateDescriptor(this, quillane_util_id, "QuillaneUtil", nullptr);
    // The order gives the identifiers, by which 3ds Max calls.
    descriptor.add_function(&CorrivaneInterface::Debug_StartJob, "Debug_StartJob", "fileName", "cameraName");
    descriptor.add_function(&CorrivaneInterface::Debug_EndJob, "Debug_EndJob");
    descriptor.add_function(&CorrivaneInterface::Debug_RenderFrame, "Debug_RenderFrame", "frameIndex");
    descriptor.add_function(&CorrivaneInterface::SetTitle, "SetTitle", "title");
    descriptor.add_function(&CorrivaneInterface::SetProgress, "SetProgress", "percent");
    descriptor.add_function(&CorrivaneInterface::FailRender, "FailRender", "message");
    descriptor.add_function(&CorrivaneInterface::GetSubmitInfoEntry, "GetSubmitInfoEntry", "key");
    descriptor.add_function(&CorrivaneInterface::GetSubmitInfoEntryElementCount,
                            "GetSubmitInfoEntryElementCount", "key");
    descriptor.add_function(&CorrivaneInterface::GetSubmitInfoEntryElement, "GetSubmitInfoEntryElement",
                            "index", "key");
    descriptor.add_function(&CorrivaneInterface::GetJobInfoEntry, "GetJobInfoEntry", "key");
    descriptor.add_function(&CorrivaneInterface::GetAuxFilename, "GetAuxFilename", "index");
    descriptor.add_function(&CorrivaneInterface::GetOutputFilename, "GetOutputFilename", "index");
    descriptor.add_read_only_property(&CorrivaneInterface::CurrentFrame, "CurrentFrame");
    descriptor.add_function(&CorrivaneInterface::LogMessage, "LogMessage", "message");
    descriptor.add_function(&CorrivaneInterface::RunCorrivaneDaemon, "RunCorrivaneDaemon", "portNumber",
                            "token");
}

bool CorrivaneInterface::Debug_StartJob(const std::string& fileName, const std::string& cameraName) {
    return ::Debug_StartJob(fileName, cameraName);
}

bool CorrivaneInterface::Debug_EndJob() {
    return ::Debug_EndJob();
}

bool CorrivaneInterface::Debug_RenderFrame(int frameIndex) {
    return ::Debug_RenderFrame(frameIndex);
}

void CorrivaneInterface::SetTitle(const std::string& title) {
    if (!daemon_running) {
        quorvel::max3d::maxscript_output()->printf("Title was set to \"%s\"\n", title.c_str());
        return;
    }
    pump_messages();
    job_state.SetTitle(title, session_socket);
}

bool CorrivaneInterface::SetProgress(float percent) {
    if (!daemon_running) return true;
    pump_messages();
    return job_state.SetProgress(percent, session_socket);
}

void CorrivaneInterface::FailRender(const std::string& message) {
    pump_messages();
    throw RuntimeError(message.c_str());
}

Value* CorrivaneInterface::GetSubmitInfoEntry(const std::string& key) {
    return value_from_worker([&] { return job_state.GetSubmitInfoEntry(key, session_socket); });
}

int CorrivaneInterface::GetSubmitInfoEntryElementCount(const std::string& key) {
    if (!daemon_running) return 0;
    pump_messages();
    try {
        return job_state.GetSubmitInfoEntryElementCount(key, session_socket);
    } catch (const std::invalid_argument&) {
        return 0;
    }
}

Value* CorrivaneInterface::GetSubmitInfoEntryElement(int index, const std::string& key) {
    return value_from_worker([&] { return job_state.GetSubmitInfoEntryElement(index, key, session_socket); });
}

Value* CorrivaneInterface::GetJobInfoEntry(const std::string& key) {
    return value_from_worker([&] { return job_state.GetJobInfoEntry(key, session_socket); });
}

Value* CorrivaneInterface::GetAuxFilename(int index) {
    return value_from_worker([&] { return job_state.GetAuxFilename(index, session_socket); });
}

Value* CorrivaneInterface::GetOutputFilename(int index) {
    pump_messages();
    return value_of([index] { return job_state.GetOutputFilename(index); });
}

int CorrivaneInterface::CurrentFrame() {
    if (!daemon_running) return GetCOREInterface()->GetTime() / GetTicksPerFrame();
    pump_messages();
    return job_state.currentFrame;
}

void CorrivaneInterface::LogMessage(const std::string& message) {
    ::LogMessage(message);
}
