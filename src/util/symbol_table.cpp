// symbol_table.cpp - the name hash that serves the whole process.
//
// One plain pointer, without a lock: callers serialise. The table belongs to whoever made it.
// Tested by tests/util/namehash_test.cpp.
#include "util/symbol_table.h"

#include <qxut/util/namehash.h>

#include "util/current.h"

namespace qxut {
namespace {

ut_namehash* process_symbol_table = nullptr;

}  // namespace

void forget_symbol_table(const ut_namehash* namehash) {
    if (process_symbol_table == namehash) process_symbol_table = nullptr;
}

}  // namespace qxut

using namespace qxut;

const char* ut_symtab_add(const char* name) {
    return ut_namehash_add(ut_set_symbol_table_nh(current_namehash()), name);
}

ut_namehash* ut_set_symbol_table_nh(ut_namehash* namehash) {
    if (process_symbol_table == nullptr) process_symbol_table = namehash;
    return process_symbol_table;
}
