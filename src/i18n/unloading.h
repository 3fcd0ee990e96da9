// unloading.h - what start-up tells this room; free of ICU's headers.
#ifndef QXUT_SRC_I18N_UNLOADING_H
#define QXUT_SRC_I18N_UNLOADING_H

namespace qxut {

// Closes what threads have kept; the library's code is about to go, or the process to end.
void close_thread_converters();

}  // namespace qxut

#endif
