#pragma once

#include "worker/events/job_report.h"
#include "worker/job/job.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::worker {

/// What the frames of a job are saved as, as far as the host could tell. Names are those of the host.
struct OutputPlan {
    std::optional<std::string> output;  // without the frame's number; none: the plug-in saves no main image
    std::vector<std::string> elements;
    int width = 0;  // of the files' images; 0: not known
    int height = 0;
    bool skips_frames = false;  // whose file is there

    /// The files of a frame, unchecked and with their paths here. The order is that in which the plug-in writes them.
    std::vector<ImageFile> files_of(int frame, const JobOptions& options) const;
};

/// From the lines of the host's `standin.outputs` and what the job says instead.
OutputPlan make_output_plan(std::string_view lines, const Job& job);

/// From the scene's output name alone, for hosts that tell no more.
OutputPlan make_output_plan_of_name(const std::optional<std::string>& scene_output, const Job& job);

/// Files that the plug-in names, told apart by what was planned; others are taken for outputs.
std::vector<ImageFile> files_of_names(const std::vector<std::string>& names,
                                      const std::vector<ImageFile>& planned);

}  // namespace corrivane::worker
