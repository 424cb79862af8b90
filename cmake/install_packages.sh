#!/usr/bin/env bash
# Installs the packages of debian-packages.txt that this machine misses; does nothing when none is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

missing=()
while read -r package; do
  dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done < <(grep -vE '^\s*(#|$)' debian-packages.txt)
[ "${#missing[@]}" -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "as root, install: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
