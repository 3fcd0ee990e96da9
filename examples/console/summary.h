// summary.h - sums of numbers, some of which may be missing.
#ifndef CONSOLE_SUMMARY_H
#define CONSOLE_SUMMARY_H

#include <cmath>
#include <cstddef>

namespace console {

// A sum and the number of its terms, none of them NaN. The rounding errors are
// summed up apart, so that ten times .1 make 1. All bits 0 is an empty sum.
class Sum {
  public:
    void add(double term) {
        const double sum = sum_ + term;
        lost_ += std::fabs(sum_) >= std::fabs(term) ? (sum_ - sum) + term : (term - sum) + sum_;
        sum_ = sum;
        ++count_;
    }
    size_t count() const { return count_; }
    double value() const { return std::isfinite(lost_) ? sum_ + lost_ : sum_; }
    double mean() const { return value() / static_cast<double>(count_); }  // NaN without terms

  private:
    size_t count_ = 0;
    double sum_ = 0;
    double lost_ = 0;
};

}  // namespace console

#endif
