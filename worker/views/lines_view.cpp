#include "worker/views/lines_view.h"

#include "worker/views/event_lines.h"

namespace corrivane::worker {

void LinesView::take(const Event& event) {
    m_progress.take(event);
    for (const std::string& line : event_lines(event, m_progress, m_crashes, Detail::all))
        m_out << line << '\n';
    m_out.flush();
}

}  // namespace corrivane::worker
