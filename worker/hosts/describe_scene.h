#pragma once

#include "worker/job/run_settings.h"
#include "worker/job/scene_description.h"

#include <stdexcept>
#include <string>

namespace corrivane::worker {

/// The host cannot open the scene: its own lines say why.
class SceneRefused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A host that does not describe scenes, or does not start.
class NoDescription : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Starts a host that loads the scene with everything that it can load without, tells what is in it, and ends.
/// `limits.load` is how long that may take. Throws SceneRefused and NoDescription.
SceneDescription describe_scene(const HostSettings& host, const TimeLimits& limits, const std::string& scene);

/// What a description says. Throws json::Error for one that is none.
SceneDescription parse_description(const std::string& text);

}  // namespace corrivane::worker
