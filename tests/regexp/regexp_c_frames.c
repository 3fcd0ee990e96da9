#include "regexp_c_frames.h"

#include <string.h>

#include <qxut/util/contexts.h>

static void run(_error_context* context, void* data) {
    c_search* search = (c_search*)data;
    size_t (*find)(const char*, size_t, const char*, utRegexpExtent*, size_t) =
        search->ignores_case ? utRegexpi : utRegexp;
    (void)context;
    search->count = find(search->text, search->length, search->pattern, search->extents,
                         sizeof search->extents / sizeof *search->extents);
}

static int accept(_error_context* context, void* data, const char* identifier, ut_message_code code,
                  va_list arguments) {
    c_search* search = (c_search*)data;
    ut_vsprintm(context->messages, search->message, sizeof search->message, code, arguments);
    strncpy(search->identifier, identifier, sizeof search->identifier - 1);
    return 1;
}

ut_message_code c_search_run(c_search* search) {
    return ut_try_catch_id(utGetErrorContext(), search, run, accept);
}

size_t c_search_u16(utRegexpExtent* extent) {
    return utRegexpi_u16(u"xABx", 4, u"a(b)", 4, extent, 1);
}
