#include "render/frame.h"

#include "render/job_state.h"

#include <string>

void release_frame(JobState& job) {
    if (job.frameUnderWay.mainBitmap == nullptr) return;
    release(job.frameUnderWay.passBitmap);
    release(job.frameUnderWay.regionBitmap);
    job.ReleaseElementBitmaps();
    release(job.frameUnderWay.mainBitmap);
}

void refuse_inside_a_frame(const JobState& job, const char* operation) {
    if (job.frameUnderWay.rendering)
        throw std::runtime_error(std::string(operation) + " called while a frame is being rendered.");
}
