/* mediator_c_frames.h - frames compiled as C, for exceptions and errors to pass. */
#ifndef QXUT_TESTS_SYSTEM_MEDIATOR_C_FRAMES_H
#define QXUT_TESTS_SYSTEM_MEDIATOR_C_FRAMES_H

#include <qxut/util/error.h>

QXUT_BEGIN_DECLS

/* Calls body(context, data) with a cleanup item linked that counts up *cleaned. */
void c_frame_call(_error_context* context, ut_try_body body, void* data, int* cleaned);

QXUT_END_DECLS

#endif
