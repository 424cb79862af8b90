#pragma once

#include <chrono>
#include <functional>
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
    int threads = 0;                     // that render; 0: the machine's cores are shared among the hosts
    int nice = 0;                        // added to the worker's priority
    int memory_mib = 0;                  // a host that has more is replaced between frames; 0: no limit
    std::string log_folder;  // of the plug-in's log, for this host alone; empty: the one on drive C
};

/// How long the worker waits for a host to do its part.
struct TimeLimits {
    std::chrono::milliseconds start{60'000};    // from the start of the program to its connection
    std::chrono::milliseconds load{600'000};    // StartJob
    std::chrono::milliseconds work{3'600'000};  // one frame, or one script
    /// After so long without a word from a host at work it is said what the host does; max() for never.
    std::chrono::milliseconds quiet{60'000};
};

/// How closely a frame's files are looked at before it counts as done.
enum class Verify {
    off,
    fast,  // they are there and new, have their size, and begin and end as they should
    full   // every pixel can be read
};

/// What is shown and kept of a job. Files and folders are this machine's.
struct ViewSettings {
    enum class Progress {
        automatic,  // the bar on a terminal, lines elsewhere
        bar,
        lines,
        farm,  // lines, and the progress as other farms' parsers read it
        none
    };

    Progress progress = Progress::automatic;
    std::string events;         // a file that JSON lines are added to; empty for none
    std::string report;         // the folder for a page about the job; empty for none
    std::string crash_reports;  // the folder for the plug-in's crash reports
};

/// How a job is run.
struct RunSettings {
    HostSettings host;
    TimeLimits limits;
    ViewSettings views;
    int hosts = 1;    // at once; never more than the job has frames
    int retries = 2;  // further attempts at a frame that came to nothing, and at a host that does not come up
    bool retry_errors = true;  // also for a frame that was answered with an error
    Verify verify = Verify::full;
    bool resume = false;         // frames whose files are there and whole are not rendered again
    bool finish_frames = false;  // the first wish to stop lets the running frames finish
    bool show_host_output = false;
    /// Goes on where an error is one that every frame will have.
    bool keep_going = false;
    /// Asked when the first frame is done: why the others will not fit on the disk, or an empty text. Not a setting;
    /// may be empty.
    std::function<std::string(int frame)> space_lacking_after = {};
};

/// A script file for one host, without a job.
struct ScriptRun {
    std::string file;
    int frame = 0;
    bool set_time = false;  // moves the scene to the frame's time first
};

}  // namespace corrivane::worker
