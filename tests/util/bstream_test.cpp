#include <qxut/util/bstream.h>

#include <gtest/gtest.h>

#include <string>

namespace {

// A block with its stream, and one readable byte past the end for ut_bgets.
struct Block {
    explicit Block(std::string text) : bytes(std::move(text)) {
        stream = {bytes.data(), bytes.size()};
    }
    size_t consumed() const { return static_cast<size_t>(stream.position - bytes.data()); }

    std::string bytes;
    ut_bstream stream{};
};

TEST(BStream, CharactersAreBytesOrEndOfFile) {
    Block block(
        "\xff"
        "b");
    EXPECT_EQ(ut_bgetc(&block.stream), 0xFF);
    EXPECT_EQ(ut_bungetc(-1, &block.stream), -1);
    EXPECT_EQ(block.consumed(), 1u);
    EXPECT_EQ(ut_bungetc(0x1FE, &block.stream), 0xFE);
    EXPECT_EQ(ut_bgetc(&block.stream), 0xFE);
    EXPECT_EQ(ut_bputc(0x1C3, &block.stream), 0xC3);
    EXPECT_TRUE(ut_beof(&block.stream));
    EXPECT_EQ(ut_bgetc(&block.stream), -1);
    EXPECT_EQ(ut_bputc('x', &block.stream), -1);
    EXPECT_EQ(block.bytes, "\xfe\xc3");
}

TEST(BStream, LinesEndAtNewlineSizeOrEnd) {
    Block block("ab\nc");
    char line[16];
    EXPECT_EQ(ut_bgets(line, 10, &block.stream), line);
    EXPECT_STREQ(line, "ab\n");
    EXPECT_EQ(ut_bgets(line, 1, &block.stream), line);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(ut_bgets(line, 10, &block.stream), nullptr);  // delivered all the same
    EXPECT_STREQ(line, "c");

    Block cut("abcdef");
    EXPECT_EQ(ut_bgets(line, 4, &cut.stream), line);
    EXPECT_STREQ(line, "abc");
    EXPECT_EQ(ut_bgets(line, 4, &cut.stream), line);
    EXPECT_STREQ(line, "def");
}

TEST(BStream, WritesAreCutToWhatFits) {
    Block block("....");
    EXPECT_EQ(ut_bputs("abcdef", &block.stream), -1);
    EXPECT_EQ(block.bytes, "abcd");
    EXPECT_EQ(ut_bputs("", &block.stream), 1);

    Block counted("...");
    EXPECT_EQ(ut_bputsn(&counted.stream, "hello", 5), 3);
    EXPECT_EQ(ut_bputsn(&counted.stream, "hello", 5), -1);
    EXPECT_EQ(ut_bputsn(&counted.stream, "hello", 0), 0);
    EXPECT_EQ(counted.bytes, "hel");
}

TEST(BStream, ElementsAreCopiedWhole) {
    Block block("abcdefg");
    char out[8] = {};
    EXPECT_EQ(ut_bread(out, 3, 9, &block.stream), 2u);
    EXPECT_STREQ(out, "abcdef");
    EXPECT_EQ(block.stream.remaining, 1u);
    EXPECT_EQ(ut_bwrite("xyz", 3, 1, &block.stream), 0u);
    EXPECT_EQ(ut_bwrite("xyz", 1, 3, &block.stream), 1u);
    EXPECT_EQ(block.bytes, "abcdefx");
}

TEST(BStream, SpansAndWhiteSpaceStopAtTheEnd) {
    Block block("aab \t\v");
    EXPECT_EQ(ut_bufspn(&block.stream, "a"), 2u);
    EXPECT_EQ(ut_bufspn(&block.stream, "ab \t\v"), 6u);
    EXPECT_EQ(ut_bufcspn(&block.stream, " "), 3u);
    EXPECT_EQ(ut_bufcspn(&block.stream, "z"), 6u);
    EXPECT_FALSE(ut_skip_white_space(&block.stream));
    block.stream.position += 3;
    block.stream.remaining -= 3;
    EXPECT_TRUE(ut_skip_white_space(&block.stream));

    // A NUL byte belongs to every set.
    Block nul(std::string("a\0b", 3));
    EXPECT_EQ(ut_bufspn(&nul.stream, "a"), 2u);
    EXPECT_EQ(ut_bufcspn(&nul.stream, "z"), 1u);
}

}  // namespace
