#!/usr/bin/env bash
# run.sh PROGRAM.exe ARGUMENT...: runs a Windows program under Wine, contained: in namespaces that die with it, with a
# prefix of its own that is gone afterwards, without a display, and for at most WINE_SECONDS (300). Its exit code is the
# program's low byte; 124 when the time was up.
#   WINE_DRIVES   folders that stand for drives, a line "C=/a/folder" for each; without C, drive C begins empty
#   WINE_NETWORK  a folder that stands for the network, with a folder for each server and in that one for each share
# Killed, it takes the program along.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source "$here/cache.sh"

if [ "$1" = --make-prefix ]; then
  use_target "$2"
  set -- --make-prefix
else
  target=$(target_of "$1")
  use_target "$target"
  [ -f "$prefix/.complete" ] || "$here/set_up.sh" "$target" >&2
  set -- "$(realpath "$1")" "${@:2}"
fi
# Newer kernels limit the processes of a namespace, which inside.sh asks for; on older ones a control group does.
limit_processes() {
  local base group
  for base in /sys/fs/cgroup/pids /sys/fs/cgroup; do
    rmdir "$base"/corrivane-wine-* 2>/dev/null || true  # of runs that are over
    group=$base/corrivane-wine-$$
    mkdir "$group" 2>/dev/null || continue
    { echo "$most_processes" >"$group/pids.max" && echo $$ >"$group/cgroup.procs"; } 2>/dev/null && return
    rmdir "$group"
  done
}
has_own_pid_max || limit_processes

# The kernel ends the namespace, and with it all that runs there, with its first process, and that one with this.
export WINE_ROOT=$root WINE_LOADER=$wine WINE_SERVER=$server WINE_MASTER=$prefix WINE_SECONDS=${WINE_SECONDS:-300}
exec unshare --mount --pid --fork --kill-child --propagation private -- "$here/inside.sh" "$@"
