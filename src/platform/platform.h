// platform.h - what the library needs from the operating system, in its own terms.
//
// The files of this folder are the only ones that include operating-system headers; a port adds
// its own implementation of these functions. Nothing here raises or uses a context.
#ifndef QXUT_SRC_PLATFORM_PLATFORM_H
#define QXUT_SRC_PLATFORM_PLATFORM_H

// Thread-local data that is reached without a call. The library's few bytes fit the space that
// the loader keeps for libraries loaded later.
#if defined(_WIN32)
#define QXUT_THREAD_LOCAL_FAST
#else
#define QXUT_THREAD_LOCAL_FAST __attribute__((tls_model("initial-exec")))
#endif

#endif
