// roundtrip_longrun - converts generated doubles to text and back; not a part of the test suite.
//
//     roundtrip_longrun [COUNT] [SEED]        10 million doubles, seed 1
//
// Each double must come back from its ut_g_fmt text by ut_strtod and by strtod, its shortest digits
// must be those of std::to_chars, and its 17 digits must be those of snprintf and read back. Prints
// the first differences; the exit status is 1 when there are any.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "util/fpc_support.h"

namespace {

using namespace qxut_test;

std::string digits_of(const std::string& scientific) {
    std::string digits;
    for (const char c : scientific.substr(0, scientific.find('e')))
        if (c != '.') digits += c;
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
    return digits;
}

bool survives(ut_fpc_context* context, double value) {
    const std::string text = g_fmt(context, value);
    const uint64_t bits = bits_of(value);
    if (bits_of(ut_strtod(context, text.c_str(), nullptr)) != bits) return false;
    if (bits_of(std::strtod(text.c_str(), nullptr)) != bits) return false;
    char buffer[64];
    const double magnitude = std::fabs(value);
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, magnitude, std::chars_format::scientific);
    if (dtoa(context, magnitude, 0, 0).digits != digits_of(std::string(buffer, end.ptr)))
        return false;
    std::snprintf(buffer, sizeof buffer, "%.16e", magnitude);
    return dtoa(context, magnitude, 2, 17).digits == digits_of(buffer) &&
           ut_strtod(context, buffer, nullptr) == magnitude;
}

}  // namespace

int main(int argc, char** argv) {
    const long count = argc > 1 ? std::atol(argv[1]) : 10000000;
    std::mt19937_64 random(argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1);
    FpcContext context;
    long done = 0;
    long failures = 0;
    for (; done < count; ++done) {
        const uint64_t bits = random();
        auto value = std::bit_cast<double>(bits);
        if (done % 4 == 1) value = static_cast<double>(bits >> 11) * 0x1p-53;
        if (done % 4 == 2) value = static_cast<double>(bits >> 40) / 1000;
        if (done % 4 == 3) value = static_cast<double>(bits >> (bits % 64));
        if (!std::isfinite(value) || survives(context, value)) continue;
        if (++failures <= 10) std::printf("%a (%.17g) differs\n", value, value);
    }
    std::printf("%ld doubles, %ld differences\n", done, failures);
    return failures == 0 ? 0 : 1;
}
