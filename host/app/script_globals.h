#pragma once

#include "app/host_options.h"
#include "core/core.h"

namespace corrivane::host {

/// Gives scripts the host's names. To be called once the runtime (maxscript/runtime.h) is started; `core`
/// must outlive the runtime.
///
///   currentTime  sliderTime  animationRange  ticksPerFrame  maxOps.mxsCmdLineArgs  all of scripting/names.h
///   standin.fault "Call" "Kind"   standin.throwNext "Call" #type "text"   standin.crash "Kind"
///
/// Scripts that callbacks.addScript registers for #preRender and its kin run around each render and frame.
void define_script_globals(Core& core, const HostOptions& options);

}  // namespace corrivane::host
