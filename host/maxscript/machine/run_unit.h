#pragma once

#include "maxscript/machine/code.h"

namespace corrivane::host {

template <typename Prepare>
Value* run_unit(const CodeUnit& unit, const UnitArguments& arguments, Prepare prepare) {
    enum { self_slot, carried_slot, owner_slot, fixed_slots };
    ThreadState& thread = thread_state();
    check_stack(thread);
    const std::size_t slots = fixed_slots + unit.local_count + unit.temporary_count;
    constexpr std::size_t slot_size = sizeof(void*);
    auto* frame =
        static_cast<ValueLocalsFrame*>(__builtin_alloca(sizeof(ValueLocalsFrame) + slots * slot_size));
    const FrameLink link(thread, frame, slots);
    const PlaceScope place(thread);
    thread.place.file = unit.file;
    Value** values = frame->slots();
    values[owner_slot] = arguments.owner;
    values[self_slot] = arguments.self;
    Value** locals = values + fixed_slots;
    for (std::size_t i = 0; i < unit.local_count; ++i)
        locals[i] = &undefined;
    Activation activation{thread,
                          locals,
                          locals + unit.local_count,
                          values[owner_slot],
                          values[self_slot],
                          values[carried_slot]};
    prepare(activation);
    Value* result = evaluate(unit.body, activation);
    return result != nullptr ? result : activation.carried;
}

}  // namespace corrivane::host
