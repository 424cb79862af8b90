#pragma once

#include "worker/events/job_report.h"

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace corrivane::worker {

// What hosts keep on this machine beside the images.

/// The folder for the plug-in's log of one of the hosts that share a drive C: host-1, host-2, ... where the drive has
/// a folder for logs, and made if need be. What the host before it logged there is kept as a second file. Empty where
/// the drive has none, so that nothing is logged, or where it can't be made.
std::string log_folder_of(std::size_t host);

/// Removes the unfinished files that processes which have ended left beside these files.
void remove_unfinished_files(const std::vector<pid_t>& processes, const std::vector<ImageFile>& beside);

/// Moves a file out of the way while it lives, so that a new one may be written in its place. If none was, the old one
/// comes back.
class SetAside {
public:
    explicit SetAside(const std::string& path);
    ~SetAside();
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;

private:
    const std::string m_path;
    const std::string m_aside;
};

}  // namespace corrivane::worker
