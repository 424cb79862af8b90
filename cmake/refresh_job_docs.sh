#!/usr/bin/env bash
# Writes what docs/ says of the keys of job files anew, from the worker's own table.
# usage: refresh_job_docs.sh BIN_DIR
set -euo pipefail
worker=$(cd "$1" && pwd)/corrivane-worker
cd "$(dirname "$0")/../docs"
"$worker" --help-schema >job.schema.json
# The table of keys ends the page.
text=$(sed '/^| Key | Option | Meaning |$/q' jobs.md)
{ printf '%s\n|---|---|---|\n' "$text"; "$worker" --help-keys; } >jobs.md
