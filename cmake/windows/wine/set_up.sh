#!/usr/bin/env bash
# set_up.sh i686|x86_64: makes what run.sh needs for a target, once: a prefix of Wine, and for 32 bits a small i386
# Debian in a folder of its own, since its packages beside the 64-bit ones would take some of those away.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source "$here/cache.sh"
target=$1
use_target "$target"
[ -f "$prefix/.complete" ] && exit 0

refuse() { echo "Wine cannot be set up for $target: $1" >&2; exit 1; }
unshare --mount --pid --fork true 2>/dev/null || refuse "this takes root and a kernel that lets it make namespaces"
mkdir -p "$cache"
exec 9>"$cache/lock"
flock 9
[ -f "$prefix/.complete" ] && exit 0

make_i386_system() {
  [ -f "$root/.complete" ] && return
  echo "making an i386 Debian with Wine in $root"
  local mirror release log=$cache/i386.log
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  # From where this machine has its own packages.
  mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Created-By: Packages' |
    awk -v release="$release" '$2 == release {print $1; exit}')
  [ -n "$mirror" ] || refuse "apt knows no mirror of $release"
  rm -rf --one-file-system "$root"
  debootstrap --arch=i386 --variant=minbase "$release" "$root" "$mirror" >"$log" 2>&1 ||
    { tail -n 20 "$log"; refuse "debootstrap failed"; }
  cp /etc/resolv.conf "$root/etc/resolv.conf"
  unshare --mount bash -c 'mount -t proc proc "$1/proc" && DEBIAN_FRONTEND=noninteractive \
    chroot "$1" apt-get install -y --no-install-recommends wine32' bash "$root" >>"$log" 2>&1 ||
    { tail -n 20 "$log"; refuse "apt-get failed"; }
  rm -rf "$root"/var/cache/apt/archives/*.deb "$root"/var/lib/apt/lists/*
  touch "$root/.complete"
}

[ -z "$root" ] || make_i386_system
echo "making a prefix of Wine in $prefix"
rm -rf --one-file-system "$prefix"
mkdir -p "$prefix"
"$here/run.sh" --make-prefix "$target" >"$prefix.log" 2>&1 ||
  { tail -n 20 "$prefix.log"; refuse "wineboot failed"; }
touch "$prefix/.complete"
