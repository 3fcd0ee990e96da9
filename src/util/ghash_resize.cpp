// ghash_resize.cpp - load bounds, the resize of the bucket vector, statistics.
//
// A resize aims at a load half-way, as a geometric mean, between the bounds, so that many
// insertions or removals come before the next one. It is planned by a pure function, then a larger
// vector is allocated, then the nodes move: a failed allocation has changed nothing. A smaller one
// is made within the old. Hashes are in the nodes; no callback runs.
//
// Products and the square root are single precision, the division is double: the numbers at which
// tables grow and shrink, and so the order of their entries, depend on it.
// Tested by tests/util/ghash_test.cpp.
#include <cmath>
#include <limits>
#include <utility>

#include <qxut/util/error.h>

#include "util/cleanup_guard.h"
#include "util/ghash_core.h"

namespace qxut {
namespace {

constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();

// Truncates; out of range goes to the nearest bound, not-a-number to 0.
template <class Real>
int32_t truncated(Real value) {
    if (!(value > 0)) return 0;
    return value < static_cast<Real>(kLargest) ? static_cast<int32_t>(value) : kLargest;
}

struct Bounds {
    float lower_load;
    float upper_load;
    int32_t lower_count;
    int32_t upper_count;
    int32_t min_buckets;
};

Bounds bounds_of(const ut_ghash_table& table) {
    return {table.lower_load, table.upper_load, table.lower_count, table.upper_count,
            table.min_buckets};
}

// The counts at which a table of this size resizes; at its lowest size it never shrinks.
void set_counts(Bounds& bounds, int32_t num_buckets) {
    bounds.lower_count =
        num_buckets == bounds.min_buckets ? 0 : scaled_count(num_buckets, bounds.lower_load);
    bounds.upper_count = scaled_count(num_buckets, bounds.upper_load);
}

int32_t planned_size(int32_t count, const Bounds& bounds) {
    const float mean_load = std::sqrt(bounds.lower_load * bounds.upper_load);
    const int32_t wanted =
        truncated(static_cast<double>(count) / static_cast<double>(mean_load) + 0.5);
    const int32_t target = wanted > bounds.min_buckets ? wanted : bounds.min_buckets;
    return ut_hash_next_quasiprime(nullptr, target, count < bounds.lower_count ? -1 : +1);
}

uint64_t bytes_of_buckets(int32_t size) {
    return static_cast<uint64_t>(size) * sizeof(ut_ghash_node*);
}

// Null where the size cannot be addressed or memory runs out; nothing is raised.
ut_ghash_node** try_new_buckets(const _memory_context& memory, int32_t size) {
    const uint64_t bytes = bytes_of_buckets(size);
    if (bytes > std::numeric_limits<size_t>::max()) return nullptr;
    void* buckets = memory.allocate(static_cast<size_t>(bytes));
    if (buckets == nullptr) return nullptr;
    return static_cast<ut_ghash_node**>(std::memset(buckets, 0, static_cast<size_t>(bytes)));
}

// The nodes of a table in traversal order, with the reads of nodes to come under way: in a large
// table each would otherwise wait for memory. Chains are gathered a block of buckets ahead, without
// a branch on which of them are empty, since nobody foresees that.
class PrefetchingWalk {
  public:
    explicit PrefetchingWalk(const ut_ghash_table& table) : table_(table) { gather(); }
    PrefetchingWalk(const PrefetchingWalk&) = delete;
    PrefetchingWalk& operator=(const PrefetchingWalk&) = delete;

    // Null at the end. The link of the node may be changed afterwards.
    ut_ghash_node* next() {
        if (next_ == nullptr) {
            while (taken_ == now_->size) {
                if (ahead_->size == 0 && bucket_ == table_.num_buckets) return nullptr;
                gather();
            }
            next_ = now_->chains[taken_++];
        }
        ut_ghash_node* const node = next_;
        next_ = node->next;
        return node;
    }

  private:
    static constexpr int32_t kBlock = 32;
    struct Chains {
        size_t size = 0;
        ut_ghash_node* chains[kBlock];
    };

    // What is ahead is next; the chains of the next buckets are ahead.
    void gather() {
        std::swap(now_, ahead_);
        taken_ = 0;
        const int32_t left = table_.num_buckets - bucket_;
        const int32_t end = bucket_ + (left < kBlock ? left : kBlock);
        size_t size = 0;
        for (; bucket_ < end; ++bucket_) {
            ut_ghash_node* const chain = table_.buckets[bucket_];
            __builtin_prefetch(chain);
            ahead_->chains[size] = chain;
            size += static_cast<size_t>(chain != nullptr);
        }
        ahead_->size = size;
    }

    const ut_ghash_table& table_;
    int32_t bucket_ = 0;
    size_t taken_ = 0;
    ut_ghash_node* next_ = nullptr;
    Chains blocks_[2];
    Chains* now_ = &blocks_[0];
    Chains* ahead_ = &blocks_[1];
};

// Puts nodes in front of their chains in a new vector. A node waits a few turns between the moment
// its bucket is known and the push, so that the bucket is at hand by then.
class Placer {
  public:
    Placer(ut_ghash_node** buckets, int32_t num_buckets)
        : buckets_(buckets), num_buckets_(num_buckets) {}

    void place(ut_ghash_node* node) {
        Pending& slot = waiting_[taken_ % kWaiting];
        if (taken_ >= kWaiting) push(slot);
        slot = {node, &buckets_[bucket_of(node->hash, num_buckets_)]};
        __builtin_prefetch(slot.bucket, 1);
        ++taken_;
    }
    void finish() {
        for (size_t i = taken_ < kWaiting ? 0 : taken_ - kWaiting; i < taken_; ++i) {
            push(waiting_[i % kWaiting]);
        }
    }

  private:
    static constexpr size_t kWaiting = 16;
    struct Pending {
        ut_ghash_node* node;
        ut_ghash_node** bucket;
    };
    static void push(const Pending& pending) {
        pending.node->next = *pending.bucket;
        *pending.bucket = pending.node;
    }

    ut_ghash_node** buckets_;
    int32_t num_buckets_;
    size_t taken_ = 0;
    Pending waiting_[kWaiting];
};

// Moves the nodes of a table, in traversal order, to a larger vector, which it owns from then on.
void grow_into(ut_ghash_table& table, ut_ghash_node** buckets, int32_t num_buckets) {
    PrefetchingWalk walk(table);
    Placer placer(buckets, num_buckets);
    for (auto* node = walk.next(); node != nullptr; node = walk.next()) placer.place(node);
    placer.finish();
    ut_mem_free(table.mem_ctx, table.buckets);
    table.buckets = buckets;
    table.num_buckets = num_buckets;
}

// Keeps nodes in order without memory of its own: strings them together by their links, the first
// to the ninth to the seventeenth and so on. Where one is taken out, the read of the one eight
// further on is under way.
class Strings {
  public:
    void append(ut_ghash_node* node) {
        ut_ghash_node**& last = last_[appended_++ % kStrings];
        *last = node;
        last = &node->next;
    }
    void finish() {
        for (ut_ghash_node** last : last_) *last = nullptr;
    }
    // Null at the end.
    ut_ghash_node* take() {
        ut_ghash_node*& first = first_[taken_++ % kStrings];
        ut_ghash_node* const node = first;
        if (node == nullptr) return nullptr;
        first = node->next;
        __builtin_prefetch(first, 1);
        return node;
    }

  private:
    static constexpr size_t kStrings = 8;
    ut_ghash_node* first_[kStrings]{};
    ut_ghash_node** last_[kStrings]{&first_[0], &first_[1], &first_[2], &first_[3],
                                    &first_[4], &first_[5], &first_[6], &first_[7]};
    size_t appended_ = 0;
    size_t taken_ = 0;
};

// The same within the vector, which keeps its rest: shrinking needs no memory. Giving the rest back
// would make common heaps merge all the nodes they got back so far, one wait for memory each. The
// nodes are kept aside first, since their new places are among the old.
void shrink_to(ut_ghash_table& table, int32_t num_buckets) {
    PrefetchingWalk walk(table);
    Strings nodes;
    for (auto* node = walk.next(); node != nullptr; node = walk.next()) nodes.append(node);
    nodes.finish();
    std::memset(table.buckets, 0, static_cast<size_t>(bytes_of_buckets(num_buckets)));
    Placer placer(table.buckets, num_buckets);
    for (auto* node = nodes.take(); node != nullptr; node = nodes.take()) placer.place(node);
    placer.finish();
    table.num_buckets = num_buckets;
}

void set_bounds(ut_ghash_table& table, const Bounds& bounds) {
    table.lower_load = bounds.lower_load;
    table.upper_load = bounds.upper_load;
    table.lower_count = bounds.lower_count;
    table.upper_count = bounds.upper_count;
    table.min_buckets = bounds.min_buckets;
}

// Resizes a table and sets its bounds. False where memory runs out: nothing has changed.
bool resize(ut_ghash_table& table, Bounds bounds, int32_t num_buckets) {
    if (num_buckets > table.num_buckets) {
        ut_ghash_node** const buckets = try_new_buckets(*table.mem_ctx, num_buckets);
        if (buckets == nullptr) return false;
        grow_into(table, buckets, num_buckets);
        set_counts(bounds, num_buckets);
    } else if (num_buckets < table.num_buckets) {
        shrink_to(table, num_buckets);
        set_counts(bounds, num_buckets);
    }
    set_bounds(table, bounds);
    return true;
}

struct ChainStatistics {
    int32_t collisions = 0;
    int32_t used_buckets = 0;
    int32_t longest = 0;
};

ChainStatistics measure_chains(const ut_ghash_table& table) {
    ChainStatistics statistics;
    for (int32_t i = 0; i < table.num_buckets; ++i) {
        int32_t length = 0;
        for (const ut_ghash_node* node = table.buckets[i]; node != nullptr; node = node->next) {
            ++length;
        }
        if (length == 0) continue;
        ++statistics.used_buckets;
        statistics.collisions += length - 1;
        if (length > statistics.longest) statistics.longest = length;
    }
    return statistics;
}

template <class T>
void tell(T* out, T value) {
    if (out != nullptr) *out = value;
}

}  // namespace

void check_load_bounds(_memory_context& memory, float lower_load, float upper_load) {
    _error_context* const errors = memory.error_context;
    constexpr float kLargestUpperLoad = 3.0F;
    constexpr float kLargestRatioRoot = 10.0F;
    // Written so that not-a-number is refused.
    if (!(lower_load > 0)) ut_error(errors, UT_HASH_INVALID_LOWER_LOAD_BOUND);
    if (!(upper_load > 0 && upper_load <= kLargestUpperLoad)) {
        ut_error(errors, UT_HASH_INVALID_UPPER_LOAD_BOUND);
    }
    if (!(upper_load > lower_load) || !(std::sqrt(upper_load / lower_load) <= kLargestRatioRoot)) {
        ut_error(errors, UT_HASH_INVALID_LOAD_BOUND_RANGE);
    }
}

int32_t scaled_count(int32_t size, float load) {
    return truncated(static_cast<float>(size) * load);
}

ut_ghash_node** new_buckets(_memory_context& memory, int32_t size) {
    ut_ghash_node** const buckets = try_new_buckets(memory, size);
    if (buckets == nullptr) ut_error(memory.error_context, UT_OUT_OF_MEMORY);
    return buckets;
}

void resize_if_possible(ut_ghash_table& table) {
    const Bounds bounds = bounds_of(table);
    resize(table, bounds, planned_size(table.count, bounds));
}

}  // namespace qxut

using namespace qxut;

void ut_ghash_set_bounds(ut_ghash_table* table, int32_t min_size, float lower_load,
                         float upper_load) {
    check_load_bounds(*table->mem_ctx, lower_load, upper_load);
    Bounds bounds{lower_load, upper_load, 0, 0,
                  ut_hash_next_quasiprime(table->mem_ctx, min_size, +1)};
    set_counts(bounds, table->num_buckets);

    const int32_t count = table->count;
    int32_t size = table->num_buckets;
    if (count < bounds.lower_count || count > bounds.upper_count || count < bounds.min_buckets) {
        size = planned_size(count, bounds);
    }
    if (!resize(*table, bounds, size)) ut_error(table->mem_ctx->error_context, UT_OUT_OF_MEMORY);
}

void ut_ghash_get_bounds(const ut_ghash_table* table, int32_t* out_min_size, float* out_lower,
                         float* out_upper) {
    tell(out_min_size, table->min_buckets);
    tell(out_lower, table->lower_load);
    tell(out_upper, table->upper_load);
}

void ut_ghash_stats(const ut_ghash_table* table, uint64_t* out_bytes, uint64_t* out_bytes_again,
                    int32_t* out_collisions) {
    const uint64_t bytes =
        sizeof(ut_ghash_table) + bytes_of_buckets(table->num_buckets) +
        static_cast<uint64_t>(table->node_size) * static_cast<uint32_t>(table->count);
    tell(out_bytes, bytes);
    tell(out_bytes_again, bytes);
    if (out_collisions != nullptr) *out_collisions = measure_chains(*table).collisions;
}

void ut_ghash_collision_stats(const ut_ghash_table* table, int32_t* out_collisions,
                              int32_t* out_used_buckets, int32_t* out_longest_chain) {
    const ChainStatistics statistics = measure_chains(*table);
    tell(out_collisions, statistics.collisions);
    tell(out_used_buckets, statistics.used_buckets);
    tell(out_longest_chain, statistics.longest);
}
