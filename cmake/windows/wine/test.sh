#!/usr/bin/env bash
# test.sh TESTS.exe ARGUMENT...: runs a GoogleTest program under Wine. It passes when it says so: Wine starts some
# programs in vain, says nothing and returns 0.
set -euo pipefail
"$(dirname "$0")/run.sh" "$@" | tee >(cat >&2) | grep -q '^\[  PASSED  \] [1-9]'
