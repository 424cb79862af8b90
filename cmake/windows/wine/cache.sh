# Where Wine's prefixes and the 32-bit system are kept, outside the tree and for all builds, and what belongs to which
# target. To be sourced.
cache=${CORRIVANE_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/corrivane/windows}

# What of Wine belongs to a target: a chroot with its own, or this machine's.
use_target() {
  case $1 in
    i686)
      root=$cache/i386
      wine=/usr/lib/wine/wine
      server=/usr/lib/wine/wineserver32
      ;;
    x86_64)
      root=
      wine=/usr/lib/wine/wine64
      server=/usr/lib/wine/wineserver64
      ;;
    *)
      echo "there is no target \"$1\": i686 or x86_64" >&2
      exit 2
      ;;
  esac
  prefix=$cache/prefix-$1
}

# The target of a program: the number of its processor stands behind the offset at byte 60.
target_of() {
  local header
  header=$(od -A n -t u4 -j 60 -N 4 "$1" | tr -d ' ')
  case $(od -A n -t x2 -j $((${header:-0} + 4)) -N 2 "$1" | tr -d ' ') in
    014c) echo i686 ;;
    8664) echo x86_64 ;;
    *) echo "$1 is no Windows program" >&2; return 2 ;;
  esac
}

# The most processes of a run, and whether the kernel counts them per namespace; on older ones that would be the limit of
# the whole machine.
most_processes=500
has_own_pid_max() {
  local version
  IFS=. read -ra version <<<"$(uname -r)"
  ((version[0] > 6 || (version[0] == 6 && ${version[1]%%[!0-9]*} >= 14)))
}
