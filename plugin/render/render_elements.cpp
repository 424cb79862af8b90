#include "render/render_elements.h"

#include "render/job_state.h"
#include "render/output_names.h"
#include "render/output_writing.h"
#include "support/log.h"

void collect_render_elements(JobState& job) {
    job.renderElements.clear();
    job.elementBitmaps.clear();
    IRenderElementMgr* manager = job.coreInterface->GetCurRenderElementMgr();
    const bool active = manager != nullptr && manager->GetElementsActive();
    job.renderElementCount = active ? manager->NumRenderElements() : 0;
    for (int i = 0; i < job.renderElementCount; ++i) {
        job.renderElements.push_back(manager->GetRenderElement(i));
        PBBitmap*& element = job.elementBitmaps.emplace_back(nullptr);
        job.renderElements.back()->GetPBBitmap(element);
        if (element != nullptr) job.PrepareBitmapInfo(element->bi);
    }
}

void create_element_bitmaps(JobState& job, int frame) {
    for (PBBitmap* element : job.elementBitmaps) {
        if (element == nullptr) continue;
        element->bi.SetName(frame_file_name(job, element->bi.Name(), frame).c_str());
        element->bm = TheManager->Create(element->bi);
        connect_log.entry("Element Bitmap ", static_cast<const void*>(element->bm));
    }
    connect_log.entry("Rendering ", job.renderElementCount, " render elements");
}

void create_element_accumulators(JobState& job) {
    job.elementAccumulators.clear();
    if (!job.multipassEnabled) return;
    for (const PBBitmap* element : job.elementBitmaps)
        job.elementAccumulators.push_back(element == nullptr ? nullptr : TheManager->Create(element->bi));
}

void save_elements(JobState& job) {
    for (std::size_t i = 0; i < job.elementBitmaps.size(); ++i) {
        PBBitmap* element = job.elementBitmaps[i];
        if (element == nullptr) continue;
        // The last pass is not needed any more, and the accumulated image may be large.
        if (job.multipassEnabled) release(element->bm);
        Bitmap* image = job.multipassEnabled ? job.elementAccumulators[i] : element->bm;
        if (image != nullptr) save_image(job, image, element->bi);
    }
}

void JobState::ReleaseElementBitmaps() {
    for (PBBitmap* element : elementBitmaps)
        if (element != nullptr) release(element->bm);
    for (Bitmap*& accumulator : elementAccumulators)
        release(accumulator);
    elementAccumulators.clear();
}
