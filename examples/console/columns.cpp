// columns.cpp - see columns.h. Tested by tests/console (csv, a million rows).
//
// The rows of a file are counted before they are read, so that the column table can have its size
// from the start and never grows. What cannot be read twice, a pipe, is not counted, and the table
// doubles: its columns then have room for less than twice their rows. A column is made when its
// first cell that is not empty tells what it holds.
#include "columns.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <qxut/util/interrupt.h>
#include <qxut/util/output.h>

#include "array.h"
#include "column_table.h"
#include "commands.h"
#include "csv.h"
#include "guard.h"
#include "lexer.h"
#include "messages.h"

namespace console {
namespace {

struct Column {
    const char* name;
    Kind kind;  // undefined until a cell decides
    size_t missing;
    Vector* vector;  // null until then
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
    void make_table();
    void read_cell(Column& column);
    void decide(Column& column, Kind kind);
    uint32_t rows() const { return table_->rows.num_rows; }
    const char* unused_name(const char* header);
    size_t count(Kind kind);

    CsvReader& reader_;
    const char* file_;  // for messages
    Array<Column> columns_;
    ColumnTable* table_ = nullptr;
};

void Columns::clear() {
    for (const Column& column : columns_) {
        if (column.vector != nullptr) release_vector(column.vector);
    }
    columns_.clear();
    release_column_table(table_);
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

void Columns::make_table() {
    uint64_t rows = 0;
    if (reader_.bytes_total() > 0) {
        while (reader_.next_row()) {
            if (++rows % 1024 == 0) utPollInterrupt(utGetErrorContext());
        }
        reader_.rewind();
        reader_.next_row();  // the header
    }
    // A table grows as soon as its last row is taken, so one more.
    const uint64_t capacity = std::min<uint64_t>(std::max<uint64_t>(rows, 1023) + 1, UINT32_MAX);
    table_ =
        new_column_table(static_cast<uint32_t>(columns_.size()), static_cast<uint32_t>(capacity));
}

// Settles what a column holds and makes it; the cells before were empty. Its zeros are the code of
// the empty text.
void Columns::decide(Column& column, Kind kind) {
    add_column(table_, kind, column.vector);
    column.kind = kind;
    if (kind == Kind::text) {
        column.missing = 0;
    } else {
        std::fill_n(column.vector->numbers(), rows(), std::numeric_limits<double>::quiet_NaN());
    }
}

void Columns::read_cell(Column& column) {
    const uint32_t row = rows();
    double number = 0;
    if (column.kind != Kind::text && reader_.next_number(&number)) {
        if (column.kind == Kind::undefined) decide(column, Kind::number);
        column.vector->numbers()[row] = number;
        return;
    }
    const char* cell = reader_.next_cell();
    if (column.kind == Kind::text) {
        column.vector->texts()[row] = text_code(cell);
        return;
    }
    if (*cell == '\0') {
        if (column.kind == Kind::number)
            column.vector->numbers()[row] = std::numeric_limits<double>::quiet_NaN();
        ++column.missing;
        return;
    }
    // A number in quotes or between blanks, or a text.
    char* end = nullptr;
    number = ut_strtod(utGetFpcContext(), cell, &end);
    if (column.kind == Kind::undefined) decide(column, *end == '\0' ? Kind::number : Kind::text);
    if (column.kind == Kind::text) {
        column.vector->texts()[row] = text_code(cell);
    } else if (*end == '\0') {
        column.vector->numbers()[row] = number;
    } else {
        raise(Message::csv_bad_number, file_, reader_.row(), reader_.column(), column.name,
              Excerpt(cell, std::strlen(cell)).text);
    }
}

void Columns::read_rows() {
    make_table();
    while (reader_.next_row()) {
        utPollInterrupt(utGetErrorContext());
        size_t cells = 0;
        for (; cells < columns_.size() && !reader_.at_row_end(); ++cells)
            read_cell(columns_[cells]);
        for (; !reader_.at_row_end(); ++cells) reader_.next_cell();
        if (cells != columns_.size())
            raise(Message::csv_cell_count, file_, reader_.row(), cells, columns_.size());
        ut_gtable_add_row(&table_->rows);
    }
    for (Column& column : columns_) {
        if (column.kind == Kind::undefined) decide(column, Kind::number);
        column.vector->count = rows();
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
    say(Message::loaded, file_, size_t{rows()}, count(Kind::number), count(Kind::text));
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
