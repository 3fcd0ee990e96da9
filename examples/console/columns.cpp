// columns.cpp - see columns.h. Tested by tests/console (csv, million rows).
//
// A column is one vector of 8-byte elements that grows while rows come in. It grows towards the
// length that the bytes read so far let expect, but at least by a quarter and never to twice what
// it holds: so all columns together take less than twice what they need in the end, and copying
// stays proportional to the number of rows. At the end they are cut to their length.
#include "columns.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <qxut/util/interrupt.h>
#include <qxut/util/output.h>

#include "array.h"
#include "commands.h"
#include "csv.h"
#include "guard.h"
#include "lexer.h"
#include "messages.h"

namespace console {
namespace {

struct Column {
    const char* name;
    Kind kind;  // undefined until a cell decides; elements are then NaN
    size_t missing;
    Vector* vector;
    Value* place;
};

class Columns {
  public:
    Columns(CsvReader& reader, const char* file) : reader_(reader), file_(file) {}

    void read_header();
    void read_rows();
    void make_variables(Symbols& symbols);
    void clear();

  private:
    void grow();
    void read_cell(Column& column);
    void decide(Column& column, Kind kind);
    const char* unused_name(const char* header);
    size_t count(Kind kind);

    CsvReader& reader_;
    const char* file_;  // for messages
    Array<Column> columns_;
    size_t rows_ = 0;
    size_t capacity_ = 0;
};

void Columns::clear() {
    for (Column& column : columns_) ut_mem_free(utGetMemoryContext(), column.vector);
    columns_.clear();
}

// A name for a column: what cannot stand in a name becomes "_", and a number is added to what the
// console or another column has taken.
const char* Columns::unused_name(const char* header) {
    char name[256];
    size_t length = 0;
    if (!is_name_start(*header)) name[length++] = '_';
    for (; *header != '\0' && length < 200; ++header)
        name[length++] = is_name_part(*header) ? *header : '_';
    name[length] = '\0';
    const auto taken = [this](const char* canonical) {
        return is_command(canonical) ||
               std::any_of(columns_.begin(), columns_.end(),
                           [canonical](const Column& column) { return column.name == canonical; });
    };
    const char* canonical = intern(name);
    for (size_t number = columns_.size() + 1; taken(canonical); ++number) {
        utSNprintf(name + length, sizeof name - length, "_%zu", number);
        canonical = intern(name);
    }
    return canonical;
}

void Columns::read_header() {
    if (!reader_.next_row()) raise(Message::csv_empty, file_);
    while (const char* header = reader_.next_cell()) {
        columns_.push({unused_name(header), Kind::undefined, 0, nullptr, nullptr});
    }
}

void Columns::grow() {
    double expected = 0;
    if (reader_.bytes_total() > 0 && rows_ > 0) {
        expected = 1.01 * static_cast<double>(rows_) * static_cast<double>(reader_.bytes_total()) /
                   static_cast<double>(reader_.bytes_read());
    }
    const size_t least = rows_ + rows_ / 4 + 1024;
    const size_t most = 2 * rows_ + 1024;
    const double bounded = std::min(expected, static_cast<double>(most));
    const size_t capacity = std::max(least, static_cast<size_t>(bounded));
    for (Column& column : columns_) {
        const bool is_new = column.vector == nullptr;
        column.vector = resize_vector(column.vector, capacity);
        if (is_new) column.vector->references = 1;
    }
    capacity_ = capacity;
}

// Settles what a column holds; the cells before were empty.
void Columns::decide(Column& column, Kind kind) {
    column.kind = kind;
    if (kind == Kind::text) {
        std::fill_n(column.vector->texts(), rows_, intern(""));
        column.missing = 0;
    }
}

void Columns::read_cell(Column& column) {
    double number = 0;
    if (column.kind != Kind::text && reader_.next_number(&number)) {
        column.kind = Kind::number;
        column.vector->numbers()[rows_] = number;
        return;
    }
    const char* cell = reader_.next_cell();
    if (column.kind == Kind::text) {
        column.vector->texts()[rows_] = intern(cell);
        return;
    }
    if (*cell == '\0') {
        column.vector->numbers()[rows_] = std::numeric_limits<double>::quiet_NaN();
        ++column.missing;
        return;
    }
    // A number in quotes or between blanks, or a text.
    char* end = nullptr;
    number = ut_strtod(utGetFpcContext(), cell, &end);
    if (*end == '\0') {
        column.kind = Kind::number;
        column.vector->numbers()[rows_] = number;
    } else if (column.kind == Kind::undefined) {
        decide(column, Kind::text);
        column.vector->texts()[rows_] = intern(cell);
    } else {
        raise(Message::csv_bad_number, file_, reader_.row(), reader_.column(), column.name,
              Excerpt(cell, std::strlen(cell)).text);
    }
}

void Columns::read_rows() {
    grow();
    while (reader_.next_row()) {
        utPollInterrupt(utGetErrorContext());
        if (rows_ == capacity_) grow();
        size_t cells = 0;
        for (; cells < columns_.size() && !reader_.at_row_end(); ++cells)
            read_cell(columns_[cells]);
        for (; !reader_.at_row_end(); ++cells) reader_.next_cell();
        if (cells != columns_.size())
            raise(Message::csv_cell_count, file_, reader_.row(), cells, columns_.size());
        ++rows_;
    }
    for (Column& column : columns_) {
        column.vector = resize_vector(column.vector, rows_);
        if (column.kind == Kind::undefined) column.kind = Kind::number;
    }
}

size_t Columns::count(Kind kind) {
    return static_cast<size_t>(
        std::count_if(columns_.begin(), columns_.end(),
                      [kind](const Column& column) { return column.kind == kind; }));
}

void Columns::make_variables(Symbols& symbols) {
    for (const Column& column : columns_) {
        if (column.missing > 0) warn(Message::missing_cells, file_, column.name, column.missing);
    }
    for (Column& column : columns_) column.place = symbols.place(column.name);
    for (Column& column : columns_) {
        column.place->clear();
        *column.place = Value::of(column.kind, column.vector);
        column.vector = nullptr;
    }
    say(Message::loaded, file_, rows_, count(Kind::number), count(Kind::text));
}

}  // namespace

void load_columns(const char* path, const char* name, Symbols& symbols) {
    CsvReader reader;
    const Guard close_reader(reader);
    reader.open(path);
    Columns columns(reader, name);
    const Guard free_columns(columns);
    columns.read_header();
    columns.read_rows();
    columns.make_variables(symbols);
}

}  // namespace console
