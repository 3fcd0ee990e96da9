// notes.cpp - see notes.h. One pass over the pattern's text that knows its brackets, sets, escapes
// and comments; what else there is to parsing is the library's, and its warnings are not repeated
// here. Tested by tests/tools/qxre_test.py.
#include "notes.h"

#include <algorithm>
#include <string>

#include "unicode.h"

namespace qxre {
namespace {

constexpr std::u16string_view kClosers = u")]}";

bool is_digit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool is_blank(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

class Scanner {
  public:
    Scanner(const Pattern& pattern, RE_Flags flags) : text_(pattern.text()) {
        size_t count = 0;
        const char16_t** names = pattern.tree().treeNames(&count);
        for (size_t i = 0; i < count; ++i)
            names_.emplace_back(names[i] == nullptr ? u"" : names[i]);
        levels_.push_back({});
        levels_.back().free_spacing = (flags & RE_FREE_SPACING) != 0;
    }

    std::vector<Remark> scan() {
        while (at_ < text_.size()) step();
        return std::move(notes_);
    }

  private:
    // Of a group that is open, or of the whole pattern.
    struct Level {
        bool free_spacing = false;
        bool spacing_outside = false;  // what an alternative begins with
        bool is_atom = true;           // what a quantifier may follow
        bool sets_flags = false;       // for the rest of the alternative
    };

    bool looking_at(std::u16string_view what) const {
        return text_.substr(at_, what.size()) == what;
    }
    void note(size_t position, const std::string& what) { notes_.push_back({position, what}); }
    void step();
    void escape();
    void set();
    void open();
    void close();
    bool extension();
    void mode_flags();
    void condition();
    bool quantifier();
    void skip_group();
    std::u16string_view name_at(size_t from) const;
    size_t number_at(size_t from, size_t* end) const;
    void check_number(size_t position, size_t number);
    void check_name(size_t position, std::u16string_view name);

    std::u16string_view text_;
    std::vector<std::u16string> names_;  // one a token
    std::vector<Level> levels_;
    std::vector<Remark> notes_;
    size_t at_ = 0;
    size_t tokens_ = 0;      // whose opening parenthesis was passed
    bool has_atom_ = false;  // that a quantifier would bind to
};

void Scanner::step() {
    const char16_t c = text_[at_];
    if (c == u'\\') return escape();
    if (c == u'[') return set();
    if (c == u'(') return open();
    if (c == u')' && levels_.size() > 1) return close();
    if (levels_.back().free_spacing && is_blank(c)) {
        ++at_;
        return;
    }
    if (levels_.back().free_spacing && c == u'#') {
        at_ = std::min(text_.find(u'\n', at_), text_.size());
        return;
    }
    if (c == u'|') {
        Level& level = levels_.back();
        if (level.sets_flags) note(at_, "The flags that were set in front end at this '|'.");
        level.sets_flags = false;
        level.free_spacing = level.spacing_outside;
        has_atom_ = false;
        ++at_;
        return;
    }
    if (quantifier()) return;
    if (kClosers.find(c) != std::u16string_view::npos)
        note(at_,
             std::string("This '") + static_cast<char>(c) + "' closes nothing and is literal.");
    has_atom_ = true;
    take_character(text_, at_);
}

void Scanner::escape() {
    const size_t start = at_;
    at_ += 2;
    has_atom_ = true;
    if (at_ > text_.size()) {
        at_ = text_.size();
        return;
    }
    const char16_t letter = text_[start + 1];
    if (is_digit(letter) && letter != u'0') {
        size_t end = 0;
        size_t number = number_at(start + 1, &end);
        // As the language reads it: digits are taken off until so many tokens were defined.
        for (; number > 9 && number > tokens_; --end) number /= 10;
        at_ = end;
        check_number(start, number);
    } else if (letter == u'k' && at_ < text_.size() && text_[at_] == u'<') {
        const std::u16string_view name = name_at(at_ + 1);
        if (name.empty()) return;
        at_ += name.size() + 2;
        check_name(start, name);
    } else if ((letter == u'x' || letter == u'o') && at_ < text_.size() && text_[at_] == u'{') {
        const size_t end = text_.find(u'}', at_);
        if (end != std::u16string_view::npos) at_ = end + 1;
    }
}

void Scanner::set() {
    size_t end = at_ + 1;
    if (end < text_.size() && text_[end] == u'^') ++end;
    while (end < text_.size() && text_[end] != u']') end += text_[end] == u'\\' ? 2 : 1;
    at_ = end < text_.size() ? end + 1 : at_ + 1;
    has_atom_ = true;
}

void Scanner::open() {
    Level level;
    level.free_spacing = level.spacing_outside = levels_.back().free_spacing;
    if (looking_at(u"(?")) {
        levels_.push_back(level);
        if (extension()) return;
        levels_.pop_back();
        skip_group();
        return;
    }
    if (levels_.size() == 1) {
        ++tokens_;
    } else {
        note(at_, "These parentheses make no token, since they stand inside others.");
    }
    levels_.push_back(level);
    has_atom_ = false;
    ++at_;
}

void Scanner::close() {
    has_atom_ = levels_.back().is_atom;
    levels_.pop_back();
    ++at_;
}

// What follows "(?", its level being the last one. False: the group holds no pattern.
bool Scanner::extension() {
    const auto begins = [this](std::u16string_view what) {
        if (!looking_at(what)) return false;
        at_ += what.size();
        has_atom_ = false;
        return true;
    };
    if (begins(u"(?:") || begins(u"(?>")) return true;
    for (const std::u16string_view around : {u"(?=", u"(?!", u"(?<=", u"(?<!"}) {
        if (!begins(around)) continue;
        levels_.back().is_atom = false;
        return true;
    }
    if (looking_at(u"(?<")) {
        const std::u16string_view name = name_at(at_ + 3);
        if (name.empty()) return false;
        if (levels_.size() == 2) ++tokens_;
        at_ += name.size() + 4;
        has_atom_ = false;
        return true;
    }
    if (looking_at(u"(?(")) {
        condition();
        has_atom_ = false;
        return true;
    }
    if (looking_at(u"(?#") || looking_at(u"(??") || looking_at(u"(?@")) {
        has_atom_ = text_[at_ + 2] != u'#';
        return false;
    }
    mode_flags();
    return true;
}

void Scanner::mode_flags() {
    size_t end = at_ + 2;
    bool sets = true;
    bool spacing = levels_.back().free_spacing;
    for (; end < text_.size() &&
           std::u16string_view(u"ismxe-").find(text_[end]) != std::u16string_view::npos;
         ++end) {
        if (text_[end] == u'-') sets = false;
        if (text_[end] == u'x') spacing = sets;
    }
    has_atom_ = false;
    if (end < text_.size() && text_[end] == u':') {
        levels_.back().free_spacing = levels_.back().spacing_outside = spacing;
        at_ = end + 1;
        return;
    }
    levels_.back().is_atom = false;
    at_ = end;
    if (end >= text_.size() || text_[end] != u')') return;
    Level& outside = levels_[levels_.size() - 2];
    outside.free_spacing = spacing;
    outside.sets_flags = true;
}

// Moves behind the condition; a look-around in it is scanned as a group of its own.
void Scanner::condition() {
    const size_t start = at_ + 3;
    size_t end = 0;
    if (start < text_.size() && is_digit(text_[start])) {
        const size_t number = number_at(start, &end);
        if (end < text_.size() && text_[end] == u')') check_number(start, number);
        at_ = std::min(end + 1, text_.size());
        return;
    }
    if (text_.substr(start, 1) == u"?" && text_.substr(start, 2) != u"?@") {
        at_ += 2;
        open();
        return;
    }
    at_ += 2;
    skip_group();
    const std::u16string_view name = text_.substr(start, at_ - start - 1);
    if (text_.substr(start, 1) != u"?" && at_ > start + 1) check_name(start, name);
}

// Reads a quantifier, or tells that what looks like one is literal.
bool Scanner::quantifier() {
    const char16_t c = text_[at_];
    size_t end = at_ + 1;
    if (c == u'{') {
        while (end < text_.size() &&
               (is_digit(text_[end]) || text_[end] == u',' || is_blank(text_[end])))
            ++end;
        const bool is_one = end > at_ + 1 && end < text_.size() && text_[end] == u'}';
        if (!is_one) return false;  // which the library warns of where an atom is in front
        ++end;
    } else if (c != u'*' && c != u'+' && c != u'?') {
        return false;
    }
    if (!has_atom_) {
        note(at_, std::string("Nothing that could be repeated stands in front of this '") +
                      static_cast<char>(c) + "', which is literal.");
        return false;
    }
    if (end < text_.size() && (text_[end] == u'+' || text_[end] == u'?')) ++end;
    at_ = end;
    has_atom_ = false;
    return true;
}

// Moves behind the group that begins here, whose inside is no pattern.
void Scanner::skip_group() {
    size_t depth = 0;
    for (; at_ < text_.size(); ++at_) {
        if (text_[at_] == u'\\') {
            ++at_;
        } else if (text_[at_] == u'(') {
            ++depth;
        } else if (text_[at_] == u')' && --depth == 0) {
            ++at_;
            return;
        }
    }
    at_ = text_.size();
}

// A name up to its '>'; empty: there is none.
std::u16string_view Scanner::name_at(size_t from) const {
    const size_t end = std::min(text_.find(u'>', from), text_.size());
    return end == text_.size() ? std::u16string_view() : text_.substr(from, end - from);
}

size_t Scanner::number_at(size_t from, size_t* end) const {
    constexpr size_t kMost = SIZE_MAX / 100;
    size_t number = 0;
    for (; from < text_.size() && is_digit(text_[from]); ++from) {
        if (number < kMost) number = 10 * number + static_cast<size_t>(text_[from] - u'0');
    }
    *end = from;
    return number;
}

void Scanner::check_number(size_t position, size_t number) {
    if (number > names_.size()) note(position, "There is no token " + std::to_string(number) + ".");
}

void Scanner::check_name(size_t position, std::u16string_view name) {
    if (std::find(names_.begin(), names_.end(), name) == names_.end())
        note(position, "There is no token \"" + to_utf8(name) + "\".");
}

}  // namespace

std::vector<Remark> find_notes(const Pattern& pattern, RE_Flags flags) {
    return Scanner(pattern, flags).scan();
}

}  // namespace qxre
