#include "worker/cli/worker_manual.h"

#include <corrivane_version.h>

namespace corrivane::worker {

const Manual& worker_manual() {
    static const Manual manual{
        .name = "corrivane-worker",
        .version = CORRIVANE_VERSION,
        .summary = "render jobs with hosts of this machine",
        .description = "Corrivane's reference farm worker: drives hosts of this machine through a job.",
        .examples = {{"corrivane-worker render scene.gltf --frames 1-48 --output 'C:\\out\\beauty.exr' "
                      "--drive C=project",
                      "Render 48 frames into project/out. Paths with backslashes stand in quotes."},
                     {"corrivane-worker run job.json --frames all --hosts 2",
                      "Run a job file, but all frames of its scene, on two hosts."},
                     {"corrivane-worker run job.json --frames @left.txt",
                      "Render the frames that a file lists."},
                     {"corrivane-worker render scene.gltf --frames 1-48 --print-job > job.json",
                      "Write a command line as a job file."},
                     {"corrivane-worker info scene.gltf", "List the cameras, frames and outputs of a scene."},
                     {"corrivane-worker doctor job.json", "Say what would stop a job on this machine."}},
        .exit_codes = {{"0", "done"},
                       {"1", "frames failed, or their files are not whole"},
                       {"2", "the command line or the job file is wrong"},
                       {"3",
                        "the job cannot start: no host comes up, or a look at it says that it cannot work"},
                       {"128 + N", "stopped by signal N: 130 by Ctrl-C"}},
        .signals = {{"SIGINT, SIGTERM, SIGHUP",
                     "stop the running frames and end the job; the second one kills the hosts"},
                    {"SIGUSR1", "let the running frames finish, and end the job then"}},
        .files = {{"drive_c",
                   "the folder in the current one that stands for drive C unless --drive says otherwise"},
                  {"C:\\Quillane\\logs", "the folder of the plug-in's log, which is written if it is there"}},
    };
    return manual;
}

}  // namespace corrivane::worker
