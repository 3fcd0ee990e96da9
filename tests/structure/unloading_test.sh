#!/bin/sh
# unloading_test.sh LIBRARY: nothing in the library runs at load time but start-up, and nothing
# keeps it from being unloaded: no global constructors, no exit handlers, no static or thread-local
# objects with a destructor, no unique symbols.
set -eu
found=$(nm "$1" | grep -E ' _GLOBAL__sub_I_|__cxa_(thread_)?atexit|__cxa_guard_acquire| u ' || true)
[ -z "$found" ] && exit
echo "$found"
exit 1
