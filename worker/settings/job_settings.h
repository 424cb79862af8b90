#pragma once

#include "worker/job/frame_list.h"
#include "worker/job/job.h"
#include "worker/job/job_commands.h"
#include "worker/job/run_settings.h"
#include "worker/settings/setting_values.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// All that a job file and the options of the command line can say.
struct JobSettings {
    Job job;  // its frames are those of `frames`, once the scene's range is known where that is needed
    RunSettings run;
    FrameList frames;
};

/// One setting: what it is called, how it is read and written and how the plug-in is told. Job file, its schema,
/// command line, help and commands are all made from the table of these.
struct JobSetting {
    enum class Scope {
        job,   // only where a job is rendered
        hosts  // wherever a host is started
    };

    std::string key;   // in the job file; options.alphaSplit is alphaSplit in the object options
    std::string flag;  // on the command line
    std::string form;  // of the option's value, for the help text; empty for a switch
    std::string help;
    bool is_required = false;    // by the job file or the command line
    bool is_repeatable = false;  // on the command line
    Scope scope = Scope::job;

    /// Reads a value in a job file of that folder. Null, as the next two, for a key inside an object that is another
    /// setting's value, and read with it.
    std::function<void(const json::Value&, const std::string& folder, JobSettings&)> read = nullptr;
    /// The value as a job file has it, null where it is not set; this machine's own paths become full ones.
    std::function<nlohmann::ordered_json(const JobSettings&)> write = nullptr;
    std::function<nlohmann::ordered_json()> schema = nullptr;
    /// Throws std::invalid_argument with the reason and without the option's name.
    std::function<void(const OptionTexts&, JobSettings&)> read_option = nullptr;
    /// Adds the commands that tell the plug-in; null when there are none.
    std::function<void(const Job&, JobCommands&)> add_commands = nullptr;
};

/// Every setting, in the order in which help texts list them and the plug-in is told. The options of the
/// command line are to be read in this order too.
const std::vector<JobSetting>& job_setting_table();

/// Throws std::invalid_argument that names what a job needs and has neither from its file nor from the command line.
void check_complete(const JobSettings& settings);

/// Throws std::invalid_argument for a text that no command can carry.
JobCommands make_job_commands(const Job& job);

}  // namespace corrivane::worker
