#include "maxscript/machine/rooted.h"

#include "maxscript/machine/thread_state.h"

namespace corrivane::host {

Rooted::Rooted(Value* value) : m_frame{1, thread_state().locals.current_locals_frame}, m_slot(value) {
    thread_state().locals.current_locals_frame = &m_frame;
}

Rooted::~Rooted() {
    thread_state().locals.current_locals_frame = m_frame.previous;
}

}  // namespace corrivane::host
