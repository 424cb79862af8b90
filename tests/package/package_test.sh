#!/usr/bin/env bash
# Makes the Debian package, installs it below a folder of its own, renders the example job from there as an ordinary user,
# and removes it again.
# usage: package_test.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
chmod 755 "$folder"
root=$folder/root

fail() {
  echo "FAILED: $*"
  exit 1
}

# as_user COMMAND...: nobody else's rights are needed, where there are any.
as_user() {
  if [ "$(id -u)" = 0 ]; then setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; else "$@"; fi
}

# dpkg of the folder; what the package depends on is the machine's own, and no root is needed for a folder of one's own.
in_root() { dpkg --root="$root" --force-depends,not-root,bad-path --log=/dev/null "$@"; }

(cd "$build" && cpack -G DEB -B "$folder" >"$folder/log" 2>&1) || { cat "$folder/log"; fail "cpack"; }
package=$(echo "$folder"/corrivane_*.deb)
dpkg-deb --field "$package" Depends | grep -q 'libopenimageio' || fail "it depends on no image library"

mkdir -p "$root"/var/lib/dpkg/{updates,info,triggers}
touch "$root"/var/lib/dpkg/{status,available}
in_root --install "$package" >"$folder/log" 2>&1 || { cat "$folder/log"; fail "installing"; }

usr=$root/usr
for program in corrivane-host corrivane-worker; do
  "$usr/bin/$program" --version | grep -q "^$program [0-9]" || fail "$program does not tell its version"
  grep -q '^\.SH EXAMPLES' "$usr/share/man/man1/$program.1" || fail "$program has no manual"
  bash -n "$usr/share/bash-completion/completions/$program" || fail "$program's completion"
  grep -q "^#compdef $program" "$usr/share/zsh/vendor-completions/_$program" || fail "$program's completion for zsh"
done

# What bash offers behind "run --ou" and as a command.
offers=$(bash -c 'source "$1"; COMP_WORDS=(corrivane-worker run --ou); COMP_CWORD=2; _corrivane_worker
  echo "${COMPREPLY[@]}"; COMP_WORDS=(corrivane-worker ""); COMP_CWORD=1; _corrivane_worker; echo "${COMPREPLY[@]}"' \
  bash "$usr/share/bash-completion/completions/corrivane-worker")
grep -qx -- '--output --output-folder' <<<"$offers" || fail "completion offers $offers"
grep -q 'render run script info doctor' <<<"$offers" || fail "completion offers $offers"

mkdir "$folder/home"
chmod 777 "$folder/home"
cd "$folder/home"
as_user "$usr/bin/corrivane-worker" run "$usr/share/corrivane/examples/carousel.json" --drive C=. --frames 0-1 \
  >"$folder/log" 2>&1 || { cat "$folder/log"; fail "the example job"; }
[ "$(ls out)" = "$(printf 'carousel.0000.png\ncarousel.0001.png')" ] || fail "it wrote $(ls out)"

in_root --purge corrivane >"$folder/log" 2>&1 || { cat "$folder/log"; fail "removing"; }
left=$(find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print)
[ -z "$left" ] || fail "left behind: $left"
