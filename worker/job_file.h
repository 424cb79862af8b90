#pragma once

#include "worker/job.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace corrivane::worker {

/// What is wrong with a job file: the file, the key and the reason.
class JobFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a job from JSON text:
///
///     {
///       "scene": "C:\\scenes\\robot.gltf",       required
///       "camera": "Camera01",                    default: the scene's active view
///       "frames": "1-48x2,60",                   required; or a number, or a list of numbers
///       "output": "C:\\out\\beauty.png",         default: the scene's output name
///       "options": {
///         "frameBase": 1000,                     added to the frame number in file names
///         "region": {"left": 0, "top": 0, "right": 320, "bottom": 240, "padding": 8},
///         "jpegPreview": "C:\\previews",
///         "failOnBlack": {"percentage": 95, "threshold": 0.02},
///         "ignoreMissing": ["files", "uvws", "dlls", "xrefs"],
///         "restartRenderer": true, "hideFrameBuffer": true, "removePadding": true, "alphaSplit": true
///       },
///       "jobInfo": {"Name": "Robot", "Priority": 50},
///       "submitInfo": {"Pools": ["night", "gpu"], "User": "ana"},
///       "auxFiles": ["C:\\scenes\\robot.txt"],
///       "preScript": "C:\\scripts\\prepare.ms",  run by each host after it has started the job
///       "postScript": "C:\\scripts\\clean.ms"    run by each host before it ends the job
///     }
///
/// Values of jobInfo and submitInfo are texts, numbers or booleans; those of submitInfo also lists of these.
/// Throws JobFileError for text that is not JSON, unknown, missing and repeated keys, wrong types, and values
/// that the job cannot have; `name` is how the message calls the file. The job still has to pass check_job.
Job parse_job(std::string_view text, const std::string& name);

/// Reads a job file of this machine. Throws JobFileError also for a file that cannot be read or is
/// absurdly large.
Job read_job_file(const std::string& path);

}  // namespace corrivane::worker
