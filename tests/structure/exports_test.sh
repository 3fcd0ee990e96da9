#!/bin/sh
# exports_test.sh LIBRARY LIST: the names that the shared object exports are exactly those of the
# list, one demangled name a line, and whatever the headers declare with QXUT_API is among them.
# After a deliberate change: exports_test.sh LIBRARY LIST --update
set -eu
library=$1 list=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The sanitizers' own names do not count.
nm -D --defined-only -C "$library" | sed 's/^[0-9a-f]* . //' |
  grep -vE '^(__asan|__ubsan|__sancov|__odr_asan|__gcov|__llvm|__profile)' | LC_ALL=C sort -u > "$work/actual"
if [ "${3-}" = --update ]; then
  cp "$work/actual" "$list"
  exit 0
fi
diff -u "$list" "$work/actual"

# The word in front of a declaration's first parenthesis, brace or semicolon; of a class its name.
find "$(dirname "$0")/../../include" -name '*.h*' ! -name export.h -exec sed 's|//.*||' {} + | tr '\n' ' ' |
  sed -E 's|/\*([^*]\|\*+[^*/])*\*+/||g' | grep -oE 'QXUT_API [^;{(]*[;{(]' |
  sed -E 's/ *[;{(]$//; s/ (final|: ).*//; s/.*[ *&]//' | sort -u > "$work/declared"
missing=0
while read -r name; do
  grep -qwF -e "$name" "$work/actual" || { echo "$name is declared and not defined"; missing=1; }
done < "$work/declared"
exit $missing
