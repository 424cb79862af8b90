#pragma once

#include "worker/job/job.h"
#include "worker/job/job_commands.h"
#include "worker/job/run_settings.h"
#include "worker/settings/setting_values.h"

#include <functional>
#include <string>
#include <vector>

namespace corrivane::worker {

/// All that a job file and the options of the command line can say.
struct JobSettings {
    Job job;
    RunSettings run;
};

/// One setting: what it is called, how it is read and how the plug-in is told. Job file, command line, help
/// and commands are all made from the table of these.
struct JobSetting {
    enum class Scope {
        job,   // only where a job is rendered
        hosts  // wherever a host is started
    };

    std::string key;   // in the job file; options.alphaSplit is alphaSplit in the object options
    std::string flag;  // on the command line
    std::string form;  // of the option's value, for the help text; empty for a switch
    std::string help;
    bool is_required = false;
    bool is_repeatable = false;  // on the command line
    Scope scope = Scope::job;

    /// Null for a key inside an object that is another setting's value, and read with it.
    std::function<void(const json::Value&, JobSettings&)> read = nullptr;
    /// Throws std::invalid_argument with the reason and without the option's name.
    std::function<void(const OptionTexts&, JobSettings&)> read_option = nullptr;
    /// Adds the commands that tell the plug-in; null when there are none.
    std::function<void(const Job&, JobCommands&)> add_commands = nullptr;
};

/// Every setting, in the order in which help texts list them and the plug-in is told. The options of the
/// command line are to be read in this order too.
const std::vector<JobSetting>& job_setting_table();

/// Throws std::invalid_argument for a text that no command can carry.
JobCommands make_job_commands(const Job& job);

}  // namespace corrivane::worker
