#!/bin/sh
# headers_test.sh SOURCE CC CXX: every public .h compiles alone as C11 and as C++20, every .hpp as
# C++20, each included twice.
set -eu
include=$1/include cc=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
warnings="-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only -I$include"
cd "$include"
count=0
for header in $(find qxut -name '*.h' -o -name '*.hpp' | LC_ALL=C sort); do
  printf '#include <%s>\n#include <%s>\n' "$header" "$header" > "$work/alone.c"
  # An empty C translation unit is not allowed.
  echo 'typedef int not_empty;' >> "$work/alone.c"
  # shellcheck disable=SC2086  # flags are words
  case $header in *.h) "$cc" -std=c11 $warnings "$work/alone.c" ;; esac
  # shellcheck disable=SC2086
  "$cxx" -std=c++20 -x c++ $warnings "$work/alone.c"
  count=$((count + 1))
done
echo "$count headers compile alone"
test "$count" -gt 0
