#pragma once

#include <string>

namespace corrivane::worker {

/// A JSON Schema for job files: docs/job.schema.json.
std::string job_schema_text();

/// The keys of job files, their options and meanings, as the rows of the table in docs/jobs.md.
std::string job_key_table();

}  // namespace corrivane::worker
