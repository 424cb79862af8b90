#!/usr/bin/env bash
# lint.sh BUILD_DIR JOBS FILE.cpp...: runs clang-tidy over those of the files that BUILD_DIR would compile. Shows each
# finding once, and how many there are of each kind; fails when there is one.
set -euo pipefail
build_dir=$1
jobs=$2
shift 2
files=()
for file in "$@"; do
  grep -qF "\"$PWD/$file\"" "$build_dir/compile_commands.json" && files+=("$file")
done
if [ "${#files[@]}" -eq 0 ]; then
  echo "lint: nothing to look at"
  exit 0
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

status=0
printf '%s\0' "${files[@]}" |
  xargs -0 -n 1 -P "$jobs" clang-tidy -quiet -p "$build_dir" >"$work/log" 2>"$work/errors" || status=$?
grep -E ': (warning|error): ' "$work/log" | sed "s|^$PWD/||" | sort -u >"$work/findings" || true
cat "$work/findings"
grep -oE '\[[a-zA-Z0-9.,-]+\]$' "$work/findings" | sort | uniq -c | sort -rn || true
count=$(wc -l <"$work/findings")
echo "lint: $count findings in ${#files[@]} files"
if [ "$count" -eq 0 ] && [ "$status" -ne 0 ]; then
  tail -n 20 "$work/errors"
  echo "lint: clang-tidy itself failed"
fi
[ "$count" -eq 0 ] && [ "$status" -eq 0 ]
