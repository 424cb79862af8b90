#pragma once

#include <cstdint>

namespace corrivane::host {

/// Ends a script with an error after this many steps (calls and rounds of loops), counted over all scripts
/// from now on; 0, the default, for no limit. Such an error cannot be caught by script.
void set_step_limit(std::uint64_t steps);

/// Counts one step of script; throws once the limit has been reached, or the script has to stop.
void count_step();

/// Ends the script that runs at its next step, and every other one that follows, with an error that cannot be caught
/// by script. May be called by a signal handler, on any thread.
void stop_scripts();
bool scripts_are_stopped();

/// Whether script is being run, as far as a signal handler can tell: not while a library that was called works.
bool script_runs();

/// Says for its lifetime whether script runs.
class ScriptRuns {
public:
    explicit ScriptRuns(bool runs);
    ~ScriptRuns();
    ScriptRuns(const ScriptRuns&) = delete;
    ScriptRuns& operator=(const ScriptRuns&) = delete;

private:
    bool m_before;
};

/// Waits, but no longer than until scripts have to stop.
void wait_seconds(double seconds);

}  // namespace corrivane::host
