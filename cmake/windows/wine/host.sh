#!/usr/bin/env bash
# host.sh PROGRAM.exe ARGUMENT...: corrivane-host for Windows as a command that takes what the one of this machine
# takes: folders for drives and for the network become those of Wine, since a program on Windows cannot choose them. The
# folder for drive C gets an empty folder "windows", in whose place the program sees Windows' own.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
host=$1
shift
drives=()
arguments=()
c=$PWD/drive_c

take_drive() {
  case $1 in
    [Cc]=?*) c=$(realpath -m "${1#*=}") ;;
    [A-Za-z]=?*) drives+=("${1%%=*}=$(realpath -m "${1#*=}")") ;;
    *) arguments+=(--drive "$1") ;;  # the host refuses it
  esac
}

while [ $# -gt 0 ]; do
  case $1 in
    --drive) take_drive "${2-}"; shift ;;
    --drive=*) take_drive "${1#*=}" ;;
    --network) export WINE_NETWORK; WINE_NETWORK=$(realpath -m "${2-}"); shift ;;
    --network=*) export WINE_NETWORK; WINE_NETWORK=$(realpath -m "${1#*=}") ;;
    --*=*) arguments+=("$1") ;;
    -V | --version | -h | --help) arguments+=("$1") ;;
    --*) arguments+=("$1" "${@:2:1}"); [ $# -gt 1 ] && shift ;;
    *) arguments+=("$1") ;;
  esac
  shift
done
[ -d "$c" ] && drives+=("C=$c")
export WINE_DRIVES
WINE_DRIVES=$(printf '%s\n' "${drives[@]}")
exec "$here/run.sh" "$host" "${arguments[@]}"
