#!/bin/sh
# install_test.sh BUILD SOURCE CC CXX [FLAGS]: installs the build into a temporary prefix and builds
# and runs a C and a C++ client against it, once through the CMake package, once through pkg-config.
set -eu
build=$1 source=$2 cc=$3 cxx=$4 flags=${5-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" > "$work/install.log"
library=$(find "$prefix" -name libqxut.so.1)
test -n "$library"

cmake -S "$source/tests/package" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
      -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" > "$work/configure.log"
cmake --build "$work/cmake" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/cmake/consumer_c"
"$work/cmake/consumer_cpp"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name qxut.pc)")
LD_LIBRARY_PATH=$(dirname "$library")
export PKG_CONFIG_PATH LD_LIBRARY_PATH
case " $(pkg-config --cflags qxut) " in *" -fexceptions "*) ;; *) echo "no -fexceptions"; exit 1 ;; esac
# shellcheck disable=SC2046,SC2086  # flags are words
"$cc" -std=c11 $flags "$source/tests/package/consumer.c" $(pkg-config --cflags --libs qxut) -o "$work/c"
# shellcheck disable=SC2046,SC2086
"$cxx" -std=c++20 $flags "$source/tests/package/consumer.cpp" $(pkg-config --cflags --libs qxut) -o "$work/cpp"
"$work/c"
"$work/cpp"
