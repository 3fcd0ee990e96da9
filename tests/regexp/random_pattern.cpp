#include "regexp/random_pattern.h"

#include <utility>
#include <vector>

namespace qxut_test {
namespace {

// What patterns and texts are made of; the first two are in the shared subset.
const std::vector<std::vector<const char16_t*>> kAlphabets = {
    {u"a", u"b", u"a", u"b", u"c"},
    {u"a", u"A", u"k", u"K", u"\u212A", u"1", u" ", u"\n", u"_", u"\U0001F600", u"é", u"b"},
    {u"a", u"A", u"ß", u"\u1E9E", u"s", u"S", u"\u017F", u"σ", u"ς", u"\U00010400", u"\U00010428"},
    {u"a", u"\xD83D", u"\xDE00", u"\U0001F600", u"\U0001F601", u"\n", u"b", u"\uFFFF", u"\x7F"},
    {u"a", u"b", u" ", u"\n", u"_", u"1", u"\u00E9", u"\u0301", u"\u2028", u"-"},
};
constexpr size_t kSharedAlphabets = 2;

}  // namespace

RandomPatterns::Piece& RandomPatterns::Piece::operator+=(const Piece& other) {
    ours += other.ours;
    icus += other.icus;
    is_nullable = is_nullable && other.is_nullable;
    is_bounded = is_bounded && other.is_bounded;
    return *this;
}

RandomPatterns::Piece RandomPatterns::both(const std::u16string& written, bool is_nullable) {
    return {written, written, is_nullable, true};
}

RandomPatterns::Pattern RandomPatterns::make(bool is_shared) {
    is_shared_ = is_shared;
    is_outermost_ = true;
    gives_back_ = false;
    tokens_ = 0;
    alphabet_ = below(is_shared ? kSharedAlphabets : kAlphabets.size());
    // Free spacing would need care in each piece; the table has it.
    flags_ = RE_Flags(below(8));
    if (one_in(2)) flags_ = flags_ & ~RE_IGNORE_CASE;
    const Piece made = alternatives(one_in(3) ? 3 : 2);
    return {made.ours, made.icus, flags_};
}

std::u16string RandomPatterns::text(size_t most_characters) {
    std::u16string text;
    const size_t count = below(most_characters + 1);
    const bool is_run = one_in(4);  // long repetitions are rare in a mixture
    const char16_t* next = character();
    for (size_t i = 0; i < count; ++i) {
        text += next;
        if (!is_run || one_in(6)) next = character();
    }
    return text;
}

const char16_t* RandomPatterns::character() {
    const auto& alphabet = kAlphabets[alphabet_];
    return alphabet[below(alphabet.size())];
}

RandomPatterns::Piece RandomPatterns::alternatives(int depth) {
    Piece made = sequence(depth);
    while (one_in(3)) {
        const Piece next = sequence(depth);
        made.ours += u"|" + next.ours;
        made.icus += u"|" + next.icus;
        made.is_nullable = made.is_nullable || next.is_nullable;
        made.is_bounded = made.is_bounded && next.is_bounded;
    }
    return made;
}

RandomPatterns::Piece RandomPatterns::sequence(int depth) {
    Piece made = both(u"", true);
    for (size_t count = one_in(8) ? 0 : 1 + below(3); count > 0; --count) made += quantified(depth);
    return made;
}

RandomPatterns::Piece RandomPatterns::quantified(int depth) {
    if (one_in(9)) return anchor();
    if (depth > 0 && one_in(8)) return assertion(depth - 1);
    Piece made = atom(depth);
    if (!one_in(3)) return made;
    if (is_shared_ && made.is_nullable) return made;
    const Piece repeated = quantifier();
    const bool is_nullable = made.is_nullable || repeated.is_nullable;
    made += repeated;
    made.is_nullable = is_nullable;
    return made;
}

RandomPatterns::Piece RandomPatterns::quantifier() {
    Piece made = both(u"", true);
    switch (below(9)) {
        case 0:
        case 1:
            made = both(u"*", true);
            made.is_bounded = false;
            break;
        case 2:
        case 3:
            made = both(u"+", false);
            made.is_bounded = false;
            break;
        case 4:
        case 5:
            made = both(u"?", true);
            break;
        default: {
            const size_t least = is_shared_ ? 1 + below(3) : below(4);
            std::u16string written = u"{" + std::u16string(1, char16_t(u'0' + least));
            if (one_in(2)) {
                written += u",";
                if (one_in(2)) {
                    written += char16_t(u'0' + least + below(3));
                } else {
                    made.is_bounded = false;
                }
            }
            made = {written + u"}", written + u"}", least == 0, made.is_bounded};
            break;
        }
    }
    if (one_in(3)) {
        made.ours += u"?";
        made.icus += u"?";
    } else if (one_in(3) && !gives_back_) {
        made.ours += u"+";
        made.icus += u"+";
    }
    return made;
}

RandomPatterns::Piece RandomPatterns::atom(int depth) {
    switch (below(depth > 0 ? 12 : 7)) {
        case 0:
        case 1:
        case 2:
            return literal();
        case 3:
            return both(u".");
        case 4:
            return set();
        case 5:
            return both(std::u16string(u"\\") + class_letter());
        case 6:
            // The shared subset refers to tokens that are there; others fail.
            if (const size_t known = tokens_ + (is_shared_ ? 0 : 1); known > 0) {
                return both(u"\\" + std::u16string(1, char16_t(u'1' + below(known))), true);
            }
            return literal();
        case 7:
        case 8:
            return extended(depth - 1);
        default:
            return group(depth - 1);
    }
}

RandomPatterns::Piece RandomPatterns::literal() { return both(character()); }

char16_t RandomPatterns::class_letter() { return u"dDsSwW"[below(6)]; }

RandomPatterns::Piece RandomPatterns::set() {
    std::u16string made = one_in(3) ? u"[^" : u"[";
    if (!is_shared_ && one_in(30)) return both(made + u"]");
    for (size_t count = 1 + below(3); count > 0; --count) {
        if (one_in(4)) {
            made += std::u16string(u"\\") + class_letter();
        } else if (one_in(3)) {
            std::u16string first = character();
            std::u16string last = character();
            if (is_shared_ && first > last) std::swap(first, last);
            // Units of pairs sort before U+E000, characters behind it.
            if (is_shared_ && (first.size() > 1 || last.size() > 1)) last = first;
            if (first == u"-" || last == u"-") continue;
            made += first;
            made += u'-';
            made += last;
        } else {
            const std::u16string next = character();
            made += next == u"-" ? u"\\-" : next;
        }
    }
    if (is_shared_ && made.size() < 3) made += u"a";
    return both(made + u"]");
}

RandomPatterns::Piece RandomPatterns::anchor() {
    switch (below(is_shared_ ? 2 : 4)) {
        case 0:
            return {u"^", (flags_ & RE_MULTI_LINE) != 0 ? u"(?<![^\\n])" : u"^", true, true};
        case 1:
            return {u"$", (flags_ & RE_MULTI_LINE) != 0 ? u"(?![^\\n])" : u"\\z", true, true};
        case 2:
            return both(one_in(4) ? u"\\<*" : u"\\<", true);
        default:
            return both(one_in(4) ? u"\\>?" : u"\\>", true);
    }
}

RandomPatterns::Piece RandomPatterns::wrapped(const char16_t* open, Piece inside,
                                              const char16_t* close) {
    inside.ours = open + inside.ours + close;
    inside.icus = open + inside.icus + close;
    return inside;
}

// A group in which no tokens are made.
RandomPatterns::Piece RandomPatterns::group(int depth) {
    const bool was_outermost = is_outermost_;
    is_outermost_ = false;
    const bool makes_token = was_outermost && !one_in(3);
    Piece made = wrapped(makes_token ? u"(" : u"(?:", alternatives(depth), u")");
    is_outermost_ = was_outermost;
    if (makes_token) ++tokens_;
    return made;
}

RandomPatterns::Piece RandomPatterns::extended(int depth) {
    const bool was_outermost = is_outermost_;
    is_outermost_ = false;
    Piece made;
    switch (below(is_shared_ ? 2 : 5)) {
        case 0:
            made = wrapped(gives_back_ ? u"(?:" : u"(?>", alternatives(depth), u")");
            break;
        case 1:
            made = wrapped(one_in(2) ? u"(?i:" : u"(?-i:", alternatives(depth), u")");
            break;
        case 2:
            made = both(one_in(2) ? u"(?i)" : u"(?-i)", true);
            if (one_in(4)) made = both(u"(?#x)", true);
            // No quantifier is read behind it.
            made += literal();
            break;
        default:
            made = condition(depth);
            break;
    }
    is_outermost_ = was_outermost;
    return made;
}

RandomPatterns::Piece RandomPatterns::condition(int depth) {
    static constexpr const char16_t* kLooks[] = {u"?=", u"?!", u"?<=", u"?<!"};
    std::u16string asked = kLooks[below(4)];
    if (one_in(2)) {
        asked = std::u16string(1, char16_t(u'1' + below(3)));
    } else {
        asked += sequence(0).ours;
    }
    Piece made = sequence(depth);
    std::u16string written = u"(?(" + asked + u")" + made.ours;
    bool is_nullable = true;
    if (!one_in(3)) {
        const Piece no = sequence(depth);
        written += u"|" + no.ours;
        is_nullable = made.is_nullable || no.is_nullable;
        made.is_bounded = made.is_bounded && no.is_bounded;
    }
    return {written + u")", u"", is_nullable, made.is_bounded};
}

RandomPatterns::Piece RandomPatterns::assertion(int depth) {
    static constexpr const char16_t* kAhead[] = {u"(?=", u"(?!"};
    static constexpr const char16_t* kBehind[] = {u"(?<=", u"(?<!"};
    const bool was_outermost = is_outermost_;
    const bool gave_back = gives_back_;
    const bool wants_behind = one_in(2);
    is_outermost_ = false;
    gives_back_ = gives_back_ || (is_shared_ && wants_behind);
    Piece inside = alternatives(depth);
    is_outermost_ = was_outermost;
    gives_back_ = gave_back;
    const bool looks_behind = wants_behind && (!is_shared_ || inside.is_bounded);
    Piece made = wrapped((looks_behind ? kBehind : kAhead)[below(2)], inside, u")");
    made.is_nullable = true;
    made.is_bounded = true;
    return made;
}

}  // namespace qxut_test
