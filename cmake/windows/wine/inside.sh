#!/usr/bin/env bash
# The first process of run.sh's namespaces: lays out what Wine needs and becomes the program.
set -euo pipefail
source "$(dirname "$0")/cache.sh"

root=$WINE_ROOT
mount -t proc proc "$root/proc"
! has_own_pid_max || echo "$most_processes" >"$root/proc/sys/kernel/pid_max"

# In a chroot, the machine's folders lie where they lie outside.
if [ -n "$root" ]; then
  for folder in /*; do
    case $folder in
      /bin | /boot | /etc | /lib* | /proc | /sbin | /sys | /usr) continue ;;
    esac
    [ -d "$folder" ] && [ ! -L "$folder" ] || continue
    mkdir -p "$root$folder"
    mount --rbind "$folder" "$root$folder"
  done
fi

# Wine's server meets its programs in a folder that it names by the user.
meeting=$root/tmp/.wine-$(id -u)
mkdir -p -m 700 "$meeting"
mount -t tmpfs tmpfs "$meeting"

prefix=$WINE_MASTER
if [ "$1" != --make-prefix ]; then
  # A prefix of its own in memory; what it shares with others cannot be written.
  mount --bind "$WINE_MASTER" "$root$WINE_MASTER"
  mount -o remount,bind,ro "$root$WINE_MASTER"
  prefix=$meeting/prefix
  mkdir -p "$prefix/dosdevices" "$prefix/drive_c" "$prefix/temporary"
  cp "$WINE_MASTER"/*.reg "$WINE_MASTER/.update-timestamp" "$prefix"
  ln -s "$WINE_MASTER/drive_c/windows" "$prefix/drive_c/windows"
  ln -s ../drive_c "$prefix/dosdevices/c:"
  ln -s ../temporary "$prefix/dosdevices/y:"
  ln -s / "$prefix/dosdevices/z:"
  while IFS= read -r drive; do
    [ -n "$drive" ] || continue
    letter=${drive%%=*}
    folder=${drive#*=}
    ln -sfn "$folder" "$prefix/dosdevices/${letter,,}:"
    if [ "${letter,,}" = c ]; then
      mkdir -p "$folder/windows"
      mount --bind "$WINE_MASTER/drive_c/windows" "$root$folder/windows"
      mount -o remount,bind,ro "$root$folder/windows"
    fi
  done <<<"${WINE_DRIVES:-}"
  [ -z "${WINE_NETWORK:-}" ] || ln -sfn "$WINE_NETWORK" "$prefix/dosdevices/unc"
  prefix=${prefix#"$root"}
fi

export WINEPREFIX=$prefix WINELOADER=$WINE_LOADER WINESERVER=$WINE_SERVER HOME=$prefix
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY WAYLAND_DISPLAY
if [ "$1" = --make-prefix ]; then
  wine() { env ${root:+-C /} ${root:+chroot "$root"} "$WINE_LOADER" "$@"; }
  wine wineboot -i
  # Nobody looks at windows or debugs.
  wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
  for name in TEMP TMP; do
    wine reg add 'HKCU\Environment' /v "$name" /d 'Y:\' /f
  done
  wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d none /f
  ${root:+chroot "$root"} "$WINE_SERVER" -w
else
  exec timeout --foreground --kill-after 5 "$WINE_SECONDS" ${root:+chroot "$root"} env -C "$PWD" "$WINE_LOADER" "$@"
fi
