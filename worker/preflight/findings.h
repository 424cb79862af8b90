#pragma once

#include <string>
#include <vector>

namespace corrivane::worker {

/// What a look at a job or a machine has found.
struct Finding {
    enum class Severity {
        good,
        warning,  // the job may run, and may not give what was wanted
        refusal   // the job cannot run
    };

    Severity severity = Severity::good;
    std::string subject;  // "output", "drive C"
    std::string text;
    std::string remedy;  // what to do about it; empty where there is nothing to do
};

using Findings = std::vector<Finding>;

bool has_refusal(const Findings& findings);

/// One line a finding, below it its remedy; `least` and what is graver.
std::string findings_text(const Findings& findings, Finding::Severity least);

/// A JSON array of objects with severity ("good", "warning", "refusal"), subject, text and remedy.
std::string findings_json(const Findings& findings);

}  // namespace corrivane::worker
