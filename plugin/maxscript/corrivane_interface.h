#pragma once

#include "function_publishing/static_interface.h"

#include <max/maxscript/value.h>

#include <string>

/// The MAXScript interface QuillaneUtil: starts the farm link, and lets the scripts of a job talk to the
/// worker. Constructing the one object publishes it.
///
/// While a session runs, the functions ask the worker; a failure of the connection is a MAXScript
/// RuntimeError. Without one they have harmless local results, so that scripts written for the farm run on a
/// workstation too. Items that do not exist are `undefined`, or a count of 0, never an error.
class CorrivaneInterface final : public quorvel::FPWrapper::QXStaticInterface<CorrivaneInterface, FP_CORE> {
public:
    CorrivaneInterface();

    bool Debug_StartJob(const std::string& fileName, const std::string& cameraName);
    bool Debug_EndJob();
    bool Debug_RenderFrame(int frameIndex);

    void SetTitle(const std::string& title);
    /// Whether the worker lets the job go on; true without a session.
    bool SetProgress(float percent);
    /// Always throws a RuntimeError with the message, which fails the job that runs the script.
    void FailRender(const std::string& message);
    Value* GetSubmitInfoEntry(const std::string& key);
    int GetSubmitInfoEntryElementCount(const std::string& key);
    Value* GetSubmitInfoEntryElement(int index, const std::string& key);
    Value* GetJobInfoEntry(const std::string& key);
    Value* GetAuxFilename(int index);
    /// A file written for the last rendered frame, counted from 0; with or without a session.
    Value* GetOutputFilename(int index);
    /// The frame of the worker's last command; without a session that of the time slider.
    int CurrentFrame();
    void LogMessage(const std::string& message);

    /// Connects to the worker that listens on that port of this machine and serves its commands until it closes
    /// the connection; then returns true. Whatever else ends the session is logged and answered with one error
    /// reply if the connection is still there, and gives false; only a reply that cannot be sent throws. A call
    /// while a session is running gives false and changes nothing.
    bool RunCorrivaneDaemon(int portNumber, const std::string& token);

    /// Runs the session under a structured-exception guard. A trapped fault gives false and its text; the text
    /// is empty otherwise. Exceptions pass. Not published.
    bool RunDaemonGuarded(int port, const std::string& token, std::string& errorText);
};

/// The one object, which is published as long as the library is loaded.
extern CorrivaneInterface quillane_util;
