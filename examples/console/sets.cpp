// sets.cpp - see sets.h. Tested by tests/console (sets).
//
// Selections of rows, which is what these functions are mostly given, consist of long runs: as
// intervals they take little memory, and time for the runs rather than for the rows.
#include "sets.h"

#include <cmath>

#include <qxut/util/contexts.h>
#include <qxut/util/interval_set.h>

#include "guard.h"
#include "machine.h"
#include "messages.h"

namespace console {
namespace {

struct IntervalSet {
    ut_fsi members{};

    IntervalSet() { ut_initialize_fsi(&members, utGetMemoryContext()); }
    void clear() { ut_clear_fsi(&members); }
};

int64_t whole(double number, const Function& self) {
    constexpr double kLimit = 9007199254740992.0;  // from here on not every whole number is there
    if (!(std::fabs(number) < kLimit) || number != std::floor(number))
        raise(Message::not_whole, self.name, NumberText(number).text);
    return static_cast<int64_t>(number);
}

// Inserts the elements, a run of consecutive ones at once.
void insert(IntervalSet& set, const Value& value, const Function& self) {
    need_numbers(value, self.name);
    const double* x = value.numbers();
    in_blocks(value.count(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end;) {
            const int64_t first = whole(x[i], self);
            int64_t last = first;
            for (++i; i < end && whole(x[i], self) == last + 1; ++i) ++last;
            ut_fsi_insert_interval(&set.members, first, last);
        }
    });
}

void push_members(Machine& machine, const IntervalSet& set) {
    double* result = machine.push_numbers(ut_fsi_count(&set.members));
    ut_fsi_cursor cursor;
    ut_fsi_cursor_init(&set.members, &cursor);
    ut_fsi_interval interval{};
    while (ut_fsi_iterate(&cursor, &interval)) {
        const auto count = static_cast<size_t>(interval.last - interval.first) + 1;
        in_blocks(count, [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                *result++ = static_cast<double>(interval.first + static_cast<int64_t>(i));
        });
    }
}

void combine(Machine& machine, const Function& self,
             void (*operation)(ut_fsi* result, const ut_fsi* a, const ut_fsi* b)) {
    IntervalSet a;
    const Guard free_a(a);
    IntervalSet b;
    const Guard free_b(b);
    insert(a, machine.top(1), self);
    insert(b, machine.top(0), self);
    operation(&a.members, &a.members, &b.members);
    push_members(machine, a);
}

}  // namespace

void run_union(Machine& machine, const Function& self, size_t) {
    combine(machine, self, ut_fsi_union);
}

void run_intersection(Machine& machine, const Function& self, size_t) {
    combine(machine, self, ut_fsi_intersection);
}

void run_difference(Machine& machine, const Function& self, size_t) {
    combine(machine, self, ut_fsi_difference);
}

}  // namespace console
