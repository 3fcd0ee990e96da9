// groups.cpp - "group x, y by key": counts, sums and means of vectors, by the values of another.
//
// One pass over the rows: an indexed hash finds the group of a row's key, or makes it, with its
// data - one sum for each vector - zeroed; its index order, that in which the keys first appear, is
// the order of the printed lines. Tested by tests/console (groups).
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include <qxut/util/contexts.h>
#include <qxut/util/ihash.h>
#include <qxut/util/output.h>

#include "guard.h"
#include "lexer.h"
#include "machine.h"
#include "messages.h"
#include "summary.h"

namespace console {
namespace {

constexpr uint64_t kPrinted = 20;  // groups that are printed

// The two kinds of keys in one word. Numbers that are equal have the same one, missing ones too.
uint64_t key_of(const Value& keys, size_t row) {
    if (keys.kind == Kind::text) return keys.texts()[row];
    const double number = keys.numbers()[row];
    if (std::isnan(number))
        return std::bit_cast<uint64_t>(std::numeric_limits<double>::quiet_NaN());
    return std::bit_cast<uint64_t>(number + 0.0);  // -0 + 0 is 0
}

size_t characters(const char* text) {
    return static_cast<size_t>(std::count_if(text, text + std::strlen(text), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;  // not inside a UTF-8 character
    }));
}

void print_blanks(size_t count) {
    for (; count > 0; --count) utPuts(" ");
}

class Groups {
  public:
    // The operands are `count` pairs of a label and a vector, then the label and the vector of
    // the keys, on top of the stack.
    Groups(Machine& machine, size_t count) : machine_(machine), count_(count) {}
    void clear() {
        ut_clear_ihash_table(&table_);
        widths_.clear();
    }

    void collect();
    void print();

  private:
    const char* label(size_t i) const { return text_of(machine_.top(2 * (count_ - i) + 1).text); }
    const Value& vector(size_t i) const { return machine_.top(2 * (count_ - i)); }
    const Value& keys() const { return vector(count_); }

    // Call cell(text) for the cells of the head, of a group's line.
    template <class Cell>
    void head(Cell cell) const;
    template <class Cell>
    void line(uint64_t group, Cell cell) const;

    Machine& machine_;
    size_t count_;
    _ihash_table table_{};
    Array<size_t> widths_;
};

void Groups::collect() {
    for (size_t i = 0; i < count_; ++i) {
        need_numbers(vector(i), "group");
        if (vector(i).count() != keys().count())
            raise(Message::wrong_sizes, "group", vector(i).count(), keys().count());
    }
    // Hash, comparison and copies of plain bytes are what the table does by default.
    ut_initialize_ihash_table(&table_, utGetMemoryContext(), nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, sizeof(uint64_t), sizeof(uint64_t),
                              2 * sizeof(uint64_t), 0, 64, 0.25F, 1.0F, count_ * sizeof(Sum));
    in_blocks(keys().count(), [this](size_t begin, size_t end) {
        for (size_t row = begin; row < end; ++row) {
            const uint64_t key = key_of(keys(), row);
            void* data = nullptr;
            ut_ihash_insert_key(&table_, &key, nullptr, &data);
            for (size_t i = 0; i < count_; ++i) {
                const double number = vector(i).numbers()[row];
                if (!std::isnan(number)) static_cast<Sum*>(data)[i].add(number);
            }
        }
    });
}

template <class Cell>
void Groups::head(Cell cell) const {
    cell(label(count_));
    for (size_t i = 0; i < count_; ++i) {
        for (const char* function : {"count", "sum", "mean"}) {
            char text[64];
            utSNprintf(text, sizeof text, "%s(%s)", function,
                       Excerpt(label(i), std::strlen(label(i))).text);
            cell(text);
        }
    }
}

template <class Cell>
void Groups::line(uint64_t group, Cell cell) const {
    uint64_t key = 0;
    ut_ihash_index(&table_, group, &key, nullptr);
    if (keys().kind == Kind::text) {
        cell(text_of(static_cast<TextCode>(key)));
    } else {
        cell(NumberText(std::bit_cast<double>(key)).text);
    }
    const auto* sums = static_cast<const Sum*>(ut_ihash_query_data_by_index(&table_, group));
    for (size_t i = 0; i < count_; ++i) {
        char text[24];
        utSNprintf(text, sizeof text, "%zu", sums[i].count());
        cell(text);
        cell(NumberText(sums[i].value()).text);
        cell(NumberText(sums[i].mean()).text);
    }
}

void Groups::print() {
    const uint64_t groups = ut_ihash_num_entries(&table_);
    const uint64_t printed = std::min(groups, kPrinted);
    head([this](const char* text) { widths_.push(characters(text)); });
    const auto all_lines = [&](auto cell, auto line_end) {
        for (uint64_t group = 0; group < printed; ++group) {
            size_t column = 0;
            line(group, [&](const char* text) { cell(column++, text); });
            line_end();
        }
    };
    all_lines(
        [this](size_t column, const char* text) {
            widths_[column] = std::max(widths_[column], characters(text));
        },
        [] {});
    // The key on the left, numbers on the right of their columns.
    const auto print_cell = [this](size_t column, const char* text) {
        const size_t blanks = widths_[column] - characters(text);
        if (column > 0) print_blanks(2 + blanks);
        utPuts(text);
        if (column == 0) print_blanks(blanks);
    };
    size_t column = 0;
    head([&](const char* text) { print_cell(column++, text); });
    utPuts("\n");
    all_lines(print_cell, [] { utPuts("\n"); });
    if (groups > printed) utPrintf("... (%zu)\n", static_cast<size_t>(groups));
}

}  // namespace

void group_operation(Machine& machine, size_t count) {
    Groups groups(machine, count);
    const Guard free_groups(groups);
    groups.collect();
    groups.print();
}

}  // namespace console
