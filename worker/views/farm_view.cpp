#include "worker/views/farm_view.h"

#include "worker/base/printable.h"
#include "worker/views/frame_files.h"

#include <cmath>

namespace corrivane::worker {

void FarmView::take(const Event& event) {
    m_progress.take(event);
    if (const auto* end = std::get_if<event::FrameEnds>(&event.what)) print_images(end->outcome);
    print_progress();
    m_out.flush();
}

void FarmView::print_images(const FrameOutcome& outcome) {
    if (outcome.status != FrameOutcome::Status::done) return;
    for (const ImageFile& file : frame_files(outcome)) {
        if (file.kind != ImageFile::Kind::output || file.state == ImageFile::State::failed) continue;
        m_out << "@IMAGE@" << printable(file.path.empty() ? file.name : file.path) << '\n';
    }
}

/// Never goes back, since parsers take the last one for the progress: a frame that is tried again begins anew.
void FarmView::print_progress() {
    const int percent = static_cast<int>(std::floor(m_progress.fraction() * 100));
    if (m_progress.total() == 0 || percent <= m_percent) return;
    m_percent = percent;
    m_out << "PROGRESS: " << percent << "%\nALF_PROGRESS " << percent << "%\n";
}

}  // namespace corrivane::worker
