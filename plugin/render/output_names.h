#pragma once

#include <string>

struct JobState;

/// The name of an output file of a frame: with the frame's number added in the platform's style, or unchanged
/// if the job wants no numbers. Throws std::runtime_error when it is too long for the bitmap calls.
std::string frame_file_name(const JobState& job, const std::string& name, int frame);

/// The output name of a scene that saves no file: a temporary one, different each time.
std::string temporary_output_name();

/// Makes sure that the folders of the frame's outputs exist, the preview's too. A preview folder that cannot be
/// made switches the preview off for the rest of the job.
void create_output_paths(JobState& job);
