#pragma once

#include "worker/events/job_report.h"
#include "worker/job/run_settings.h"

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// Tells a file's content at one moment from that at another without reading it. Whoever writes a file or puts
/// another one in its place changes this, whatever the clocks of this machine and of the disk say.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::uint64_t bytes = 0;
    std::int64_t modified_ns = 0;
    std::int64_t changed_ns = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// Nothing where there is no plain file.
std::optional<FileIdentity> identity_of(const std::string& path);

/// What was at some paths at one moment.
using Snapshot = std::map<std::string, std::optional<FileIdentity>>;
Snapshot snapshot_of(const std::vector<ImageFile>& files);

/// What a frame's files should be.
struct Expectation {
    Verify verify = Verify::full;
    int width = 0;  // 0: not known
    int height = 0;
    /// What was there before the frame began: a file that is the same still is not the frame's. Of a file that is not
    /// in it, nothing is known.
    Snapshot before;
};

/// Looks at each file and sets its state, its size and what is wrong with it.
void check_files(std::vector<ImageFile>& files, const Expectation& expectation);

/// What is wrong with the files, each on a line of its own; previews, without which a frame is whole, are left out.
std::string problems_of(const std::vector<ImageFile>& files);

}  // namespace corrivane::worker
