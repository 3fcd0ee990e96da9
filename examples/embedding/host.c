/* host.c - a host in miniature; docs/embedding.md walks through it.
 *
 * Reads commands, one a line, from standard input: `set NAME NUMBER`, `show NAME`, `language NAME`,
 * `off IDENTIFIER`. A command that fails prints its message and the host goes on.
 */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

/* --- the allocator ---------------------------------------------------------------------------- */

enum { MEMORY_LIMIT = 1 << 20 };

static size_t live_bytes;

typedef union {
    size_t size;
    max_align_t alignment;
} block_header;

static void* host_realloc(void* block, size_t size) {
    block_header* header = block == NULL ? NULL : (block_header*)block - 1;
    const size_t old_size = block == NULL ? 0 : header->size;
    if (size > MEMORY_LIMIT - (live_bytes - old_size)) return NULL;
    header = realloc(header, sizeof *header + size);
    if (header == NULL) return NULL;
    header->size = size;
    live_bytes = live_bytes - old_size + size;
    return header + 1;
}

static void* host_alloc(size_t size) { return host_realloc(NULL, size); }

static void host_free(void* block) {
    if (block == NULL) return;
    block_header* header = (block_header*)block - 1;
    live_bytes -= header->size;
    free(header);
}

/* --- the console ------------------------------------------------------------------------------ */

static int console_puts(const char* text, void* file) { return fputs(text, file); }

static int console_write(void* unused, const char* text, int32_t length) {
    (void)unused;
    return utPutsn(text, length);
}

/* --- the messages ----------------------------------------------------------------------------- */

enum {
    HOST_MODULE = 200,
    HOST_UNKNOWN_COMMAND = HOST_MODULE * 65536 + 1,
    HOST_UNKNOWN_NAME,
    HOST_NOT_A_NUMBER,
    HOST_UNKNOWN_LANGUAGE,
    HOST_SET_AGAIN,
    HOST_WARNING_HINT
};

static const ut_message_code codes[] = {HOST_UNKNOWN_COMMAND,  HOST_UNKNOWN_NAME, HOST_NOT_A_NUMBER,
                                        HOST_UNKNOWN_LANGUAGE, HOST_SET_AGAIN,    HOST_WARNING_HINT,
                                        UT_MESSAGE_CODES_END};
static const char* const mnemonics[] = {"HOST_UNKNOWN_COMMAND", "HOST_UNKNOWN_NAME",
                                        "HOST_NOT_A_NUMBER",    "HOST_UNKNOWN_LANGUAGE",
                                        "HOST_SET_AGAIN",       "HOST_WARNING_HINT"};
static const char* const english[] = {
    "Unknown command \"%s\".",
    "\"%s\" has no value.",
    "The value of %s is \"%s\", which is not a number.",
    "There are no messages in \"%s\".",
    "%s had a value already.",
    "Type \"off %s\" to silence this warning.",
};
static const char* const japanese[] = {
    "コマンド \"%1\" は不明です。",
    "\"%1\" には値がありません。",
    "\"%2\" は数ではないため、%1 の値にできません。",
    "\"%1\" のメッセージはありません。",
    "%1 には既に値があります。",
    "この警告を止めるには \"off %1\" と入力してください。",
};

static const ut_message_table host_messages = {6, HOST_MODULE, codes, mnemonics, english, "host"};
static const ut_translated_table host_japanese_table = {HOST_MODULE, 6, japanese};
static const ut_language_tables host_japanese = {1, &host_japanese_table};

/* --- the host --------------------------------------------------------------------------------- */

typedef struct variable {
    struct variable* next;
    const char* name; /* canonical: equal names are equal pointers */
    double value;
} variable;

typedef struct host {
    utBasicContexts contexts;
    variable* variables;
    const char* line; /* the command that is run */
} host;

static variable* find_variable(host* self, const char* name) {
    variable* found = self->variables;
    while (found != NULL && found->name != name) found = found->next;
    return found;
}

static double parse_number(host* self, const char* name, const char* text) {
    char* end;
    const double value = ut_strtod(&self->contexts.fpc_context, text, &end);
    if (end == text || *end != '\0') {
        ut_error(&self->contexts.error_context, HOST_NOT_A_NUMBER, name, text);
    }
    return value;
}

/* --- the commands ----------------------------------------------------------------------------- */

static void free_variable(void* memory, void* object) { ut_mem_free(memory, object); }

static void set_variable(host* self, const char* name, const char* text) {
    _error_context* errors = &self->contexts.error_context;
    _memory_context* memory = &self->contexts.memory_context;

    variable* found = find_variable(self, name);
    if (found != NULL) {
        const double value = parse_number(self, name, text);
        ut_warning(&self->contexts.warning_context, HOST_SET_AGAIN, name);
        found->value = value;
        return;
    }

    variable* fresh = ut_mem_alloc(memory, sizeof *fresh);
    ut_cleanup_item_2 item;
    ut_link_cleanup_2(errors, &item, &fresh, memory, free_variable);
    fresh->name = name;
    fresh->value = parse_number(self, name, text);
    fresh->next = self->variables;
    ut_unlink_cleanup(errors, item.next);
    self->variables = fresh;
}

static void show_variable(host* self, const char* name) {
    const variable* found = find_variable(self, name);
    if (found == NULL) ut_error(&self->contexts.error_context, HOST_UNKNOWN_NAME, name);
    char text[26];
    utPrintf("%s = %s\n", name,
             ut_g_fmt(&self->contexts.fpc_context, text, sizeof text, found->value));
}

static void change_language(host* self, const char* name) {
    int32_t status;
    ut_change_language(&status, &self->contexts.message_context, name);
    if (status != 0) ut_error(&self->contexts.error_context, HOST_UNKNOWN_LANGUAGE, name);
}

/* --- one try frame per command ---------------------------------------------------------------- */

static void run_command(_error_context* errors, void* data) {
    host* self = data;
    char command[16] = "", name[64] = "", text[64] = "";
    sscanf(self->line, "%15s %63s %63s", command, name, text);
    const char* canonical = ut_namehash_add(&self->contexts.namehash_context, name);
    if (strcmp(command, "set") == 0) {
        set_variable(self, canonical, text);
    } else if (strcmp(command, "show") == 0) {
        show_variable(self, canonical);
    } else if (strcmp(command, "language") == 0) {
        change_language(self, canonical);
    } else if (strcmp(command, "off") == 0) {
        ut_set_warning_state(&self->contexts.warning_context, canonical, UT_WARNING_OFF);
    } else {
        ut_error(errors, HOST_UNKNOWN_COMMAND, command);
    }
}

static int report_error(_error_context* errors, void* data, ut_message_code code,
                        va_list arguments) {
    (void)data;
    char identifier[UT_MESSAGE_IDENTIFIER_SIZE];
    ut_make_message_identifier(identifier, errors->messages, code);
    ut_vprintm(errors->messages, console_write, NULL, code, arguments);
    utPrintf(" [%s]\n", identifier);
    return 1;
}

/* --- start and end ---------------------------------------------------------------------------- */

static void end_host(void* data, const char* identifier, int32_t code, const char* text) {
    (void)data, (void)text; /* the text went to the error channel */
    fprintf(stderr, "Uncaught error %d, %s\n", (int)code, identifier);
    exit(EXIT_FAILURE);
}

static void start(host* self) {
    utBasicContexts* contexts = &self->contexts;
    self->variables = NULL;
    if (utInitializeBasicContexts_full(contexts, end_host, NULL, host_alloc, host_realloc,
                                       host_free, ut_fputsn, stderr, console_write, NULL) != 0) {
        fprintf(stderr, "%s\n", contexts->error_text);
        exit(EXIT_FAILURE);
    }
    utSetVprintfCallbacks(console_puts, stdout, NULL, &contexts->error_context);

    int32_t status;
    ut_add_builtin_japanese(&status, &contexts->message_context, host_realloc);
    if (status != 0) ut_error(&contexts->error_context, UT_OUT_OF_MEMORY);
    ut_mem_add_primary_message_table(&contexts->memory_context, &host_messages);
    ut_mem_add_language(&contexts->memory_context, "ja", &host_japanese);
    ut_set_warning_hint(&contexts->warning_context, HOST_WARNING_HINT);
}

static void finish(host* self) {
    utSetVprintfCallbacks(NULL, NULL, NULL, NULL);
    while (self->variables != NULL) {
        variable* next = self->variables->next;
        ut_mem_free(&self->contexts.memory_context, self->variables);
        self->variables = next;
    }
    utClearBasicContexts(&self->contexts);
}

int main(void) {
    static host self;
    start(&self);
    utBasicContexts* before = utInstallBasicContexts(&self.contexts);

    char line[200];
    int failures = 0;
    while (fgets(line, sizeof line, stdin) != NULL) {
        self.line = line;
        failures +=
            ut_try_catch(&self.contexts.error_context, &self, run_command, report_error) != 0;
    }

    utInstallBasicContexts(before);
    finish(&self);
    if (live_bytes != 0) fprintf(stderr, "%zu bytes leaked\n", live_bytes);
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
