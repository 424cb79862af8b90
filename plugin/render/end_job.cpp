#include "render/guard.h"

#include <stdexcept>

void JobState::CloseRenderer() {
    if (!rendererOpen) return;
    std::string errorText;
    CallCloseCurRenderer(errorText);
    if (!errorText.empty()) throw_trapped_fault(*this, errorText);
    rendererOpen = false;
}

void JobState::EndJob() {
    refuse_inside_a_frame(*this, "EndJob");
    if (!jobRunning) throw std::runtime_error(std::string("EndJob") + job_not_running_text);
    CloseRenderer();
    release_frame(*this);
    coreInterface->ReleaseViewport(activeViewport);
    // A render node keeps no scene in memory between jobs; nobody is there to be asked.
    coreInterface->FileReset(TRUE);
    multipassEffect = nullptr;
    jobRunning = false;
}
