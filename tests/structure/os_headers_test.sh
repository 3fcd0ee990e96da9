#!/bin/sh
# os_headers_test.sh SOURCE: outside src/platform/, the library's files include nothing but the
# standard headers of C and C++, each other, and the few others below, none of which is an
# operating system's.
set -eu
cd "$1"
c='assert ctype errno fenv float inttypes limits locale math setjmp signal stdarg stdbool stddef stdint
stdio stdlib string time uchar wchar wctype'
cpp='algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp
csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception
execution filesystem forward_list fstream functional future initializer_list iomanip ios iosfwd
iostream istream iterator latch limits list locale map memory memory_resource mutex new numbers
numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex
source_location span sstream stack stdexcept stop_token streambuf string string_view syncstream
system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
variant vector version'
# Compilers' own instruction headers, ICU, Boost and Highway bring no operating system with them.
other='immintrin.h|emmintrin.h|nmmintrin.h|wmmintrin.h|cpuid.h|arm_acle.h|arm_neon.h|unicode/.*|boost/.*|hwy/.*'
own='qxut/.*'
standard=$(printf '%s\n' $cpp; printf '%s.h\n' $c)
allowed="^($own|$other|$(echo $standard | tr ' ' '|' | sed 's/\./\\./g'))\$"

status=0
for file in $(find include src -path src/platform -prune -o -type f -print | LC_ALL=C sort); do
  for header in $(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*<\([^>]*\)>.*/\1/p' "$file"); do
    echo "$header" | grep -Eq "$allowed" && continue
    echo "$file includes <$header>: only src/platform/ may"
    status=1
  done
  for header in $(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$file"); do
    test -f "src/$header" && continue
    echo "$file includes \"$header\", which is no file of src/"
    status=1
  done
done
exit $status
