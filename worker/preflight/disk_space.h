#pragma once

#include "worker/preflight/findings.h"
#include "worker/preflight/planned_outputs.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corrivane::worker {

/// Bytes that an output's file has before it is compressed; 0 for one of no known format.
std::uint64_t uncompressed_bytes(const PlannedOutput& output);

/// Whether the files of so many frames fit on their disks, as far as their size and format tell: a refusal where not
/// even the smallest files that such images become would, a warning where it is likely to become tight.
Findings check_disk_space(const std::vector<PlannedOutput>& outputs, const Job& job);

/// Whether the files of the other frames fit on their disks, if they become as large as those of `frame`, which are
/// there. What they will replace counts as free. Returns what is wrong, or an empty text.
std::string space_lacking_after(int frame, const std::vector<PlannedOutput>& outputs, const Job& job);

/// "1.5 MB", as disks are sold.
std::string bytes_text(std::uint64_t bytes);

}  // namespace corrivane::worker
