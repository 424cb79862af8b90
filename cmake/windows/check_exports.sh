#!/usr/bin/env bash
# check_exports.sh OBJDUMP FORMAT LIBRARY...: fails unless each library is a program file of that format and shows its
# three entry points, undecorated, and nothing else.
set -euo pipefail
objdump=$1
format=$2
shift 2
for library in "$@"; do
  headers=$("$objdump" -p "$library")
  grep -q "file format $format\$" <<<"$headers" || { echo "$library is not $format"; exit 1; }
  exports=$(sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' <<<"$headers" | awk '$2 ~ /^[0-9]+]$/ {print $NF}' | xargs)
  [ "$exports" = "LibDescription LibInit LibVersion" ] || { echo "$library shows: $exports"; exit 1; }
done
