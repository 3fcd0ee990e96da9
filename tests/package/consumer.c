/* consumer.c - a C program as a client would write it: raises an error below its own frames and
 * catches it. Built against an installed copy of the library. */
#include <stdio.h>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

static void fail_deep(_error_context* errors, int depth) {
    if (depth > 0)
        fail_deep(errors, depth - 1);
    else
        ut_fault(errors, "depth > 0", "consumer.c", 42);
}

static void body(_error_context* errors, void* data) {
    (void)data;
    fail_deep(errors, 5);
}

static int accept_fault(_error_context* errors, void* data, ut_message_code code,
                        va_list arguments) {
    ut_vsprintm(errors->messages, (char*)data, 128, code, arguments);
    return code == UT_ASSERTION_FAULT;
}

int main(void) {
    char text[128] = "";
    const ut_message_code code = ut_try_catch(utGetErrorContext(), text, body, accept_fault);
    utPrintf("%u %s\n", (unsigned)code, text);
    return code == UT_ASSERTION_FAULT ? 0 : 1;
}
