// The chain that frame pointers make: each points at the caller's frame pointer, behind which the return address
// and the words of the call's arguments lie.
#pragma once

#include <system/stack_walk.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace system_detail {

// Follows the chain by one frame. `copy_readable(to, from, count)` copies from the front for as far as the memory
// can be read and returns how many bytes. False when the link and the return address cannot.
template <typename CopyReadable>
bool follow_frame_chain(ULONG_PTR& frame_pointer, StackFrame& frame, CopyReadable copy_readable) {
    struct Record {
        ULONG_PTR caller;
        const void* return_address;
        ULONG_PTR arguments[std::size(StackFrame{}.arguments)];
    } record;
    const std::size_t readable =
        copy_readable(&record, reinterpret_cast<const void*>(frame_pointer), sizeof record);
    if (readable < offsetof(Record, arguments)) return false;
    frame_pointer = record.caller;
    frame.address = record.return_address;
    frame.has_arguments = readable == sizeof record;
    std::copy(std::begin(record.arguments), std::end(record.arguments), frame.arguments);
    return true;
}

}  // namespace system_detail
