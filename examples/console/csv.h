// csv.h - reads a file of comma-separated values row by row, in constant memory.
//
// Cells may be quoted; a quoted cell may hold commas, line ends and doubled quotes. Rows end in
// LF or CRLF; empty lines are skipped. The file may be in any encoding that is recognised. Blanks
// around a cell that is not quoted do not belong to it. Rows are numbered by the line of the file
// that they begin in, from 1.
#ifndef CONSOLE_CSV_H
#define CONSOLE_CSV_H

#include <cstddef>
#include <cstdint>
#include "text_file.h"

namespace console {

class CsvReader {
  public:
    // A row, with its quotes, is no longer than this, in bytes.
    static constexpr size_t kLongestRow = size_t{256} * 1024;

    // Raises FILE_NOT_FOUND, FILE_UNREADABLE, OUT_OF_MEMORY. The path outlives the reader.
    void open(const char* path);
    // Closes the file and frees the buffer.
    void clear();

    // Starts over with the file's first row; not for a file of unknown size. Raises what open does.
    void rewind();

    // Goes to the next row; false at the end of the file. Raises CSV_ROW_TOO_LONG,
    // FILE_UNREADABLE.
    bool next_row();

    // The next cell of the row as a C string, valid until the next row; null after the last one.
    // Raises CSV_BAD_QUOTE.
    const char* next_cell();

    // If the next cell is simply a number, takes it; otherwise leaves it to next_cell.
    bool next_number(double* number);

    bool at_row_end() const { return cell_ == nullptr; }
    const char* path() const { return path_; }
    size_t row() const { return row_; }        // of the file, from 1
    size_t column() const { return column_; }  // of the cell taken last, from 1

    uint64_t bytes_total() const { return file_.size(); }  // of the file; 0: unknown, a pipe

  private:
    bool fill();
    char* find_row_end();
    char* quoted_cell();

    // buffer: [ rows that were read | current row NUL | next rows ... | NUL ]
    //                                 ^cell_            ^next_          ^end_
    const char* path_ = nullptr;
    TextFile file_;
    char* buffer_ = nullptr;
    char* next_ = nullptr;     // start of the row after the current one
    char* end_ = nullptr;      // end of what was read from the file
    char* cell_ = nullptr;     // start of the next cell; null: the row is used up
    char* row_end_ = nullptr;  // the NUL after the current row
    size_t row_ = 0;
    size_t lines_ = 0;  // that the rows so far span
    size_t column_ = 0;
};

}  // namespace console

#endif
