/* error_c_frames.h - a client in C: body, handlers and cleanup functions, compiled as C. */
#ifndef QXUT_TESTS_UTIL_ERROR_C_FRAMES_H
#define QXUT_TESTS_UTIL_ERROR_C_FRAMES_H

#include <qxut/util/error.h>

QXUT_BEGIN_DECLS

/* What a client does with each level of its nested try frames. */
typedef struct c_client {
    void (*note)(const char* event); /* told about everything that happens, in order */
    ut_message_code code;            /* raised below the innermost frame; 0: nothing */
    int accepting_level;             /* the frame that accepts, counted from 0, the outermost */
    int levels;
} c_client;

/* Opens `levels` nested frames. Each registers an item of either form under the names "level N"
 * and "level N, second"; the innermost raises. Every frame checks its own answer. Returns what
 * the outermost ut_try_catch returned. */
ut_message_code c_client_run(_error_context* errors, c_client* client);

QXUT_END_DECLS

#endif
