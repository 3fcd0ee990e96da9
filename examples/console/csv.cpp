// csv.cpp - see csv.h. Tested by tests/console (csv, million rows).
//
// A row is always whole in the buffer: what is left of one at the end is moved to the front
// before more is read. Its line end is overwritten by a NUL, so cells can be cut and numbers
// parsed in place. A line end inside quotes is one with an odd number of quotes before it.
#include "csv.h"

#include <algorithm>
#include <cstring>

#include <qxut/util/contexts.h>

#include "messages.h"

namespace console {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

char* find(char* begin, char* end, char wanted) {
    return static_cast<char*>(std::memchr(begin, wanted, static_cast<size_t>(end - begin)));
}

}  // namespace

void CsvReader::open(const char* path) {
    path_ = path;
    file_.open(path);
    buffer_ = static_cast<char*>(ut_mem_alloc(utGetMemoryContext(), kLongestRow + 1));
    next_ = end_ = buffer_;
    *end_ = '\0';
    fill();
}

void CsvReader::clear() {
    file_.clear();
    ut_mem_free(utGetMemoryContext(), buffer_);
    *this = CsvReader();
}

void CsvReader::rewind() {
    const char* path = path_;
    clear();
    open(path);
}

// Reads on behind the row that begins at next_; false at the end of the file.
bool CsvReader::fill() {
    const auto kept = static_cast<size_t>(end_ - next_);
    if (kept == kLongestRow) raise(Message::csv_row_too_long, path_, row_, kLongestRow);
    std::memmove(buffer_, next_, kept);
    const size_t read = file_.read(buffer_ + kept, kLongestRow - kept);
    next_ = buffer_;
    end_ = buffer_ + kept + read;
    *end_ = '\0';
    return read > 0;
}

// The line end of the row at next_, or the end of the file.
char* CsvReader::find_row_end() {
    size_t searched = 0;
    bool quoted = false;
    for (;;) {
        char* from = next_ + searched;
        char* line_end = find(from, end_, '\n');
        char* to = line_end == nullptr ? end_ : line_end;
        if (find(from, to, '"') != nullptr) quoted ^= std::count(from, to, '"') % 2 != 0;
        if (line_end != nullptr) {
            ++lines_;
            if (!quoted) return line_end;
            ++to;
        }
        searched = static_cast<size_t>(to - next_);
        if (line_end == nullptr && !fill()) return end_;
    }
}

bool CsvReader::next_row() {
    for (;;) {
        row_ = lines_ + 1;
        if (next_ == end_ && !fill()) return false;
        char* line_end = find_row_end();
        char* start = next_;
        next_ = std::min(line_end + 1, end_);
        row_end_ = line_end;
        if (row_end_ > start && row_end_[-1] == '\r') --row_end_;
        *row_end_ = '\0';
        cell_ = start;
        column_ = 0;
        if (row_end_ > start) return true;
    }
}

bool CsvReader::next_number(double* number) {
    char* end = nullptr;
    *number = ut_strtod(utGetFpcContext(), cell_, &end);
    if (end == cell_ || (*end != ',' && end != row_end_)) return false;
    ++column_;
    cell_ = end == row_end_ ? nullptr : end + 1;
    return true;
}

const char* CsvReader::next_cell() {
    if (cell_ == nullptr) return nullptr;
    ++column_;
    while (is_blank(*cell_)) ++cell_;
    if (*cell_ == '"') return quoted_cell();
    char* start = cell_;
    char* comma = find(cell_, row_end_, ',');
    char* end = comma == nullptr ? row_end_ : comma;
    cell_ = comma == nullptr ? nullptr : comma + 1;
    while (end > start && is_blank(end[-1])) --end;
    *end = '\0';
    return start;
}

char* CsvReader::quoted_cell() {
    char* start = cell_;
    char* to = start;
    for (char* from = start + 1;; ++from) {
        char* quote = find(from, row_end_, '"');
        if (quote == nullptr) raise(Message::csv_bad_quote, path_, row_, column_);
        to = std::copy(from, quote, to);
        from = quote + 1;
        if (*from == '"') {
            *to++ = '"';
            continue;
        }
        while (is_blank(*from)) ++from;
        if (from != row_end_ && *from != ',') raise(Message::csv_bad_quote, path_, row_, column_);
        cell_ = from == row_end_ ? nullptr : from + 1;
        *to = '\0';
        return start;
    }
}

}  // namespace console
