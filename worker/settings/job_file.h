#pragma once

#include "worker/settings/job_settings.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace corrivane::worker {

/// What is wrong with a job file: the file, the key and the reason.
class JobFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a job from JSON text, an object with the keys of job_setting_table:
///
///     {
///       "scene": "C:\\scenes\\robot.gltf", "camera": "Camera01", "frames": "1-48x2,60",
///       "output": "C:\\out\\beauty.png",
///       "options": {
///         "frameBase": 1000, "alphaSplit": true,
///         "region": {"left": 0, "top": 0, "right": 320, "bottom": 240, "padding": 8},
///         "failOnBlack": {"percentage": 95, "threshold": 0.02}, "ignoreMissing": ["files", "uvws"]
///       },
///       "jobInfo": {"Name": "Robot", "Priority": 50},
///       "submitInfo": {"Pools": ["night", "gpu"], "User": "ana"},
///       "hosts": 2, "drives": {"C": "drive_c", "D": "/mnt/d"}
///     }
///
/// This machine's own paths in it are relative to `folder`; an empty one is the current folder. Throws JobFileError
/// for text that is not JSON, unknown and repeated keys, wrong types, and values that the job cannot have; `name` is
/// how the message calls the file. A job that lacks something is read too: options may bring it.
JobSettings parse_job(std::string_view text, const std::string& name, const std::string& folder);

/// Reads a job file of this machine, "-" from standard input. Throws JobFileError also for a file that cannot be read
/// or is absurdly large.
JobSettings read_job_file(const std::string& path);

/// The job as a file that reads the same from wherever it lies: every setting that has a value, paths of this machine
/// in full.
std::string job_file_text(const JobSettings& settings);

}  // namespace corrivane::worker
