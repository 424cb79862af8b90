#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// The part of the image to render, in pixels from the top left corner; right and bottom are the first pixels
/// outside. `padding` more pixels are rendered on every side and cut off again before the image is written.
struct Region {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    int padding = 0;
};

/// Fails a frame of which at least `percentage` percent of the pixels are darker than `threshold` (0 to 1).
struct BlackFrameCheck {
    int percentage = 0;
    float threshold = 0;
};

/// Kinds of missing resources that a scene may load without.
struct IgnoreMissing {
    bool files = false;
    bool uvws = false;
    bool dlls = false;
    bool xrefs = false;
};

/// How the frames of a job are rendered and saved. What is unset stays with the plug-in's default.
struct JobOptions {
    std::optional<int> frame_base;  // added to the frame number in file names
    std::optional<Region> region;
    std::optional<std::string> jpeg_preview;  // folder of the previews
    std::optional<BlackFrameCheck> fail_on_black;
    IgnoreMissing ignore_missing;
    bool restart_renderer = false;
    bool hide_frame_buffer = false;
    bool remove_padding = false;
    bool alpha_split = false;
};

/// One job for the plug-in. Paths are as the host understands them: C:\..., \\server\share\... or this
/// machine's own.
struct Job {
    std::string scene;
    std::string camera;  // empty: the scene's active view
    std::vector<int> frames;
    std::optional<std::string> output;  // otherwise the scene's own output name
    /// The folder of the output, the elements and the previews in place of those that they would have.
    std::optional<std::string> output_folder;
    std::string name;     // what people call the job; may be empty
    std::string comment;  // the same
    JobOptions options;

    /// What scripts inside the host may ask for. A submission entry is a list of elements.
    std::map<std::string, std::string> job_info;
    std::map<std::string, std::vector<std::string>> submit_info;
    std::vector<std::string> aux_files;

    /// New output names of the scene's render elements, by their index; an empty one leaves the element's as it is.
    std::vector<std::string> element_outputs;

    /// Script files that each host runs: after it has started the job, and before it ends it.
    std::optional<std::string> pre_script;
    std::optional<std::string> post_script;
};

/// A submission entry as one value: its elements joined by commas.
std::string submit_value(const std::vector<std::string>& elements);

/// Throws std::invalid_argument that names what is wrong: no scene or frames, several frames for
/// one file, a region without area, numbers out of range, information that no message can carry.
void check_job(const Job& job);

}  // namespace corrivane::worker
