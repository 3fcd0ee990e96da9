#include <qxut/util/hex.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include <qxut/util/interrupt.h>

#include "support/contexts.h"

namespace {

using namespace std::string_literals;
using qxut_test::Contexts;

int collect(const char* text, void* calls) {
    static_cast<std::vector<std::string>*>(calls)->emplace_back(text);
    return -1;  // results are ignored
}

TEST(Hex, DumpWritesOneItemACall) {
    std::vector<std::string> calls;
    const unsigned char bytes[] = {0x01, 0xAB, 0xFF};
    ut_dumphex(collect, &calls, 3, bytes);
    EXPECT_EQ(calls, (std::vector<std::string>{"000000003", " 01", " ab", " ff"}));
    calls.clear();
    ut_dumphex(collect, &calls, 0, nullptr);
    EXPECT_EQ(calls, (std::vector<std::string>{"000000000"}));
}

// What parsing gives: the bytes, and how many characters were consumed.
struct Parsed {
    std::string bytes;
    uint64_t consumed;
    bool operator==(const Parsed&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Parsed& parsed) {
    return out << testing::PrintToString(parsed.bytes) << " after " << parsed.consumed;
}

// A buffer for the length of a scope.
struct Buffer : ut_dsbuffer, private qxut_test::NotCopied {
    explicit Buffer(Contexts& contexts) : ut_dsbuffer{} {
        ut_initialize_dsbuffer(this, &contexts.memory, 1);
    }
    ~Buffer() { ut_clear_dsbuffer(this); }
    std::string text() const { return {data, length}; }
};

Parsed parse(Contexts& contexts, std::string text) {
    ut_bstream stream{text.data(), text.size()};
    Buffer buffer(contexts);
    ut_parsehex(&buffer, &stream);
    EXPECT_EQ(stream.position + stream.remaining, text.data() + text.size());
    return {buffer.text(), text.size() - stream.remaining};
}

TEST(Hex, Parse) {
    struct Case {
        std::string text;
        Parsed expected;
    };
    const Case cases[] = {
        {"000000002 7f 80", {"\x7F\x80", 15}},
        {"000000000", {"", 9}},
        {"000000000  7f", {"", 11}},
        {"2 1 22 333", {"\x01\x22", 7}},
        // Only as many as the count says, whatever follows; only the low 8 bits of each.
        {"1 1234 5", {"\x34", 7}},
        {"1 FEDCBA9876543210 5", {"\xFF", 19}},  // saturated
        {"2\t\n\v\f\r7F\n\n 0x80 ", {"\x7F\x80", 16}},
        // The control characters beside them are no space.
        {"1\b41", {"\0"s, 1}},
        {"1\x0Ez", {"\0"s, 1}},
        // The prefix needs a digit behind it.
        {"0X2 0xg", {"\0\0"s, 5}},
        {"1 -1", {"\xFF", 4}},
        {"1 +1", {"\x01", 4}},
        {"1 - 1", {"\0"s, 2}},
        // Fields that are missing, or are no numbers, are zero and consume nothing.
        {"3 41", {"A\0\0"s, 4}},
        {"3 41 zz 42", {"A\0\0"s, 5}},
        {"", {"", 0}},
        {"   ", {"", 3}},
        {"zz", {"", 0}},
        {"10", {std::string(16, '\0'), 2}},
    };
    Contexts contexts;
    for (const Case& c : cases) EXPECT_EQ(parse(contexts, c.text), c.expected) << c.text;
}

TEST(Hex, RoundTrip) {
    Contexts contexts;
    std::string bytes;
    for (int i = 0; i < 5000; ++i) bytes += static_cast<char>(i * 7);
    Buffer buffer(contexts);
    ut_dumphex(ut_dsbputs, &buffer, 5000, bytes.data());
    EXPECT_EQ(parse(contexts, buffer.text()).bytes, bytes);
}

// A number is read as from a C string, past the end of the stream if need be.
TEST(Hex, StreamThatEndsInANumber) {
    Contexts contexts;
    char text[] = "1 41424";
    ut_bstream stream{text, 4};
    Buffer buffer(contexts);
    ut_parsehex(&buffer, &stream);
    EXPECT_EQ(buffer.text(), "\x24");
    EXPECT_EQ(stream.position, text + 7);
    EXPECT_EQ(stream.remaining, 0u);
}

// Fills up to the largest count until memory or the user's patience ends.
TEST(Hex, HugeCountCanBeStopped) {
    Contexts contexts;
    char text[] = "FFFFFFFFF 41";
    ut_bstream stream{text, sizeof text - 1};
    Buffer buffer(contexts);
    contexts.heap.fail_at(12);
    EXPECT_EQ(contexts.run([&] { ut_parsehex(&buffer, &stream); }).code, UT_OUT_OF_MEMORY);
    EXPECT_GT(buffer.length, 1u << 16);
    EXPECT_EQ(buffer.data[0], 'A');

    stream = {text, sizeof text - 1};
    utSetInterruptPending(true);
    EXPECT_EQ(contexts.run([&] { ut_parsehex(&buffer, &stream); }).code, UT_ERR_SIGNAL_INTERRUPT);
}

// Every 4096th byte asks for it, so that short data is never in the way of its command's end.
TEST(Hex, LongDataCanBeStopped) {
    Contexts contexts;
    std::string text = "1000";
    for (int i = 0; i < 0x1000; ++i) text += " 41";
    Buffer buffer(contexts);
    ut_bstream stream{text.data(), text.size()};
    utSetInterruptPending(true);
    EXPECT_EQ(contexts.run([&] { ut_parsehex(&buffer, &stream); }).code, UT_ERR_SIGNAL_INTERRUPT);
    utSetInterruptPending(true);
    EXPECT_EQ(parse(contexts, "FFF" + text.substr(4)).bytes, std::string(0xFFF, 'A'));
    EXPECT_TRUE(utTakeInterrupt());
}

TEST(Hex, OutOfMemory) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) { parse(contexts, "5 1 2 3 4 5"); });
}

}  // namespace
