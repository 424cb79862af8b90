#pragma once

#include <string>
#include <string_view>

namespace corrivane::host {

/// The calls of the core interface that can be told to fail.
enum class CoreCall {
    load_from_file,
    open_cur_renderer,
    close_cur_renderer,
    cur_renderer_render_frame,
    get_active_viewport,
    set_time,
    release_viewport,
};

// Failures on demand, so that the way in which a plug-in survives them can be tested. A call is named as the
// core interface spells it ("CurRendererRenderFrame"). Each order holds for one call: the next one of its
// kind fails, the one after that works again. A later order for the same call replaces an earlier one. All of
// it belongs to the main thread.

/// The next such call faults as find_processor_fault (core/processor_faults.h) says. Throws
/// std::invalid_argument, whose text lists the valid names, for an unknown call or kind.
void fault_at_next(std::string_view call, std::string_view kind);

/// The next such call throws: "stdException" a std::runtime_error, "maxException" a MAXException, "other"
/// something that is neither. Throws std::invalid_argument, whose text lists the valid names, for an unknown
/// call or type.
void throw_at_next(std::string_view call, std::string_view exception_type, std::string text);

/// Called first thing in each of these calls: fails if that was ordered.
void fail_if_ordered(CoreCall call);

}  // namespace corrivane::host
