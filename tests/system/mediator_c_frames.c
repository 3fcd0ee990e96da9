#include "mediator_c_frames.h"

static void count_up(void* object) { ++*(int*)object; }

void c_frame_call(_error_context* context, ut_try_body body, void* data, int* cleaned) {
    ut_cleanup_item item;
    ut_link_cleanup(context, &item, (void*)&cleaned, count_up);
    body(context, data);
    ut_unlink_cleanup(context, item.next);
}
