// line_search.cpp - see line_search.h.
//
// Starts are sought in the whole text, so that lines in which nothing can start are passed over
// many units at a time, and each is tried in its line. What the search for starts relies on are
// characters at or near a start, and a match in a line has them in the text too; where it relies on
// more, that the text begins there or that nothing was found before, the search begins anew with
// each line.
//
// Entry point: search_lines. Tested by tests/regexp/line_search_test.cpp, against searches of the
// lines one by one.
#include "regexp/line_search.h"

#include <cstring>

#include "regexp/analysis.h"

namespace qxut::regexp {
namespace {

constexpr char16_t kNewline = u'\n';

// The first newline in [from, length), or `length`. Lines are short, and for short ways nothing
// beats memchr over the bytes; what it finds may be a half of another unit.
size_t find_newline(const char16_t* text, size_t from, size_t length) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text);
    const size_t end = length * sizeof(char16_t);
    for (size_t at = from * sizeof(char16_t); at < end;) {
        const void* const found = std::memchr(bytes + at, kNewline, end - at);
        if (found == nullptr) break;
        at = static_cast<size_t>(static_cast<const unsigned char*>(found) - bytes);
        if (text[at / sizeof(char16_t)] == kNewline) return at / sizeof(char16_t);
        ++at;
    }
    return length;
}
constexpr size_t kUnitsBetweenPolls = 32768;

class Lines {
  public:
    explicit Lines(const SearchRequest& request) : text_(request.text), length_(request.length) {}

    // Makes the line with a place in it the current one; false when it was before.
    bool go_to(size_t place) {
        if (is_there_ && place >= begin_ && place <= end_) return false;
        const size_t least = is_there_ && place > end_ ? end_ + 1 : 0;
        for (begin_ = place; begin_ > least && text_[begin_ - 1] != kNewline;) --begin_;
        end_ = find_newline(text_, place, length_);
        is_there_ = true;
        return true;
    }
    size_t begin() const { return begin_; }
    size_t end() const { return end_; }
    // Where the next line begins; kUnset: there is none.
    size_t next() const { return end_ == length_ ? kUnset : end_ + 1; }

  private:
    const char16_t* text_;
    size_t length_;
    size_t begin_ = 0;
    size_t end_ = 0;
    bool is_there_ = false;
};

// Every character of every line.
bool search_everywhere(const SearchRequest& request, Backtracker& backtracker, Lines& lines) {
    const char16_t* const end = request.text + request.length;
    for (size_t start = request.start;;
         start = static_cast<size_t>(behind_character(request.text + start, end) - request.text)) {
        if (lines.go_to(start)) backtracker.narrow(lines.begin(), lines.end());
        if (backtracker.attempt(start)) return true;
        if (start == request.length) return false;
    }
}

// Where lines begin.
bool search_beginnings(const SearchRequest& request, Backtracker& backtracker, Lines& lines,
                       const SeekPoll& poll) {
    size_t polled = request.start;
    lines.go_to(request.start);
    for (size_t start = request.start == lines.begin() ? request.start : lines.next();
         start != kUnset; start = lines.next()) {
        lines.go_to(start);
        backtracker.narrow(lines.begin(), lines.end());
        if (backtracker.attempt(start)) return true;
        if (start - polled < kUnitsBetweenPolls) continue;
        poll.call(poll.argument);
        polled = start;
    }
    return false;
}

bool find_in_lines(const SearchRequest& request, Backtracker& backtracker, Lines& lines,
                   const SeekPoll& poll) {
    if (request.anchored) {
        lines.go_to(request.start);
        backtracker.narrow(lines.begin(), lines.end());
        return backtracker.attempt(request.start);
    }
    if (request.starts == nullptr || request.plain)
        return search_everywhere(request, backtracker, lines);
    const StartSearch& starts = *request.starts;
    if (starts.way == StartSearch::Way::text_start)
        return search_beginnings(request, backtracker, lines, poll);
    StartCursor own(starts, request.text, request.length);
    StartCursor& cursor = request.table == nullptr
                              ? own
                              : cursor_in(*request.table, starts, request.text, request.length);
    for (size_t start = cursor.first(request.start, poll); start != kUnset;) {
        if (lines.go_to(start)) backtracker.narrow(lines.begin(), lines.end());
        if (backtracker.attempt(start)) return true;
        const size_t after = cursor.after_failure(start, poll);
        // A run of what a match begins with may go on in the next line, where it begins anew.
        const bool leaves = after == kUnset || after > lines.end();
        if (leaves && starts.begins_with_run && lines.next() != kUnset) {
            start = cursor.first(lines.next(), poll);
        } else {
            start = after;
        }
    }
    return false;
}

}  // namespace

bool search_lines(SearchRequest& request, Backtracker& backtracker, const SeekPoll& poll) {
    Lines lines(request);
    if (!find_in_lines(request, backtracker, lines, poll)) return false;
    request.line_start = lines.begin();
    request.line_end = lines.end();
    return true;
}

}  // namespace qxut::regexp
