// number_dtoa.cpp - ut_dtoa: chooses the digits that a mode asks for and hands them out.
//
//   modes 0, 1   shortest_decimal
//   modes 2, 3   the value rounded to the last wanted place: by rounded_to_few_places where a word
//                holds it, by rounded_decimal when at most 17 digits are wanted and it can tell, by
//                exact_digits otherwise
//   modes 4, 5   the shortest digits where they are not more than wanted, else as 2, 3
//
// Digits are complete before the caller's buffer is touched, so a buffer that is too small stays as
// it was. Tested by tests/util/fpc_format_test.cpp.
#include <algorithm>

#include "util/number_exact.h"
#include "util/number_format.h"

namespace qxut::number {
namespace {

enum class Rule { none, significant, places };

// What a mode asks for: the shortest digits, digits by a rule, or whichever is shorter.
struct Request {
    bool shortest;
    Rule rule;
};

constexpr Request request_of(int mode) {
    switch (mode) {
        case 2:
        case 6:
            return {false, Rule::significant};
        case 3:
        case 7:
            return {false, Rule::places};
        case 4:
        case 8:
            return {true, Rule::significant};
        case 5:
        case 9:
            return {true, Rule::places};
        default:
            return {true, Rule::none};
    }
}

// Where the results of one call go.
class Output {
  public:
    Output(const ut_fpc_context& context, char* buffer, size_t size, bool is_negative, int* point,
           int* sign, char** end)
        : context_(context),
          buffer_(buffer),
          size_(size),
          is_negative_(is_negative),
          point_(point),
          sign_(sign),
          end_(end) {}

    char* put(const char* digits, size_t count, int point) const {
        require(count);
        std::copy_n(digits, count, buffer_);
        return finish(count, point);
    }

    char* put(const DecimalText& text) const {
        const auto count = static_cast<size_t>(text.count);
        if (size_ > kTextDigits) {
            text.store(buffer_);
            return finish(count, text.point);
        }
        char digits[kTextDigits];
        text.store(digits);
        return put(digits, count, text.point);
    }

  private:
    void require(size_t count) const {
        if (count >= size_) raise_buffer_too_small(context_, size_);
    }

    char* finish(size_t count, int point) const {
        buffer_[count] = '\0';
        *point_ = point;
        *sign_ = is_negative_ ? 1 : 0;
        if (end_ != nullptr) *end_ = buffer_ + count;
        return buffer_;
    }

    const ut_fpc_context& context_;
    char* buffer_;
    size_t size_;
    bool is_negative_;
    int* point_;
    int* sign_;
    char** end_;
};

// The value rounded to a multiple of 10^exponent; `wanted` digits are in front of that place.
char* put_rounded(ut_fpc_context& context, const Output& output, Binary value, int64_t wanted,
                  int64_t exponent) {
    if (wanted >= 1 && wanted <= kMaxRoundedDigits) {
        const auto decimal = rounded_decimal(value, static_cast<int>(exponent));
        if (decimal) return output.put(make_text(*decimal));
    }
    DigitString text;
    exact_digits(context, value, exponent, text);
    const auto count = static_cast<size_t>(text.count);
    if (count == 0) {
        // Nothing is left: the point stands at the place that was rounded to.
        const int64_t limit = std::numeric_limits<int>::max();
        return output.put("", 0, static_cast<int>(std::min(exponent, limit)));
    }
    return output.put(text.digits, count, text.point);
}

}  // namespace
}  // namespace qxut::number

using namespace qxut::number;

char* ut_dtoa(ut_fpc_context* context, char* buffer, size_t size, double value, int mode,
              int ndigits, int* decimal_point, int* sign, char** digits_end) {
    const Output output(*context, buffer, size, has_sign(value), decimal_point, sign, digits_end);
    const uint64_t magnitude = magnitude_bits(value);
    if (magnitude >= kInfinityBits)
        return output.put(magnitude == kInfinityBits ? "Inf" : "NaN", 3, UT_DTOA_NOT_FINITE);
    if (magnitude == 0) return output.put("0", 1, 1);

    const Request request = request_of(mode);
    const Binary binary = decompose(magnitude);
    if (request.rule == Rule::places && !request.shortest) {
        const auto units = rounded_to_few_places(binary, ndigits);
        if (units && *units != 0) return output.put(make_text({*units, -ndigits}));
    }
    int64_t wanted = kTextDigits;
    int integral_digits = 0;  // negative for 0.00...
    if (request.rule != Rule::none) {
        integral_digits = floor_log10(binary) + 1;
        wanted = request.rule == Rule::significant ? std::max(1, ndigits)
                                                   : int64_t{ndigits} + integral_digits;
    }
    if (request.shortest) {
        const auto boundaries = mode == 1 ? Boundaries::excluded : Boundaries::round_half_even;
        const DecimalText text = shortest_text(magnitude, boundaries);
        if (text.count <= wanted) return output.put(text);
    }
    return put_rounded(*context, output, binary, wanted, integral_digits - wanted);
}
