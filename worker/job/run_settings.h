#pragma once

#include <chrono>
#include <map>
#include <string>

namespace corrivane::worker {

/// The host program and what it is told besides the script that connects it to the worker. Files and folders
/// are this machine's.
struct HostSettings {
    std::string program;
    std::map<char, std::string> drives;  // folders by letter; C is drive_c where it is not among them
    std::string network;                 // folder that stands for the network; empty for none
    std::string library;                 // plug-in library; empty for the host's own
};

/// How long the worker waits for a host to do its part.
struct TimeLimits {
    std::chrono::milliseconds start{60'000};    // from the start of the program to its connection
    std::chrono::milliseconds load{600'000};    // StartJob
    std::chrono::milliseconds work{3'600'000};  // one frame, or one script
};

/// How a job is run.
struct RunSettings {
    HostSettings host;
    TimeLimits limits;
    int hosts = 1;    // at once; never more than the job has frames
    int retries = 2;  // of a frame whose host died or hung, and of a host that does not come up
    /// A frame counts as done only when the files that it wrote are there and not empty. One that wrote none,
    /// because the scene skips it or saves nothing, counts unless an empty file is in its place.
    bool check_files = false;
    bool show_host_output = false;
};

/// A script file for one host, without a job.
struct ScriptRun {
    std::string file;
    int frame = 0;
    bool set_time = false;  // moves the scene to the frame's time first
};

}  // namespace corrivane::worker
