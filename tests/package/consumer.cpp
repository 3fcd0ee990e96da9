// consumer.cpp - a C++ client of an installed copy of the library: numbers and interned names.
#include <cstring>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

int main() {
    char text[32];
    ut_g_fmt(utGetFpcContext(), text, sizeof text, ut_strtod(utGetFpcContext(), "0.1e2", nullptr));
    utPrintf("%s\n", text);
    const bool interned = ut_namehash_add(utGetNamehashContext(), "alpha") ==
                          ut_namehash_lookup(utGetNamehashContext(), "alpha");
    return std::strcmp(text, "10.0") == 0 && interned ? 0 : 1;
}
