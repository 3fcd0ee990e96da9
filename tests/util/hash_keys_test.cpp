#include <qxut/util/hash_keys.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <qxut/util/hash_bytes.h>

#include "support/contexts.h"

namespace {

const void* word(int64_t value) { return reinterpret_cast<const void*>(value); }

// A text pointer or word as nodes may hold it: at an odd address.
class Slot {
  public:
    explicit Slot(const void* content) { std::memcpy(bytes_ + 1, &content, sizeof content); }
    explicit Slot(int64_t content) : Slot(word(content)) {}
    const void* address() const { return bytes_ + 1; }
    void* address() { return bytes_ + 1; }
    char* text() const {
        char* content = nullptr;
        std::memcpy(&content, bytes_ + 1, sizeof content);
        return content;
    }

  private:
    unsigned char bytes_[1 + sizeof(void*)]{};
};

TEST(HashKeys, HashesOfTexts) {
    const std::string text = "Alpha";
    const Slot slot(text.c_str());
    EXPECT_EQ(ut_hash_string_key(9, text.c_str()), ut_hash_string(0, "Alpha"));
    EXPECT_EQ(ut_ghash_string_key(9, slot.address()), ut_hash_string(0xFFFFFFFF, "Alpha"));
    EXPECT_EQ(ut_ghash_stringi_key(9, slot.address()), ut_hash_string(0, "alpha"));
    // The empty text: one step with byte 0.
    const Slot empty("");
    EXPECT_EQ(ut_hash_string_key(0, ""), 0u);
    EXPECT_EQ(ut_ghash_string_key(0, empty.address()), ut_hash_byte(0, 255) ^ 0x00FFFFFFu);
    // Of every length: some have ways of their own.
    std::string longer;
    for (int i = 0; i < 80; ++i) {
        longer += static_cast<char>(0x55 + 37 * i % 171);
        const std::vector<char> exact(longer.c_str(), longer.c_str() + longer.size() + 1);
        EXPECT_EQ(ut_ghash_string_key(0, Slot(exact.data()).address()),
                  ut_hash_n_bytes(0xFFFFFFFF, exact.size(), exact.data()))
            << longer.size();
    }
    const Slot null(nullptr);
    EXPECT_EQ(ut_ghash_stringi_key(0, null.address()), ut_ghash_stringi_key(0, empty.address()));
}

TEST(HashKeys, ComparisonsOfTexts) {
    struct Case {
        const char* a;
        const char* b;
        int32_t result, lowered_result;
    };
    const Case cases[] = {
        {"", "", 0, 0},         {"a", "", 1, 1},           {"abc", "abd", -1, -1},
        {"ab", "abc", -1, -1},  {"B", "a", -1, 1},         {"ALPHA", "alpha", -1, 0},
        {"_", "A", 1, -1},      {"\xFF", "a", 1, 1},       {"\xC4", "\xE4", -1, -1},
        {"\x80", "\x7F", 1, 1}, {"alpha", "ALPHB", 1, -1},
    };
    for (const auto& [a, b, result, lowered_result] : cases) {
        SCOPED_TRACE(std::string(a) + " and " + b);
        const Slot slot_a(a);
        const Slot slot_b(b);
        EXPECT_EQ(ut_compare_string_keys(0, a, b), result);
        EXPECT_EQ(ut_ghash_compare_string_keys(0, slot_a.address(), slot_b.address()), result);
        EXPECT_EQ(ut_ghash_compare_string_keys(0, slot_b.address(), slot_a.address()), -result);
        EXPECT_EQ(ut_ghash_compare_stringi_keys(0, slot_a.address(), slot_b.address()),
                  lowered_result);
    }
    const Slot null(nullptr);
    const Slot empty("");
    EXPECT_EQ(ut_ghash_compare_stringi_keys(0, null.address(), empty.address()), 0);
    EXPECT_EQ(ut_ghash_compare_stringi_keys(0, null.address(), Slot("a").address()), -1);
}

TEST(HashKeys, Words) {
    const Slot slot((int64_t{5} << 32) | 0x1234);
    EXPECT_EQ(ut_ghash_hash_ptr_key(0, slot.address()), ut_hash_uint(0, 0x1234));
    EXPECT_EQ(ut_NULL_hash_key(0, word(0x1234)), ut_hash_uint(0, 0x1234));

    struct Case {
        int64_t a, b;
        int32_t result;
    };
    const Case cases[] = {
        {1, 1, 0},
        {1, 2, -1},
        {-1, 1, -1},
        {int64_t{1} << 40, 1, 1},
        // The difference wraps; its sign is what counts.
        {INT64_MIN, 1, 1},
        {INT64_MAX, -1, -1},
    };
    for (const auto& [a, b, result] : cases) {
        EXPECT_EQ(ut_NULL_compare_keys(0, word(a), word(b)), result) << a << " and " << b;
        EXPECT_EQ(ut_ghash_compare_ptr_keys(0, Slot(a).address(), Slot(b).address()), result)
            << a << " and " << b;
    }
    int untouched = 3;
    ut_NULL_copy_key(0, &untouched, word(1));
    ut_NULL_delete_key(0, &untouched);
    EXPECT_EQ(untouched, 3);
}

TEST(HashKeys, CopiesComeFromTheMemoryContext) {
    qxut_test::sweep_out_of_memory([](qxut_test::Contexts& contexts) {
        const auto context = reinterpret_cast<uintptr_t>(&contexts.memory);
        char* copy = nullptr;
        Slot copied(nullptr);
        const auto raised = contexts.run([&] {
            copy = ut_copy_string_key(context, "alpha");
            ut_ghash_copy_string_key(context, copied.address(), Slot("beta").address());
        });
        if (raised.code == 0) {
            EXPECT_STREQ(copy, "alpha");
            EXPECT_STREQ(copied.text(), "beta");
        }
        if (copy != nullptr) ut_delete_string_key(context, copy);
        ut_ghash_delete_string_key(context, copied.address());
        EXPECT_EQ(contexts.blocks(), 0u);
    });
}

}  // namespace
