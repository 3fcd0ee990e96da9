// loader.h - when the library's code enters and leaves a process.
//
// The platform calls the two functions, which start-up defines, from its loader's hook: the first
// before any code that links against the library can use it, the second after all of it is done.
// Both run on the thread that loads or unloads, with the loader's lock held.
#ifndef QXUT_SRC_PLATFORM_LOADER_H
#define QXUT_SRC_PLATFORM_LOADER_H

namespace qxut {

void library_loaded();
void library_unloading();

}  // namespace qxut

#endif
