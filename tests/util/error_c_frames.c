#include "error_c_frames.h"

#include <stdio.h>
#include <string.h>

typedef struct c_level {
    c_client* client;
    int number;
} c_level;

static void note(const c_level* level, const char* what) {
    char event[64];
    snprintf(event, sizeof event, "%s %d", what, level->number);
    level->client->note(event);
}

static void clean_one(void* object) { note((const c_level*)object, "clean"); }

static void clean_two(void* argument, void* object) {
    note((const c_level*)object, (const char*)argument);
}

static int handle(_error_context* errors, void* data, ut_message_code code, va_list arguments) {
    const c_level* level = (const c_level*)data;
    const char* expression = va_arg(arguments, const char*);
    const char* file = va_arg(arguments, const char*);
    const int line = va_arg(arguments, int);
    (void)errors;
    note(level, "ask");
    if (strcmp(expression, "x > 0") != 0 || strcmp(file, "c_frames.c") != 0 || line != 7)
        note(level, "wrong arguments at");
    return code == level->client->code && level->number == level->client->accepting_level;
}

/* A plain frame between try frames and raise. */
static void fail(_error_context* errors, const c_level* level) {
    if (level->client->code != 0) ut_error(errors, level->client->code, "x > 0", "c_frames.c", 7);
    note(level, "nothing raised at");
}

static void body(_error_context* errors, void* data) {
    static char second[] = "clean second of";
    c_level* level = (c_level*)data;
    c_level* object = NULL;
    ut_cleanup_item item;
    ut_cleanup_item_2 item_2;
    const ut_cleanup_link before = errors->cleanup;
    ut_link_cleanup(errors, &item, (void*)&object, clean_one);
    ut_link_cleanup_2(errors, &item_2, (void*)&object, second, clean_two);
    object = level; /* after the registration: the variable is read when the item runs */
    if (level->number + 1 < level->client->levels) {
        c_level inner;
        ut_message_code result;
        inner.client = level->client;
        inner.number = level->number + 1;
        result = ut_try_catch(errors, &inner, body, handle);
        note(level, result == 0 ? "inner returned to" : "inner caught below");
    } else {
        fail(errors, level);
    }
    ut_unlink_cleanup(errors, before);
}

ut_message_code c_client_run(_error_context* errors, c_client* client) {
    c_level outermost;
    outermost.client = client;
    outermost.number = 0;
    return ut_try_catch(errors, &outermost, body, handle);
}
