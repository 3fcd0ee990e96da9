// thread_converters.cpp - the converters that each thread keeps, found by name through a table.
//
// A thread's slot is thread-local data without a destructor; it holds the thread's cache and a
// count of the uses of its converters. The slots of all threads with a cache are linked, so that
// unloading can free the caches of threads that outlive the library. A thread that ends frees its
// own through a platform key; what is still in use then is let go and closed by its last use.
//
// Unloading cannot tell whether the library goes or the process ends, and in the latter case other
// threads may be converting. A thread counts a use first and then looks whether the caches are
// being closed; closing sets its mark first, has the memory operations of all threads put in order,
// and then frees the caches without uses. So one of the two sees the other, and a thread pays no
// fence for it. Afterwards, and after a thread's cache was freed at its end, each converter is
// opened for one caller alone.
//
// The child of a fork knows the slots of threads that it does not have; they are told by the
// process and dropped. Tested by tests/i18n/thread_converters_test.cpp and
// tests/i18n/converter_unloading.c.
#include "i18n/thread_converters.h"

#include <qxut/util/heap.h>

#include <atomic>
#include <cstring>
#include <mutex>

#include "i18n/unloading.h"
#include "platform/platform.h"
#include "platform/thread_key.h"
#include "util/code_page.h"

namespace qxut {
namespace {

constexpr const char* kUtf8 = "UTF-8";
constexpr uint32_t kBuckets = 64;
// Converters without a use that a thread keeps.
constexpr uint32_t kMostKept = 32;
constexpr size_t kLongestCodePage = 60;

struct Pushed {
    Pushed* below;
    Converter* converter;
};

struct Cache {
    Converter* bucket[kBuckets];
    Converter* latest;  // found by name; most look-ups are for the same name again
    uint32_t count;
    uint64_t lookups;
    Pushed* pushed;
    char unknown_code_page[kLongestCodePage];  // which ICU does not know; UTF-8 takes its place
};

struct ThreadSlot {
    std::atomic<uint32_t> uses;  // of counted converters, by their thread alone
    bool has_ended;              // the cache was freed at the thread's end
    Cache* cache;
    ThreadSlot* previous;
    ThreadSlot* next;
    int64_t process;  // where the slot was linked
};

constinit thread_local ThreadSlot slot QXUT_THREAD_LOCAL_FAST{};

// The slots that have a cache. The lock is held for linking, unlinking and closing only.
constinit std::mutex slots_lock;
constinit ThreadSlot* slots = nullptr;
constinit int64_t slots_process = 0;
constinit bool has_key = false;
constinit platform::ThreadKey key = 0;
constinit std::atomic<bool> is_closing = false;

void count_use(int change) {
    slot.uses.store(slot.uses.load(std::memory_order_relaxed) + static_cast<uint32_t>(change),
                    std::memory_order_release);
}

void drop_use(Converter* converter) {
    if (--converter->uses == 0 && !converter->is_kept) close_converter(converter);
}

void free_cache(Cache* cache) {
    while (Pushed* const top = cache->pushed) {
        cache->pushed = top->below;
        drop_use(top->converter);
        utFree(top);
    }
    for (Converter* first : cache->bucket) {
        while (first != nullptr) {
            Converter* const converter = first;
            first = converter->next;
            converter->is_kept = false;
            if (converter->uses == 0) close_converter(converter);
        }
    }
    utFree(cache);
}

// With the lock held.
void drop_slots_of_another_process() {
    const int64_t process = platform::process_id();
    if (slots_process != process) slots = nullptr;
    slots_process = process;
}

void unlink(ThreadSlot& thread) {
    drop_slots_of_another_process();
    if (thread.process != slots_process) return;
    (thread.previous == nullptr ? slots : thread.previous->next) = thread.next;
    if (thread.next != nullptr) thread.next->previous = thread.previous;
}

void end_thread(void* value) {
    auto& thread = *static_cast<ThreadSlot*>(value);
    Cache* cache = nullptr;
    {
        const std::lock_guard<std::mutex> hold(slots_lock);
        thread.has_ended = true;
        cache = thread.cache;
        if (cache == nullptr) return;
        thread.cache = nullptr;
        unlink(thread);
    }
    free_cache(cache);
}

// Gives the thread a cache; null when memory or keys are short.
Cache* make_cache() {
    auto* const cache = static_cast<Cache*>(utCalloc(1, sizeof(Cache)));
    if (cache == nullptr) return nullptr;
    const std::lock_guard<std::mutex> hold(slots_lock);
    has_key = has_key || platform::create_thread_key(key, end_thread);
    if (!has_key || !platform::set_thread_value(key, &slot)) {
        utFree(cache);
        return nullptr;
    }
    drop_slots_of_another_process();
    slot.process = slots_process;
    slot.previous = nullptr;
    slot.next = slots;
    if (slots != nullptr) slots->previous = &slot;
    slots = &slot;
    slot.cache = cache;
    return cache;
}

// Names are short: their first and last bytes tell most of them apart.
uint32_t hash_name(const char* name, size_t length) {
    uint64_t first = 0;
    uint64_t last = 0;
    if (length >= 8) {
        std::memcpy(&first, name, 8);
        std::memcpy(&last, name + length - 8, 8);
    } else if (length >= 4) {
        std::memcpy(&first, name, 4);
        std::memcpy(&last, name + length - 4, 4);
    } else if (length != 0) {
        first = static_cast<unsigned char>(name[0]);
        last = static_cast<unsigned char>(name[length - 1]);
    }
    const uint64_t mixed = (first ^ (last << 29 | last >> 35) ^ length) * 0x9E3779B97F4A7C15u;
    return static_cast<uint32_t>(mixed >> 32);
}

Converter** bucket_of(Cache& cache, uint32_t hash) { return &cache.bucket[hash % kBuckets]; }

// Closes the converter that was used longest ago among those that nobody uses.
void make_room(Cache& cache) {
    Converter** oldest = nullptr;
    for (Converter*& first : cache.bucket) {
        for (Converter** place = &first; *place != nullptr; place = &(*place)->next) {
            if ((*place)->uses != 0) continue;
            if (oldest == nullptr || (*place)->last_used < (*oldest)->last_used) oldest = place;
        }
    }
    if (oldest == nullptr) return;
    Converter* const closed = *oldest;
    *oldest = closed->next;
    --cache.count;
    if (cache.latest == closed) cache.latest = nullptr;
    close_converter(closed);
}

Converter* open_kept(Cache& cache, const char* name, uint32_t hash, OpenFailure& failure) {
    Converter* const made = open_converter(name, failure);
    if (made == nullptr) return nullptr;
    if (cache.count >= kMostKept) make_room(cache);
    made->hash = hash;
    made->is_kept = true;
    made->is_counted = true;
    Converter** const bucket = bucket_of(cache, hash);
    made->next = *bucket;
    *bucket = made;
    ++cache.count;
    return made;
}

Converter* find(Cache& cache, const char* name, OpenFailure& failure) {
    const size_t length = std::strlen(name);
    const uint32_t hash = hash_name(name, length);
    Converter* found = *bucket_of(cache, hash);
    while (found != nullptr && (found->hash != hash || found->name_length != length ||
                                std::memcmp(found->name, name, length) != 0)) {
        found = found->next;
    }
    if (found == nullptr) [[unlikely]] {
        found = open_kept(cache, name, hash, failure);
        if (found == nullptr) return nullptr;
    }
    found->last_used = ++cache.lookups;
    cache.latest = found;
    return found;
}

const char* process_code_page() {
    return code_page_is_default() ? kUtf8 : platform::code_page_name();
}

Converter* find_default(Cache& cache, OpenFailure& failure) {
    if (cache.pushed != nullptr) return cache.pushed->converter;
    const char* const name = process_code_page();
    if (std::strcmp(name, cache.unknown_code_page) == 0) return find(cache, kUtf8, failure);
    Converter* const found = find(cache, name, failure);
    if (found != nullptr || failure != OpenFailure::unknown_name) return found;
    failure = OpenFailure::none;
    const size_t size = std::strlen(name) + 1;
    if (size <= kLongestCodePage) std::memcpy(cache.unknown_code_page, name, size);
    return find(cache, kUtf8, failure);
}

Converter* open_alone(const char* name, OpenFailure& failure) {
    Converter* made = open_converter(name != nullptr ? name : process_code_page(), failure);
    if (made == nullptr && name == nullptr && failure == OpenFailure::unknown_name) {
        made = open_converter(kUtf8, failure);
    }
    if (made != nullptr) made->uses = 1;
    return made;
}

// False when converters are no longer kept. Asked after a use was counted.
bool keeps_converters() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return !slot.has_ended && !is_closing.load(std::memory_order_acquire);
}

// With the use counted.
[[gnu::noinline]] Converter* acquire_another(const char* name, OpenFailure& failure) {
    Cache* cache = nullptr;
    if (keeps_converters()) [[likely]]
        cache = slot.cache != nullptr ? slot.cache : make_cache();
    if (cache == nullptr) [[unlikely]] {
        count_use(-1);
        return open_alone(name, failure);
    }
    Converter* const found =
        name != nullptr ? find(*cache, name, failure) : find_default(*cache, failure);
    if (found == nullptr) {
        count_use(-1);
        return nullptr;
    }
    ++found->uses;
    return found;
}

}  // namespace

Converter* acquire_converter(const char* name, OpenFailure& failure) {
    failure = OpenFailure::none;
    count_use(1);
    Cache* const cache = keeps_converters() ? slot.cache : nullptr;
    Converter* const latest = cache != nullptr ? cache->latest : nullptr;
    if (name == nullptr || latest == nullptr || std::strcmp(latest->name, name) != 0) {
        return acquire_another(name, failure);
    }
    latest->last_used = ++cache->lookups;
    ++latest->uses;
    return latest;
}

void share_converter(Converter* converter) {
    ++converter->uses;
    if (converter->is_counted) count_use(1);
}

void release_converter(Converter* converter) {
    const bool is_counted = converter->is_counted;
    drop_use(converter);
    if (is_counted) count_use(-1);
}

bool default_is_utf8() {
    count_use(1);
    const Cache* const cache = keeps_converters() ? slot.cache : nullptr;
    const Converter* const pushed =
        cache != nullptr && cache->pushed != nullptr ? cache->pushed->converter : nullptr;
    const bool is_utf8 = pushed != nullptr ? pushed->kind == Converter::Kind::utf8
                                           : std::strcmp(process_code_page(), kUtf8) == 0;
    count_use(-1);
    return is_utf8;
}

void push_default_converter(const char* name, OpenFailure& failure) {
    const ConverterUse use(name);
    failure = use.failure();
    if (use.get() == nullptr) return;
    auto* const pushed =
        use.get()->is_kept ? static_cast<Pushed*>(utMalloc(sizeof(Pushed))) : nullptr;
    if (pushed == nullptr) {
        if (keeps_converters()) failure = OpenFailure::no_memory;
        return;
    }
    ++use.get()->uses;
    *pushed = {slot.cache->pushed, use.get()};
    slot.cache->pushed = pushed;
}

void pop_default_converter() {
    count_use(1);
    Cache* const cache = keeps_converters() ? slot.cache : nullptr;
    if (cache != nullptr && cache->pushed != nullptr) {
        Pushed* const top = cache->pushed;
        cache->pushed = top->below;
        drop_use(top->converter);
        utFree(top);
    }
    count_use(-1);
}

void close_thread_converters() {
    is_closing.store(true, std::memory_order_seq_cst);
    // Where the lock is taken, other threads are still at work: the process ends.
    if (!slots_lock.try_lock()) return;
    drop_slots_of_another_process();
    const bool has_others = slots != nullptr && (slots != &slot || slot.next != nullptr);
    const bool is_ordered = !has_others || platform::order_memory_of_all_threads();
    for (ThreadSlot* thread = slots; thread != nullptr;) {
        ThreadSlot* const next = thread->next;
        if ((thread == &slot || is_ordered) && thread->uses.load(std::memory_order_acquire) == 0) {
            unlink(*thread);
            free_cache(thread->cache);
            thread->cache = nullptr;
        }
        thread = next;
    }
    if (has_key) platform::delete_thread_key(key);
    has_key = false;
    slots_lock.unlock();
}

}  // namespace qxut
