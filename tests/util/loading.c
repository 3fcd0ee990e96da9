/* loading.c - a host that loads the library while it runs.
 *
 *     loading LIBRARY cycle     load, use on two threads, unload, several times; ask the loader
 *     loading LIBRARY exit      load, use, leave by returning from main
 *     loading LIBRARY fail K    load with the library's K-th allocation, and all later, failing;
 *                               status 0 when there was no K-th one
 *
 * It is not linked against the library, so nothing but dlopen holds it. Status 2 with a line on
 * standard error when something is not as it should be. */
#include <dlfcn.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <qxut/util/contexts.h>

#define REQUIRE(condition)                                                          \
    do {                                                                            \
        if (!(condition)) {                                                         \
            fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            _exit(2);                                                               \
        }                                                                           \
    } while (0)

/* --- a heap that watches the library ---------------------------------------------------------
 * The sanitizers bring their own, which looks for leaks; there nothing fails or is refused. */

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZER_HEAP
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZER_HEAP
#endif

static atomic_long live_blocks;   /* of the whole process */
static long failing_request = -1; /* of the library, counted from 0 */
static bool leaving = false;      /* nothing may be allocated any more */

#if !defined(SANITIZER_HEAP)

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

static bool is_library(const void* code) {
    Dl_info info;
    return dladdr(code, &info) != 0 && strstr(info.dli_fname, "libqxut") != NULL;
}

static bool grant(const void* caller) {
    static long requests = 0;
    if (leaving) {
        static const char text[] = "something was allocated at exit\n";
        if (write(STDERR_FILENO, text, sizeof text - 1) < 0) _exit(3);
        _exit(2);
    }
    if (failing_request < 0 || !is_library(caller)) return true;
#if defined(QXUT_COVERAGE)
    return requests++ != failing_request; /* the counts are written with the library's requests */
#else
    return requests++ < failing_request;
#endif
}

static void* given(void* block) {
    if (block != NULL) ++live_blocks;
    return block;
}

void* malloc(size_t size) {
    return grant(__builtin_return_address(0)) ? given(__libc_malloc(size)) : NULL;
}

void* calloc(size_t count, size_t size) {
    return grant(__builtin_return_address(0)) ? given(__libc_calloc(count, size)) : NULL;
}

void* realloc(void* block, size_t size) {
    if (!grant(__builtin_return_address(0))) return NULL;
    void* const moved = __libc_realloc(block, size);
    return block == NULL ? given(moved) : moved;
}

void free(void* block) {
    if (block != NULL) --live_blocks;
    __libc_free(block);
}

#endif

/* --- the library, by name --------------------------------------------------------------------- */

struct library {
    void* handle;
    __typeof__(&utGetBasicContexts) get;
    __typeof__(&ut_try_catch) try_catch;
    __typeof__(&ut_error) error;
    __typeof__(&ut_sprintm) sprintm;
    __typeof__(&ut_change_language) change_language;
    __typeof__(&ut_namehash_add) intern;
    __typeof__(&ut_strtod) strtod;
};

static struct library library;

static void find(void* function, const char* name) {
    void* address = dlsym(library.handle, name);
    REQUIRE(address != NULL);
    memcpy(function, &address, sizeof address);
}

static void load(const char* path) {
    library.handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library.handle == NULL) fprintf(stderr, "%s\n", dlerror());
    REQUIRE(library.handle != NULL);
    find(&library.get, "utGetBasicContexts");
    find(&library.try_catch, "ut_try_catch");
    find(&library.error, "ut_error");
    find(&library.sprintm, "ut_sprintm");
    find(&library.change_language, "ut_change_language");
    find(&library.intern, "ut_namehash_add");
    find(&library.strtod, "ut_strtod");
}

/* --- using it --------------------------------------------------------------------------------- */

static void raise_error(_error_context* errors, void* data) {
    (void)data;
    library.error(errors, UT_OUT_OF_MEMORY);
}

static int accept_error(_error_context* errors, void* data, ut_message_code code,
                        va_list arguments) {
    (void)errors, (void)data, (void)code, (void)arguments;
    return 1;
}

static void use(void) {
    utBasicContexts* record = library.get();
    REQUIRE(library.try_catch(&record->error_context, NULL, raise_error, accept_error) ==
            UT_OUT_OF_MEMORY);
    char text[100];
    int32_t status = 0;
    library.change_language(&status, &record->message_context, "ja");
    REQUIRE(status == 0);
    library.sprintm(&record->message_context, text, sizeof text, UT_OUT_OF_MEMORY);
    REQUIRE(strcmp(text, "エラー: メモリが不足しています。") == 0);
    REQUIRE(strcmp(library.intern(&record->namehash_context, "name"), "name") == 0);
    /* Enough digits for the big integers that are kept for later. */
    char digits[2000];
    memset(digits, '7', sizeof digits - 1);
    digits[sizeof digits - 1] = '\0';
    digits[1] = '.';
    REQUIRE(library.strtod(&record->fpc_context, digits, NULL) == 70.0 / 9.0);
}

/* A thread that used the library and ends after the library is gone. */
static pthread_barrier_t used, unloaded;

static void* use_and_outlive(void* data) {
    (void)data;
    use();
    pthread_barrier_wait(&used);
    pthread_barrier_wait(&unloaded);
    return NULL;
}

static void cycle(const char* path) {
    /* The loader keeps a few blocks, now more, now fewer. */
    enum { WARM_UP = 4, CYCLES = 20 };
    long most = 0;
    for (int i = 0; i < WARM_UP + CYCLES; ++i) {
        pthread_t thread;
        load(path);
        pthread_barrier_init(&used, NULL, 2);
        pthread_barrier_init(&unloaded, NULL, 2);
        REQUIRE(pthread_create(&thread, NULL, use_and_outlive, NULL) == 0);
        pthread_barrier_wait(&used);
        use();
        REQUIRE(dlclose(library.handle) == 0);
        REQUIRE(dlopen(path, RTLD_NOW | RTLD_NOLOAD) == NULL);
        pthread_barrier_wait(&unloaded);
        REQUIRE(pthread_join(thread, NULL) == 0);
        if (i < WARM_UP && live_blocks > most) most = live_blocks;
        REQUIRE(live_blocks <= most);
    }
}

int main(int argc, char** argv) {
    REQUIRE(argc >= 3);
    const char* mode = argv[2];
    if (strcmp(mode, "cycle") == 0) {
        cycle(argv[1]);
    } else if (strcmp(mode, "exit") == 0) {
        load(argv[1]);
        use();
        leaving = true;
    } else {
        REQUIRE(strcmp(mode, "fail") == 0 && argc == 4);
        failing_request = atol(argv[3]);
        load(argv[1]);
        failing_request = -1;
    }
    return 0;
}
