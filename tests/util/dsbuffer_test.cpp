#include <qxut/util/dsbuffer.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;

constexpr uint64_t kLargest = std::numeric_limits<uint64_t>::max();

std::string text_of(const ut_dsbuffer& buffer) { return {buffer.data, buffer.length}; }

class DsBuffer : public testing::Test {
  protected:
    // A buffer of the given capacity that already holds a text.
    ut_dsbuffer& make(uint64_t capacity, std::string_view text = "") {
        ut_clear_dsbuffer(&buffer);
        ut_initialize_dsbuffer(&buffer, &contexts.memory, capacity);
        ut_dsbwrite(text.data(), 1, text.size(), &buffer);
        return buffer;
    }
    void TearDown() override { ut_clear_dsbuffer(&buffer); }

    Contexts contexts;
    ut_dsbuffer buffer{};
};

TEST_F(DsBuffer, FunctionsAnswerAsTheirModels) {
    make(4);
    EXPECT_EQ(ut_dsbputc(0x1FF, &buffer), 255);
    EXPECT_EQ(ut_dsbputc(-1, &buffer), 255);
    EXPECT_EQ(ut_dsbputs("", &buffer), 0);
    EXPECT_EQ(ut_dsbputs("ab", &buffer), 1);
    EXPECT_EQ(ut_dsbputsn(&buffer, "cde", 2), 2);
    EXPECT_EQ(ut_dsbputsn(&buffer, nullptr, 0), 0);
    EXPECT_EQ(ut_dsbwrite("fghijkl", 3, 2, &buffer), 2u);
    EXPECT_EQ(ut_dsbwrite(nullptr, 0, 7, &buffer), 7u);
    EXPECT_EQ(text_of(buffer),
              "\xFF\xFF"
              "abcdfghijk");
    ut_clear_dsbuffer(&buffer);
    EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(&buffer), sizeof buffer),
              std::string_view(std::string(sizeof buffer, '\0')));
}

TEST_F(DsBuffer, CapacityDoublesFromTheFirst) {
    struct Case {
        uint64_t capacity;
        size_t held;
        size_t appended;
        uint64_t capacity_after;
    };
    for (const Case& c : {Case{4, 3, 1, 4},
                          {4, 3, 13, 16},
                          {4, 4, 0, 4},
                          {4, 4, 1, 8},
                          {3, 0, 100, 192},
                          {1, 0, 1, 1},
                          {1, 1, 1, 2},
                          {7, 7, 8, 28}}) {
        SCOPED_TRACE(testing::Message() << c.capacity << " " << c.held << " " << c.appended);
        const std::string held(c.held, 'h');
        const std::string text(c.appended, 't');
        for (const bool by_byte : {false, true}) {
            make(c.capacity, held);
            if (by_byte)
                for (const char byte : text) ut_dsbputc(byte, &buffer);
            else
                ut_dsbputsn(&buffer, text.data(), static_cast<int32_t>(text.size()));
            EXPECT_EQ(buffer.capacity, c.capacity_after);
            EXPECT_EQ(text_of(buffer), held + text);
        }
    }
}

TEST_F(DsBuffer, WhatCannotGrowRaisesAndStays) {
    struct Case {
        const char* name;
        uint64_t capacity;
        uint64_t length;
        void (*append)(ut_dsbuffer* buffer);
        bool asks_for_memory = false;
    };
    const Case cases[] = {
        {"byte to no capacity", 0, 0, [](auto* b) { ut_dsbputc('x', b); }},
        {"text to no capacity", 0, 0, [](auto* b) { ut_dsbputs("x", b); }},
        {"negative count", 4, 2, [](auto* b) { ut_dsbputsn(b, "abc", -1); }},
        {"least count", 4, 2, [](auto* b) { ut_dsbputsn(b, "abc", INT32_MIN); }},
        {"negative count, no length", 4, 0, [](auto* b) { ut_dsbputsn(b, "abc", -4); }},
        {"size past 64 bits", 4, 2, [](auto* b) { ut_dsbwrite("a", 1ull << 33, 1ull << 33, b); }},
        {"length past 64 bits", 4, 2, [](auto* b) { ut_dsbwrite("a", 1, kLargest, b); }},
        {"capacity past 64 bits", 4, 2, [](auto* b) { ut_dsbwrite("a", 1, kLargest / 2, b); }},
        {"largest capacity", 4, 2, [](auto* b) { ut_dsbwrite("a", 1, kLargest / 2 - 1, b); }, true},
        {"byte at the last length", 4, kLargest, [](auto* b) { ut_dsbputc('x', b); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        make(c.capacity);
        ut_dsb_shrink_buffer(&buffer, c.length);
        const ut_dsbuffer before = buffer;
        contexts.heap.fail_at(0);
        EXPECT_EQ(contexts.run([&] { c.append(&buffer); }).code, UT_OUT_OF_MEMORY);
        EXPECT_EQ(std::memcmp(&buffer, &before, sizeof buffer), 0);
        EXPECT_EQ(contexts.heap.has_failed(), c.asks_for_memory);
        contexts.heap.fail_at(qxut_test::CountdownHeap::kNever);
    }
    make(0);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(ut_dsbputs("", &buffer), 0);
}

TEST_F(DsBuffer, FalseLengthCountsButIsNotWrittenTo) {
    make(4, "abcd");
    ut_dsb_shrink_buffer(&buffer, 1);
    ut_dsbputs("xy", &buffer);
    EXPECT_EQ(text_of(buffer), "axy");
    ut_dsb_shrink_buffer(&buffer, 9);
    EXPECT_EQ(ut_dsbputs("", &buffer), 0);
    EXPECT_EQ(buffer.capacity, 4u);
    ut_dsbputc('z', &buffer);
    EXPECT_EQ(buffer.capacity, 16u);
    EXPECT_EQ(buffer.length, 10u);
    EXPECT_EQ(std::string_view(buffer.data, 3), "axy");
    EXPECT_EQ(buffer.data[9], 'z');
}

// Every length of a source outside and inside the data, behind and over the end, with and
// without a growth that moves it.
TEST_F(DsBuffer, SourceMayLieInTheData) {
    std::mt19937 random(31);
    std::string text(400, '\0');
    for (char& byte : text) byte = static_cast<char>(random());
    for (int32_t count = 0; count < 150; ++count) {
        for (const uint64_t capacity : {200u, 1000u}) {
            for (const size_t from : {0u, 1u, 37u, 50u}) {
                const auto size = static_cast<size_t>(count);
                make(capacity, std::string_view(text).substr(0, 200));
                ut_dsbputsn(&buffer, buffer.data + from, count);
                ASSERT_EQ(text_of(buffer), text.substr(0, 200) + text.substr(from, size)) << count;
                // Overlapping the bytes that are written.
                make(1000, text);
                ut_dsb_shrink_buffer(&buffer, 100);
                ut_dsbwrite(buffer.data + 50 + from, 1, size, &buffer);
                ASSERT_EQ(text_of(buffer), text.substr(0, 100) + text.substr(50 + from, size))
                    << count;
            }
        }
    }
}

TEST(DsBufferMemory, RunningOutLeavesTheBuffer) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        ut_dsbuffer buffer{};
        std::string expected;
        const auto raised = contexts.run([&] {
            ut_initialize_dsbuffer(&buffer, &contexts.memory, 1);
            for (int i = 0; i < 5; ++i) {
                ut_dsbputs("some text", &buffer);
                expected += "some text";
                ut_dsbputc('.', &buffer);
                expected += '.';
            }
        });
        EXPECT_EQ(text_of(buffer), expected);
        ut_clear_dsbuffer(&buffer);
        if (raised.code != 0) ut_error(&contexts.errors, raised.code);
    });
}

}  // namespace
