// seek_table.cpp - the cursor that a caller's seek table keeps between searches.
//
// Tested by tests/regexp/start_cursor_test.cpp.
#include <memory>
#include <new>

#include "regexp/failure.h"
#include "regexp/start_cursor.h"

struct RE_Seek_Table::Contents : RE_Memory {
    Contents(const qxut::regexp::StartSearch& starts, const char16_t* text, size_t length) noexcept
        : cursor(starts, text, length) {}
    qxut::regexp::StartCursor cursor;
};

RE_Seek_Table::~RE_Seek_Table() { delete contents_; }

void RE_Seek_Table::set_contents(Contents* contents) noexcept {
    if (contents == contents_) return;
    delete contents_;
    contents_ = contents;
}

namespace qxut::regexp {

StartCursor& cursor_in(RE_Seek_Table& table, const StartSearch& starts, const char16_t* text,
                       size_t length) {
    RE_Seek_Table::Contents* const contents = table.contents();
    if (contents == nullptr) {
        table.set_contents(require(new RE_Seek_Table::Contents(starts, text, length)));
    } else if (!contents->cursor.is_for(starts, text, length)) {
        contents->cursor = StartCursor(starts, text, length);
    }
    return table.contents()->cursor;
}

}  // namespace qxut::regexp
