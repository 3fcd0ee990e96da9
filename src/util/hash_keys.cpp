// hash_keys.cpp - key callbacks for texts, slots that hold text pointers, and words.
//
// Slots stand inside byte blocks and may have any alignment: they are read and written by memcpy.
// Tested by tests/util/hash_keys_test.cpp.
#include <qxut/util/hash_keys.h>

#include <cstring>

#include <qxut/util/hash_bytes.h>

#include "util/ascii_case.h"
#include "util/byte_step_folding.h"
#include "util/text_slot.h"

using qxut::text_in;

namespace {

const char* text_or_empty_in(const void* slot) {
    const char* text = text_in(slot);
    return text != nullptr ? text : "";
}

uintptr_t word_in(const void* slot) {
    uintptr_t word = 0;
    std::memcpy(&word, slot, sizeof word);
    return word;
}

template <class T>
int32_t sign(T value) {
    return static_cast<int32_t>(value > 0) - static_cast<int32_t>(value < 0);
}

int32_t compare_texts(const char* a, const char* b) { return sign(std::strcmp(a, b)); }

int32_t compare_texts_lowered(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const unsigned char left = qxut::ascii_lower(static_cast<unsigned char>(*a));
        const unsigned char right = qxut::ascii_lower(static_cast<unsigned char>(*b));
        if (left != right) return left < right ? -1 : 1;
        if (left == 0) return 0;
    }
}

// The difference wraps, as the sign of it is defined to.
int32_t compare_words(uint64_t a, uint64_t b) { return sign(static_cast<int64_t>(a - b)); }

_memory_context* memory_context(uintptr_t context) {
    return reinterpret_cast<_memory_context*>(context);
}

}  // namespace

namespace qxut {
namespace {

#if defined(QXUT_CARRYLESS_MULTIPLICATION)

// What the seed becomes in n steps of zero bytes. The step is linear: a run started from the seed
// gives this and, added to it, what it gives started from 0.
struct SeedAfter {
    uint32_t steps[33];
};
constexpr SeedAfter make_seed_after() {
    SeedAfter after{};
    uint32_t h = kSlotTextSeed;
    for (uint32_t& value : after.steps) {
        value = h;
        for (int bit = 0; bit < 8; ++bit) h = bit_step(h);
    }
    return after;
}
constexpr SeedAfter kSeedAfter = make_seed_after();

#endif

}  // namespace

uint32_t hash_slot_text(const char* text, size_t size) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    if (size >= 9 && size <= 32 && has_carryless_multiplication()) {
        return kSeedAfter.steps[size] ^ remainder_of_9_to_32(bytes, size);
    }
#endif
    return byte_steps(kSlotTextSeed, bytes, size);
}

}  // namespace qxut

uint32_t ut_hash_string_key(uintptr_t /*context*/, const void* text) {
    return ut_hash_string(0, static_cast<const char*>(text));
}

int32_t ut_compare_string_keys(uintptr_t /*context*/, const void* a, const void* b) {
    return compare_texts(static_cast<const char*>(a), static_cast<const char*>(b));
}

char* ut_copy_string_key(uintptr_t mem_ctx, const char* text) {
    return ut_mem_strdup(memory_context(mem_ctx), text);
}

void ut_delete_string_key(uintptr_t mem_ctx, char* text) {
    ut_mem_free(memory_context(mem_ctx), text);
}

uint32_t ut_ghash_string_key(uintptr_t /*context*/, const void* slot) {
    const char* const text = text_in(slot);
    return qxut::hash_slot_text(text, std::strlen(text) + 1);
}

uint32_t ut_ghash_stringi_key(uintptr_t /*context*/, const void* slot) {
    return ut_hash_lower_string(0, text_or_empty_in(slot));
}

int32_t ut_ghash_compare_string_keys(uintptr_t /*context*/, const void* a, const void* b) {
    return compare_texts(text_in(a), text_in(b));
}

int32_t ut_ghash_compare_stringi_keys(uintptr_t /*context*/, const void* a, const void* b) {
    return compare_texts_lowered(text_or_empty_in(a), text_or_empty_in(b));
}

void ut_ghash_copy_string_key(uintptr_t mem_ctx, void* destination, const void* slot) {
    const char* text = text_in(slot);
    const char* copy = text != nullptr ? ut_mem_strdup(memory_context(mem_ctx), text) : nullptr;
    std::memcpy(destination, &copy, sizeof copy);
}

void ut_ghash_delete_string_key(uintptr_t mem_ctx, void* slot) {
    char* text = nullptr;
    std::memcpy(&text, slot, sizeof text);
    ut_mem_free(memory_context(mem_ctx), text);
}

uint32_t ut_NULL_hash_key(uintptr_t /*context*/, const void* word) {
    return ut_hash_pointer(0, word);
}

uint32_t ut_ghash_hash_ptr_key(uintptr_t /*context*/, const void* slot) {
    return ut_hash_uint(0, static_cast<uint32_t>(word_in(slot)));
}

int32_t ut_NULL_compare_keys(uintptr_t /*context*/, const void* a, const void* b) {
    return compare_words(reinterpret_cast<uintptr_t>(a), reinterpret_cast<uintptr_t>(b));
}

int32_t ut_ghash_compare_ptr_keys(uintptr_t /*context*/, const void* a, const void* b) {
    return compare_words(word_in(a), word_in(b));
}

void ut_NULL_copy_key(uintptr_t /*context*/, void* /*destination*/, const void* /*word*/) {}

void ut_NULL_delete_key(uintptr_t /*context*/, void* /*word*/) {}
