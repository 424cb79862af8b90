#!/usr/bin/env bash
# check_dialect.sh GENERATED_HEADERS: fails where the product needs more than standard C++ and what Microsoft's compiler
# knows, as clang's modes for that judge it over this machine's headers.
set -euo pipefail
cd "$(dirname "$0")/../.."
status=0
while read -r source; do
  clang++ -fsyntax-only -std=c++20 -fms-extensions -Wall -Wextra -Wpedantic -Wgnu -Wvla \
    -Wunknown-attributes -Werror -Wno-gnu-include-next '-Wno-#warnings' \
    -Iplatform -Iplatform/win32 -Iplugin -I"$1" "$source" || status=1
done < <(find plugin -name '*.cpp' | sort)
# Attributes that only some compilers know are warned of by none that know them.
if grep -rnE '__attribute__|\[\[(gnu|clang)::|__builtin_|__asm|asm *\(|^ *# *if' plugin --include='*.h' --include='*.cpp' |
  grep -vE '#if(n?def)? .*_H'; then
  status=1
fi
[ "$status" -eq 0 ] && echo "The product is standard C++."
exit "$status"
