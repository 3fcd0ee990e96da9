// The parser's tables: for each pattern the listing that it gives, terse (parsed.h), and the
// warnings with their positions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <qxut/regexp/exception.hpp>
#include <qxut/regexp/tree.hpp>

#include "regexp/listing.h"
#include "regexp/parsed.h"
#include "regexp/token_names.h"

using namespace qxut::regexp;
using qxut_test::parse_text;
using qxut_test::Parsed;

namespace {

struct Row {
    std::u16string_view pattern;
    const char* flags;
    const char* listing;
    const char* warnings = "";
};

void check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        const Parsed parsed = parse_text(row.pattern, row.flags);
        const std::string name(row.pattern.begin(), row.pattern.end());
        EXPECT_EQ(parsed.listing, row.listing) << name;
        EXPECT_EQ(parsed.warnings, row.warnings) << name;
    }
}

TEST(Parser, Listing) {
    const Parsed parsed = parse_text(u"(?:a|[b-d])*?\\1");
    EXPECT_EQ(listing_of(*parsed.pattern),
              "\n\n   Addr      Next  \t   Action\n"
              " 00000001  00000002\tSplit -> 00000004 \n"
              " 00000002  00000003\tMatch Token #1\n"
              " 00000003  00000000\t<EOT>\n"
              " 00000004  00000005\tSplit -> 00000006 \n"
              " 00000005  00000001\tMatch 'a'\n"
              " 00000006  00000007\tMatch [b-d]\n"
              " 00000007  00000001\tConsume 00000001\n");
}

TEST(Parser, Characters) {
    check({
        {u"abc", "", "1>2 Match 'abc'; 2>0 <EOT>"},
        {u"aB", "i", "1>2 Match 'aB' ignoring case; 2>0 <EOT>"},
        {u"a.b^c$", "",
         "1>2 Match 'a'; 2>3 Match . (dotexceptnewline); 3>4 Match 'b'; 4>5 Match start of string; "
         "5>6 Match 'c'; 6>7 Match end of string; 7>0 <EOT>"},
        {u".^$", "sm",
         "1>2 Match . (dotall); 2>3 Match start of line; 3>4 Match end of line; 4>0 <EOT>"},
        {u"a(?#c)b\\x63", "", "1>2 Match 'abc'; 2>0 <EOT>"},
        {u"a(?s)b", "", "1>2 Match 'a'; 2>3 Match 'b'; 3>0 <EOT>"},
        {u"ab(c)d", "",
         "1>2 Match 'ab'; 2>3 Start Token #1; 3>4 Match 'c'; 4>5 End Token #1; 5>6 Match 'd'; 6>0 "
         "<EOT>"},
        {u"a|", "", "1>2 Split -> 4; 2>3 Match 'a'; 3>0 <EOT>; 4>3 <NULL>"},
        {u"|", "", "1>2 Split -> 4; 2>3 <NULL>; 3>0 <EOT>; 4>3 <NULL>"},
        {u"()", "", "1>2 Start Token #1; 2>3 End Token #1; 3>0 <EOT>"},
        {u"(?:)", "", "1>0 <EOT>"},
    });
}

TEST(Parser, Quantifiers) {
    check({
        {u"abc{2}d", "", "1>2 Match 'ab'; 2>3 Match 'c'; 3>4 Match 'c'; 4>5 Match 'd'; 5>0 <EOT>"},
        {u"a*?", "", "1>2 Split -> 3; 2>0 <EOT>; 3>1 Match 'a'"},
        {u"a?", "", "1>2 Split -> 3; 2>3 Match 'a'; 3>0 <EOT>"},
        {u"a??", "", "1>2 Split -> 3; 2>0 <EOT>; 3>2 Match 'a'"},
        {u"a++", "", "1>2 Match 'a'; 2>3 Split -> 4 Possessive; 3>2 Match 'a'; 4>0 <EOT>"},
        {u"a{3}", "", "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Match 'a'; 4>0 <EOT>"},
        {u"a{3}?", "", "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Match 'a'; 4>0 <EOT>"},
        {u"a{3,}", "",
         "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Match 'a'; 4>5 Split -> 6; 5>4 Match 'a'; 6>0 <EOT>"},
        {u"a{2,3}", "", "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Split -> 5; 4>5 Match 'a'; 5>0 <EOT>"},
        {u"a{2,5}", "",
         "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Start Counter; 4>5 Limit Counter{3} -> 6; 5>4 Match "
         "'a'; 6>0 <EOT>"},
        {u"a{0,5}?", "", "1>2 Start Counter; 2>3 Lazy Counter{5} -> 4; 3>2 Match 'a'; 4>0 <EOT>"},
        {u"a{2,3}+", "",
         "1>2 Start Counter; 2>3 Fixed Counter{2} -> 4; 3>2 Match 'a'; 4>5 Split -> 6 Possessive; "
         "5>6 Match 'a'; 6>0 <EOT>"},
        {u"a{1}+b", "", "1>2 Match 'a'; 2>3 Match 'b'; 3>0 <EOT>"},
        {u"a{0}b", "", "1>2 Match 'b'; 2>0 <EOT>"},
        {u"(a){0}(b)", "", "1>2 Start Token #2; 2>3 Match 'b'; 3>4 End Token #2; 4>0 <EOT>"},
        {u"a{2000}", "",
         "1>2 Start Counter; 2>3 Fixed Counter{2000} -> 4; 3>2 Match 'a'; 4>0 <EOT>"},
        {u"a{2000,}", "",
         "1>2 Start Counter; 2>3 Fixed Counter{2000} -> 4; 3>2 Match 'a'; 4>5 Split -> 6; 5>4 "
         "Match 'a'; 6>0 <EOT>"},
        {u"a{2,}+", "",
         "1>2 Start Counter; 2>3 Fixed Counter{2} -> 4; 3>2 Match 'a'; 4>5 Split -> 6 Possessive; "
         "5>4 Match 'a'; 6>0 <EOT>"},
        {u"(?:a|ab)?+c", "",
         "1>2 Split -> 4 Possessive; 2>3 Split -> 6; 3>4 Match 'a'; 4>5 Match 'c'; 5>0 <EOT>; 6>4 "
         "Match 'ab'"},
        {u"^*\\<+", "",
         "1>2 Split -> 3; 2>1 Match start of string; 3>4 Match start of word; 4>5 Split -> 6; 5>4 "
         "Match start of word; 6>0 <EOT>"},
        {u"*a|+|?", "",
         "1>2 Split -> 4; 2>3 Match '*a'; 3>0 <EOT>; 4>5 Split -> 6; 5>3 Match '+'; 6>3 Match '?'"},
        {u"a**", "", "1>2 Split -> 3; 2>1 Match 'a'; 3>4 Match '*'; 4>0 <EOT>"},
        {u"a{2}{3}", "", "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Match '{3}'; 4>0 <EOT>"},
        {u"a+++", "",
         "1>2 Match 'a'; 2>3 Split -> 4 Possessive; 3>2 Match 'a'; 4>5 Match '+'; 5>0 <EOT>"},
        {u"(?=a)*", "", "1>2 Look Ahead -> 4; 2>3 Match '*'; 3>0 <EOT>; 4>5 Match 'a'; 5>0 <NULL>"},
        {u"(?(1)a)*", "",
         "1>2 Split -> 4; 2>3 Assert Token #1 Fail -> 1; 3>1 Match 'a'; 4>0 <EOT>"},
        {u"(?:){5}b", "", "1>2 Match 'b'; 2>0 <EOT>"},
        {u"(?:a{0}){5}b", "", "1>2 Match 'b'; 2>0 <EOT>"},
        {u"x{", "", "1>2 Match 'x{'; 2>0 <EOT>", "1: Unmatched '{'.\n"},
        {u"a{3,2}", "", "1>2 Match 'a{3,2}'; 2>0 <EOT>",
         "1: Invalid pattern for '{}' quantifier specified.\n"},
        {u"a{,3}", "", "1>2 Match 'a{,3}'; 2>0 <EOT>",
         "1: Invalid pattern for '{}' quantifier specified.\n"},
        {u"a{2", "", "1>2 Match 'a{2'; 2>0 <EOT>", "1: Unmatched '{'.\n"},
        {u"a{99999999999999999999}", "", "1>2 Match 'a{99999999999999999999}'; 2>0 <EOT>",
         "1: Invalid pattern for '{}' quantifier specified.\n"},
        {u"a{ 2}", "", "1>2 Match 'a{ 2}'; 2>0 <EOT>",
         "1: Invalid pattern for '{}' quantifier specified.\n"},
        {u"a{ 2 , 3 } ? b", "x",
         "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Split -> 5; 4>5 Match 'a'; 5>6 Match '?b'; 6>0 <EOT>"},
        {u"a #c\n{2}b", "x", "1>2 Match 'a'; 2>3 Match 'a'; 3>4 Match 'b'; 4>0 <EOT>"},
        {u"a #c\n*b", "x", "1>2 Split -> 3; 2>1 Match 'a'; 3>4 Match 'b'; 4>0 <EOT>"},
        {u"a{*", "", "1>2 Match 'a'; 2>3 Split -> 4; 3>2 Match '{'; 4>0 <EOT>",
         "1: Unmatched '{'.\n"},
        {u"a{{2}", "", "1>2 Match 'a'; 2>3 Match '{'; 3>4 Match '{'; 4>0 <EOT>",
         "1: Invalid pattern for '{}' quantifier specified.\n"},
    });
}

TEST(Parser, Sets) {
    check({
        {u"[ab]", "", "1>2 Match 'a' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match 'b'"},
        {u"[a-kq]", "i",
         "1>2 Match [a-k] ignoring case Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match 'q' "
         "ignoring case"},
        {u"[a-z]", "i", "1>2 Match [a-z] ignoring case; 2>3 Consume 3; 3>0 <EOT>"},
        {u"[^ab]", "",
         "1>0 Match 'a' Fail -> 2; 2>0 Match 'b' Fail -> 3; 3>4 Consume 4; 4>0 <EOT>"},
        {u"[]a]", "", "1>2 Match [1-0]; 2>3 Consume 3; 3>4 Match 'a]'; 4>0 <EOT>"},
        {u"[^]", "", "1>2 Consume 2; 2>0 <EOT>"},
        {u"[a-]", "", "1>2 Match 'a' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-'",
         "2: Unbound range.\n"},
        {u"[-a]", "", "1>2 Match '-' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match 'a'"},
        {u"[^-]", "", "1>0 Match '-' Fail -> 2; 2>3 Consume 3; 3>0 <EOT>"},
        {u"[a-c-e]", "",
         "1>2 Match [a-c] Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-' Fail -> 5; 5>2 Match "
         "'e'"},
        {u"[a--]", "", "1>2 Match [a--]; 2>3 Consume 3; 3>0 <EOT>"},
        {u"[z-a]", "", "1>2 Match [z-a]; 2>3 Consume 3; 3>0 <EOT>"},
        {u"[\\d-z]", "",
         "1>2 Match \\d Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-' Fail -> 5; 5>2 Match "
         "'z'"},
        {u"[a-\\dx]", "",
         "1>2 Match 'a' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-' Fail -> 5; 5>2 Match "
         "\\d Fail -> 6; 6>2 Match 'x'"},
        {u"[a-\\d-z]", "",
         "1>2 Match 'a' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-' Fail -> 5; 5>2 Match "
         "\\d Fail -> 6; 6>2 Match '-' Fail -> 7; 7>2 Match 'z'"},
        {u"[\\x41-\\x{43}]", "", "1>2 Match [A-C]; 2>3 Consume 3; 3>0 <EOT>"},
        {u"[$.^(?]", "",
         "1>2 Match '$' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '.' Fail -> 5; 5>2 Match "
         "'^' Fail -> 6; 6>2 Match '(' Fail -> 7; 7>2 Match '?'"},
        {u"[\\]\\-\\[]", "",
         "1>2 Match ']' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-' Fail -> 5; 5>2 Match "
         "'['"},
        {u"[\\.\\\\]", "", "1>2 Match '.' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '\\'",
         "2: Escaped character '.' is treated literally in this context.\n4: Escaped character "
         "'\\' is treated literally in this context.\n"},
        {u"[\\<\\1\\k\\b]", "",
         "1>2 Match '<' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '1' Fail -> 5; 5>2 Match "
         "'k' Fail -> 6; 6>2 Match ''",
         "1: Word breaks ('\\<' and '\\>') are treated literally in a set.\n4: Escaped character "
         "'1' is treated literally in this context.\n6: Escaped character 'k' is treated literally "
         "in this context.\n"},
        {u"[\\x{}a]", "", "1>2 Match 'a'; 2>3 Consume 3; 3>0 <EOT>",
         "3: Braced expression does not evaluate to a character.\n"},
        {u"[a-\\x{}b]", "",
         "1>2 Match 'a' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-' Fail -> 5; 5>2 Match "
         "'b'",
         "5: Braced expression does not evaluate to a character.\n"},
        {u"[\\d-]", "", "1>2 Match \\d Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match '-'",
         "3: Unbound range.\n"},
        {u"[a #]", "x",
         "1>2 Match 'a' Fail -> 4; 2>3 Consume 3; 3>0 <EOT>; 4>2 Match ' ' Fail -> 5; 5>2 Match "
         "'#'"},
        {u"[a|b(]c", "",
         "1>2 Match 'a' Fail -> 5; 2>3 Consume 3; 3>4 Match 'c'; 4>0 <EOT>; 5>2 Match '|' Fail -> "
         "6; 6>2 Match 'b' Fail -> 7; 7>2 Match '('"},
        {u"[a\\]b", "", "1>2 Match '[a]b'; 2>0 <EOT>", "0: Unmatched '['.\n"},
        {u"a[b", "", "1>2 Match 'a[b'; 2>0 <EOT>", "1: Unmatched '['.\n"},
    });
}

TEST(Parser, Escapes) {
    check({
        {u"\\101\\o101\\x41\\x{41}\\o{101}", "",
         "1>2 Match Token #1; 2>3 Match '01AAAA'; 3>0 <EOT>"},
        {u"\\.\\*\\(\\\\\\-", "", "1>2 Match '.*(\\-'; 2>0 <EOT>"},
        {u"\\d\\D\\w\\W\\s\\S", "",
         "1>2 Match \\d; 2>3 Consume 3; 3>4 Match \\D; 4>5 Consume 5; 5>6 Match \\w; 6>7 Consume "
         "7; 7>8 Match \\W; 8>9 Consume 9; 9>a Match \\s; a>b Consume b; b>c Match \\S; c>d "
         "Consume d; d>0 <EOT>"},
        {u"\\<\\>", "", "1>2 Match start of word; 2>3 Match end of word; 3>0 <EOT>"},
        {u"(a)\\1\\12", "",
         "1>2 Start Token #1; 2>3 Match 'a'; 3>4 End Token #1; 4>5 Match Token #1; 5>6 Match Token "
         "#1; 6>7 Match '2'; 7>0 <EOT>"},
        {u"\\9", "", "1>2 Match Token #9; 2>0 <EOT>"},
        {u"\\k<n>", "", "1>2 Match Token n; 2>0 <EOT>"},
        {u"\\k<1>b", "", "1>2 Match 'k<1>b'; 2>0 <EOT>",
         "0: Invalid named token backreference.\n1: Escaped character 'k' is treated literally in "
         "this context.\n"},
        {u"\\k", "", "1>2 Match 'k'; 2>0 <EOT>",
         "0: Invalid named token backreference.\n1: Escaped character 'k' is treated literally in "
         "this context.\n"},
        {u"\\q\\\"*", "", "1>2 Match 'q'; 2>3 Split -> 4; 3>2 Match '\"'; 4>0 <EOT>",
         "1: Escaped character 'q' is treated literally in this context.\n3: Escaped character "
         "'\"' is treated literally in this context.\n"},
        {u"\\x{110000}b", "", "1>2 Match 'b'; 2>0 <EOT>",
         "2: Braced expression is too long to evaluate to a character.\n"},
        {u"\\x{}*b", "", "1>2 Match 'b'; 2>0 <EOT>",
         "2: Braced expression does not evaluate to a character.\n"},
        {u"\\o{8}c", "", "1>2 Match 'c'; 2>0 <EOT>",
         "2: Braced expression does not evaluate to a character.\n"},
        {u"\\x{41", "", "1>2 Match 'x{41'; 2>0 <EOT>",
         "1: Escaped character 'x' is treated literally in this context.\n2: Unmatched '{'.\n"},
        {u"\\xg\\o8", "", "1>2 Match 'xgo8'; 2>0 <EOT>",
         "1: Escaped character 'x' is treated literally in this context.\n4: Escaped character 'o' "
         "is treated literally in this context.\n"},
        {u"\\x #c\n41", "x", "1>2 Match 'A'; 2>0 <EOT>"},
        {u"\\x{ 41 }", "x", "1>2 Match 'A'; 2>0 <EOT>"},
        {u"a\\", "", "1>2 Match 'a\\'; 2>0 <EOT>",
         "1: Backslash at end of pattern is treated literally.\n"},
        {u"(a)\\1", "i",
         "1>2 Start Token #1; 2>3 Match 'a' ignoring case; 3>4 End Token #1; 4>5 Match Token #1; "
         "5>0 <EOT>"},
    });
}

TEST(Parser, Groups) {
    check({
        {u"(a(b))(c)", "",
         "1>2 Start Token #1; 2>3 Match 'a'; 3>4 Match 'b'; 4>5 End Token #1; 5>6 Start Token #2; "
         "6>7 Match 'c'; 7>8 End Token #2; 8>0 <EOT>"},
        {u"(?<n>a)(?<n>b)\\k<n>", "",
         "1>2 Start Token #1; 2>3 Match 'a'; 3>4 End Token #1; 4>5 Start Token #2; 5>6 Match 'b'; "
         "6>7 End Token #2; 7>8 Match Token n; 8>0 <EOT>"},
        {u"(?<n>x(?<m>y))", "",
         "1>2 Start Token #1; 2>3 Match 'x'; 3>4 Match 'y'; 4>5 End Token #1; 5>0 <EOT>",
         "6: Named tokens in nested parentheses are not supported.\n"},
        {u"(?<1>a)*b", "", "1>2 Match 'b'; 2>0 <EOT>", "0: Invalid token name specified.\n"},
        {u"(?<>a)", "", "1>0 <EOT>", "0: Invalid token name specified.\n"},
        {u"(?>ab|c)+", "",
         "1>2 Atomic group -> 4; 2>3 Split -> 7; 3>2 Atomic group -> 8; 4>5 Split -> b; 5>6 Match "
         "'ab'; 6>0 <NULL>; 7>0 <EOT>; 8>9 Split -> c; 9>a Match 'ab'; a>0 <NULL>; b>6 Match 'c'; "
         "c>a Match 'c'"},
        {u"(?=a)b", "", "1>2 Look Ahead -> 4; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Match 'a'; 5>0 <NULL>"},
        {u"(?!a|b)c", "",
         "1>0 Look Ahead -> 4 Fail -> 2; 2>3 Match 'c'; 3>0 <EOT>; 4>5 Split -> 7; 5>6 Match 'a'; "
         "6>0 <NULL>; 7>6 Match 'b'"},
        {u"(?<!a)b", "",
         "1>0 Look Behind -> 4 Fail -> 2; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Match 'a'; 5>0 <NULL>"},
        {u"(?<=a*)b", "",
         "1>2 Look Behind -> 4; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Split -> 6; 5>4 Match 'a'; 6>0 "
         "<NULL>",
         "0: Lookbehind assertion of unbound length takes exponential time to solve.\n"},
        {u"(?<=a{2,3})b", "",
         "1>2 Look Behind -> 4; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Match 'a'; 5>6 Match 'a'; 6>7 Split "
         "-> 8; 7>8 Match 'a'; 8>0 <NULL>"},
        {u"(?<=^*\\1(?=a*))b", "",
         "1>2 Look Behind -> 4; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Split -> 6; 5>4 Match start of "
         "string; 6>7 Match Token #1; 7>8 Look Ahead -> 9; 8>0 <NULL>; 9>a Split -> b; a>9 Match "
         "'a'; b>0 <NULL>"},
        {u"(?<=[)b", "",
         "1>2 Look Behind -> 4; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Match '['; 5>0 <NULL>",
         "4: Unmatched '['.\n"},
        {u"(a|b", "", "1>2 Split -> 4; 2>3 <NULL>; 3>0 <EOT>; 4>3 Match 'b'",
         "0: Unmatched '('.\n"},
        {u"a(b|c", "", "1>2 Split -> 4; 2>3 Match 'a'; 3>0 <EOT>; 4>3 Match 'c'",
         "1: Unmatched '('.\n"},
        {u"a)b]c}", "", "1>2 Match 'a)b]c}'; 2>0 <EOT>"},
    });
}

TEST(Parser, Conditions) {
    check({
        {u"(?(1)a|b)c", "",
         "1>2 Assert Token #1 Fail -> 5; 2>3 Match 'a'; 3>4 Match 'c'; 4>0 <EOT>; 5>3 Match 'b'"},
        {u"(?(n)a)b", "", "1>2 Assert Token n Fail -> 3; 2>3 Match 'a'; 3>4 Match 'b'; 4>0 <EOT>"},
        {u"(?(1)|b)c", "",
         "1>2 Assert Token #1 Fail -> 4; 2>3 Match 'c'; 3>0 <EOT>; 4>2 Match 'b'"},
        {u"(?(1)a|b|c)", "",
         "1>2 Assert Token #1 Fail -> 4; 2>3 Match 'a'; 3>0 <EOT>; 4>5 Split -> 6; 5>3 Match 'b'; "
         "6>3 Match 'c'"},
        {u"(?(?=a)b|c)d", "",
         "1>2 Look Ahead -> 6 Fail -> 5; 2>3 Match 'b'; 3>4 Match 'd'; 4>0 <EOT>; 5>3 Match 'c'; "
         "6>7 Match 'a'; 7>0 <NULL>"},
        {u"(?(?!a)b|c)d", "",
         "1>2 Look Ahead -> 6 Fail -> 5; 2>3 Match 'c'; 3>4 Match 'd'; 4>0 <EOT>; 5>3 Match 'b'; "
         "6>7 Match 'a'; 7>0 <NULL>"},
        {u"(?(?<=a+)b)", "",
         "1>2 Look Behind -> 4 Fail -> 3; 2>3 Match 'b'; 3>0 <EOT>; 4>5 Match 'a'; 5>6 Split -> 7; "
         "6>5 Match 'a'; 7>0 <NULL>",
         "2: Lookbehind assertion of unbound length takes exponential time to solve.\n"},
        {u"(?(?@x)a|b)", "e",
         "1>2 Parse, evaluate and assert:x Fail -> 4; 2>3 Match 'a'; 3>0 <EOT>; 4>3 Match 'b'"},
        {u"(?(?@x)a|b)*c", "", "1>2 Match 'c'; 2>0 <EOT>", "2: Evaluation is disabled\n"},
        {u"(?(0)a)c", "", "1>2 Match 'c'; 2>0 <EOT>",
         "2: Invalid condition specified for if construct.\n"},
        {u"(?()a)+c", "", "1>2 Match 'c'; 2>0 <EOT>",
         "2: Invalid condition specified for if construct.\n"},
        {u"(?(a b)c)d", "", "1>2 Match 'd'; 2>0 <EOT>",
         "2: Invalid condition specified for if construct.\n"},
        {u"(?(1", "", "1>0 <EOT>",
         "0: Unmatched '('.\n2: No condition specified for if construct.\n"},
        {u"(?(99999999999999999999999)a)", "",
         "1>2 Assert Token #18446744073709551615 Fail -> 3; 2>3 Match 'a'; 3>0 <EOT>"},
    });
}

TEST(Parser, Modes) {
    check({
        {u"(?i)a|b", "", "1>2 Split -> 4; 2>3 Match 'a' ignoring case; 3>0 <EOT>; 4>3 Match 'b'"},
        {u"(?i:a|b)c", "",
         "1>2 Split -> 5; 2>3 Match 'a' ignoring case; 3>4 Match 'c'; 4>0 <EOT>; 5>3 Match 'b' "
         "ignoring case"},
        {u"(?-i)a(?i)b", "i", "1>2 Match 'a'; 2>3 Match 'b' ignoring case; 3>0 <EOT>"},
        {u"(?i-s:a)*", "", "1>2 Split -> 3; 2>1 Match 'a' ignoring case; 3>0 <EOT>"},
        {u"(?i)*a", "", "1>2 Match '*a' ignoring case; 2>0 <EOT>"},
        {u"(?i-)a", "", "1>2 Match 'a' ignoring case; 2>0 <EOT>"},
        {u"(?-)a", "", "1>2 Match 'a'; 2>0 <EOT>", "0: Unknown extended regular expression.\n"},
        {u"(?q)*a", "", "1>2 Match 'a'; 2>0 <EOT>", "0: Unknown extended regular expression.\n"},
        {u"(?iq)*a", "", "1>2 Match '*a'; 2>0 <EOT>", "3: Unknown mode flag.\n"},
        {u"(?iq:abc)*d", "", "1>2 Match '*d'; 2>0 <EOT>", "3: Unknown mode flag.\n"},
        {u"(?i-s-m)a", "", "1>2 Match 'a'; 2>0 <EOT>",
         "5: Mode flag negation may only be specified once.\n"},
        {u"(?)b", "", "1>2 Match 'b'; 2>0 <EOT>", "0: Unknown extended regular expression.\n"},
        {u"a(?s).|.", "",
         "1>2 Split -> 5; 2>3 Match 'a'; 3>4 Match . (dotall); 4>0 <EOT>; 5>4 Match . "
         "(dotexceptnewline)"},
    });
}

TEST(Parser, DynamicParts) {
    check({
        {u"(?@a(b))(??c*)(??@d)+", "e",
         "1>2 Evaluate and discard: a(b); 2>3 Parse and match: c*; 3>4 Parse, evaluate and "
         "match:d; 4>5 Split -> 6; 5>4 Parse, evaluate and match:d; 6>0 <EOT>"},
        {u"(?@x)*b(??y)", "", "1>2 Match 'b'; 2>3 Parse and match: y; 3>0 <EOT>",
         "0: Evaluation is disabled\n"},
        {u"(??@x)", "", "1>0 <EOT>", "0: Evaluation is disabled\n"},
    });
}

TEST(Parser, FreeSpacing) {
    check({
        {u" a b # c|d(e\nf", "x", "1>2 Match 'abf'; 2>0 <EOT>"},
        {u"( # )\na)", "x", "1>2 Start Token #1; 2>3 Match 'a'; 3>4 End Token #1; 4>0 <EOT>"},
        {u"(?# # )b", "x", "1>2 Match 'b'; 2>0 <EOT>"},
        {u"a [b #]", "x",
         "1>2 Match 'a'; 2>3 Match 'b' Fail -> 5; 3>4 Consume 4; 4>0 <EOT>; 5>3 Match ' ' Fail -> "
         "6; 6>3 Match '#'"},
        {u"(?-x:# )", "x", "1>0 <EOT>", "0: Unmatched '('.\n"},
        {u"a * ? b", "x", "1>2 Split -> 3; 2>1 Match 'a'; 3>4 Match '?b'; 4>0 <EOT>"},
    });
}

// The text of the only RE_String of a pattern.
std::u16string string_of(const Parsed& parsed) {
    for (const auto& node : parsed.pattern->nodes) {
        if (node->kind != NodeKind::string) continue;
        const auto& string = static_cast<const RE_String&>(*node);
        return {string.text, string.length};
    }
    return u"(none)";
}

TEST(Parser, CodesOfEscapes) {
    using namespace std::literals;
    EXPECT_EQ(string_of(parse_text(u"\\a\\b\\f\\n\\r\\t\\v")), u"\7\10\14\n\r\t\13");
    EXPECT_EQ(string_of(parse_text(u"\\0\\01\\0123\\o1012\\x414\\x{1F600}")),
              u"\0\1\n3A2A4\U0001F600"sv);
    EXPECT_EQ(string_of(parse_text(u"\\q\\\U0001F600")), u"q\U0001F600");
    EXPECT_EQ(parse_text(std::u16string_view(u"\\\0", 2)).warnings,
              "1: Escaped character ' ' is treated literally in this context.\n");
    EXPECT_EQ(parse_text(u"a\\\U0001F600").warnings,
              "2: Escaped character '\U0001F600' is treated literally in this context.\n");
}

TEST(Parser, Surrogates) {
    const char16_t high[] = {0xD83D, 0};
    const char16_t low[] = {0xDE00, 0};
    const std::u16string pair = std::u16string(high) + low;
    check({
        {pair + u"+", "", "1>2 Match '😀'; 2>3 Split -> 4; 3>2 Match '😀'; 4>0 <EOT>"},
        {u"[" + pair + u"-\\x{1F602}]", "", "1>2 Match [😀-😂]; 2>3 Consume 3; 3>0 <EOT>"},
    });
    // Two characters that must not become one.
    const Parsed apart = parse_text(u"a\\x{D83D}\\x{DE00}b");
    EXPECT_EQ(apart.listing,
              "1>2 Match 'a'; 2>3 Match '\uFFFD'; 3>4 Match '\uFFFD'; "
              "4>5 Match 'b'; 5>0 <EOT>");
    const Parsed comment = parse_text(std::u16string(high) + u"(?#)" + low);
    EXPECT_EQ(comment.pattern->nodes.size(), 3U);
}

TEST(Parser, Names) {
    const Parsed parsed = parse_text(u"(?<größe_1>a)(b)(?<_>c)(?<größe_1>d)\\k<größe_1>");
    EXPECT_EQ(parsed.warnings, "");
    const auto& names = parsed.pattern->names;
    ASSERT_EQ(names.size(), 4U);
    EXPECT_EQ(names[0], std::u16string_view(u"größe_1"));
    EXPECT_EQ(names[1], nullptr);
    EXPECT_EQ(names[2], std::u16string_view(u"_"));
    const TokenNames index(names.data(), names.size());
    EXPECT_THAT(index.tokens(), testing::ElementsAre(3, 1, 4));
    const auto run = [&](const char16_t* name) {
        const TokenNames::Run found = index.find(name);
        return std::pair(found.first, found.count);
    };
    EXPECT_EQ(run(u"größe_1"), std::pair(size_t{1}, size_t{2}));
    EXPECT_EQ(run(u"_").second, 1U);
    EXPECT_EQ(run(u"größe").second, 0U);
    EXPECT_EQ(run(u"größe_12").second, 0U);
}

TEST(Parser, TokenNumbers) {
    // Digits that lead beyond the tokens defined so far are literals.
    std::u16string ten;
    for (int i = 0; i < 10; ++i) ten += u"(a)";
    const auto end_of = [&](std::u16string_view tail) {
        const std::string listing = parse_text(ten + std::u16string(tail)).listing;
        return listing.substr(listing.find("1f>20"));
    };
    EXPECT_EQ(end_of(u"\\10"), "1f>20 Match Token #10; 20>0 <EOT>");
    EXPECT_EQ(end_of(u"\\100"), "1f>20 Match Token #10; 20>21 Match '0'; 21>0 <EOT>");
    EXPECT_EQ(end_of(u"\\11"), "1f>20 Match Token #1; 20>21 Match '1'; 21>0 <EOT>");
    EXPECT_EQ(end_of(u"\\99999999999999999999999"),
              "1f>20 Match Token #9; 20>21 Match '9999999999999999999999'; 21>0 <EOT>");
}

// Where each node's construct stands: a copy's where the atom does, a loop's at its quantifier.
TEST(Parser, Positions) {
    const Parsed parsed = parse_text(u"xy(a|b)+[c-e]{3}+z");
    std::string positions;
    for (const RE_Node* node : number_nodes(*parsed.pattern)) {
        positions += std::to_string(node->position) + " ";
    }
    EXPECT_EQ(positions, "0 2 3 3 6 7 2 3 3 6 5 13 13 9 8 5 17 18 ");
}

TEST(Parser, AmbiguousRange) {
    check({{u"[A-z]", "i", "1>2 Match [A-z] ignoring case (ambiguous); 2>3 Consume 3; 3>0 <EOT>"}});
}

TEST(Parser, RepeatedModeFlag) {
    for (const auto& [pattern, position] : std::vector<std::pair<std::u16string_view, size_t>>{
             {u"(?ii)", 3}, {u"a(?i-si)", 6}, {u"(?m:(?xsx:a))", 8}}) {
        try {
            parse_text(pattern);
            ADD_FAILURE() << position;
        } catch (const RE_Exception& error) {
            EXPECT_STREQ(error.what(), "Repeated mode flag.");
            EXPECT_EQ(error.position(), position);
        }
    }
    // What is not read raises nothing.
    EXPECT_EQ(parse_text(u"(?ii").warnings, "0: Unmatched '('.\n");
    EXPECT_EQ(parse_text(u"(?iqi)").warnings, "3: Unknown mode flag.\n");
}

TEST(Parser, GraphsHaveALimit) {
    // 25 doublings, and copies that no counter may take the place of.
    std::u16string doubled = u"a";
    for (int i = 0; i < 25; ++i) doubled.insert(0, u"(?:").append(u")+");
    EXPECT_THROW(parse_text(doubled), RE_Exception);
    // Products that counters hold are no matter, nor are copies of nothing.
    EXPECT_EQ(parse_text(u"(?:(?:a{9999999999}){9999999999}){9999999999}").pattern->nodes.size(),
              8U);
    EXPECT_EQ(parse_text(u"(?:){18446744073709551614}").pattern->nodes.size(), 1U);
}

TEST(Parser, InlineThreshold) {
    const size_t before = RE_Tree::inlineThreshold;
    RE_Tree::inlineThreshold = 6;
    check({
        {u"(?:abc){5}", "",
         "1>2 Match 'abc'; 2>3 Match 'abc'; 3>4 Match 'abc'; 4>5 Match 'abc'; 5>6 Match 'abc'; "
         "6>0 <EOT>"},
        {u"\\d{3}", "",
         "1>2 Start Counter; 2>3 Fixed Counter{3} -> 5; 3>4 Match \\d; "
         "4>2 Consume 2; 5>0 <EOT>"},
    });
    RE_Tree::inlineThreshold = before;
}

TEST(Parser, WithoutEvaluation) {
    qxut_test::WarningCollector collector;
    const std::u16string_view text = u"(?@x)(??y)(?(?@z)a)";
    collector.pattern = text.data();
    ParseOptions options;
    options.flags = RE_EVALUATE;
    options.context = &collector;
    const auto warnings = [&] {
        Pattern pattern;
        collector.warnings.clear();
        parse(text.data(), text.size(), options, pattern);
        EXPECT_TRUE(pattern.has_dynamic_parts);
        return collector.warnings;
    };
    EXPECT_EQ(warnings(), "");
    const char disabled[] = "0: Evaluation is disabled\n12: Evaluation is disabled\n";
    options.suspend_evaluation = true;
    EXPECT_EQ(warnings(), disabled);
    options.suspend_evaluation = false;
    collector.permits = false;
    EXPECT_EQ(warnings(), disabled);
}

// A pattern inside a pattern makes no tokens and sees those around it.
TEST(Parser, InnerPattern) {
    const char16_t* names[] = {u"n", nullptr};
    qxut_test::WarningCollector collector;
    const std::u16string_view text = u"(a)\\12\\2(?<m>b)";
    collector.pattern = text.data();
    ParseOptions options;
    options.context = &collector;
    options.capture = false;
    options.outer = {names, 2};
    Pattern pattern;
    parse(text.data(), text.size(), options, pattern);
    EXPECT_EQ(qxut_test::terse(listing_of(pattern)),
              "1>2 Match 'a'; 2>3 Match Token #1; 3>4 Match '2'; 4>5 Match Token #2; "
              "5>6 Match 'b'; 6>0 <EOT>");
    EXPECT_EQ(pattern.token_count, 0U);
    EXPECT_EQ(collector.warnings, "8: Named tokens in nested parentheses are not supported.\n");
}

}  // namespace
