// unloading.h - what start-up tells this room.
#ifndef QXUT_SRC_REGEXP_UNLOADING_H
#define QXUT_SRC_REGEXP_UNLOADING_H

namespace qxut::regexp {

// Frees the scratches that threads have kept; the library's code is about to go, or the process to
// end.
void close_thread_scratches();

}  // namespace qxut::regexp

#endif
