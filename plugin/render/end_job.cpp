#include "render/job_state.h"

#include <stdexcept>

void JobState::CloseRenderer() {
    if (!rendererOpen) return;
    std::string errorText;
    CallCloseCurRenderer(errorText);
    if (!errorText.empty()) ThrowTrappedFault(errorText);
    rendererOpen = false;
}

void JobState::EndJob() {
    RefuseInsideAFrame("EndJob", 0);
    if (!jobRunning) throw std::runtime_error(std::string("EndJob") + job_not_running_text);
    CloseRenderer();
    ReleaseFrameBitmaps();
    coreInterface->ReleaseViewport(activeViewport);
    // A render node keeps no scene in memory between jobs; nobody is there to be asked.
    coreInterface->FileReset(TRUE);
    multipassEffect = nullptr;
    jobRunning = false;
}
