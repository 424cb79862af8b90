#!/usr/bin/env bash
# install_packages.sh LIST...: installs the packages of the lists that this machine misses; does nothing when none is
# missing. The list "build" is debian-packages.txt, any other is debian-packages-LIST.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

missing=()
for list in "$@"; do
  file=debian-packages-$list.txt
  [ "$list" = build ] && file=debian-packages.txt
  [ -f "$file" ] || { echo "$0: there is no list of packages $file" >&2; exit 2; }
  while read -r package; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' && continue
    [[ " ${missing[*]-} " == *" $package "* ]] || missing+=("$package")
  done < <(grep -vE '^\s*(#|$)' "$file")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

command="apt-get install --no-install-recommends ${missing[*]}"
refuse() { echo "$1; what is missing for $lists comes with: $command" >&2; exit 1; }
lists=$*
command -v apt-get >/dev/null || refuse "this machine has no apt-get"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || refuse "only root can install packages"
  as_root=(sudo)
fi
echo "installing for $lists: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq || refuse "apt-get update failed"
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null || refuse "apt-get failed"
