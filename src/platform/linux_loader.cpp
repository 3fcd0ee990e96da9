// linux_loader.cpp - the loader's hook for shared objects: constructor and destructor attributes.
//
// The loader runs a library's constructors before those of everything that depends on it, and its
// destructors after theirs; the priority puts ours first and last within the library, and first
// in a program that links the library statically. Up to 100 the numbers belong to the compiler.
// An exit handler would not do: those of a host that were registered earlier would run after it.
#include "platform/loader.h"

namespace {

constexpr int kFirst = 101;

__attribute__((constructor(kFirst))) void on_load() { qxut::library_loaded(); }
__attribute__((destructor(kFirst))) void on_unload() { qxut::library_unloading(); }

}  // namespace
