#!/usr/bin/env bash
# changed_sources.sh COMMITS: the .cpp files that the last COMMITS commits (a merge is one), or what is not committed yet,
# changed; for a changed header one file that includes it.
set -euo pipefail
cd "$(dirname "$0")/.."
base=$(git rev-list --first-parent --max-count=$(($1 + 1)) HEAD | tail -n 1)
changed() { git diff --name-only --diff-filter=d "$base" -- "$1"; }
{
  changed '*.cpp'
  changed '*.h' | while read -r header; do
    own=${header%.h}.cpp
    if [ -f "$own" ]; then
      echo "$own"
    else
      git grep -lF "$(basename "$header")\"" -- '*.cpp' | head -n 1 || true
    fi
  done
} | sort -u
