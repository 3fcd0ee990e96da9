// quasiprime.cpp - numbers of buckets: numbers without a small prime factor.
//
// Such numbers spread hashes as well as primes do and take at most 168 divisions to tell, however
// large they are. Tested by tests/util/quasiprime_test.cpp.
#include <array>
#include <limits>

#include <qxut/util/ghash.h>

namespace {

constexpr int32_t kFlagged = 1000;

constexpr std::array<bool, kFlagged + 1> make_prime_flags() {
    std::array<bool, kFlagged + 1> flags{};
    for (size_t i = 2; i < flags.size(); ++i) flags[i] = true;
    for (size_t i = 2; i * i < flags.size(); ++i) {
        for (size_t multiple = i * i; flags[i] && multiple < flags.size(); multiple += i) {
            flags[multiple] = false;
        }
    }
    return flags;
}
constexpr auto kIsPrime = make_prime_flags();

constexpr size_t kSmallPrimes = 168;

constexpr std::array<int32_t, kSmallPrimes> make_small_primes() {
    std::array<int32_t, kSmallPrimes> primes{};
    size_t count = 0;
    for (int32_t i = 0; i <= kFlagged; ++i) {
        if (kIsPrime[static_cast<size_t>(i)]) primes[count++] = i;
    }
    return primes;
}
constexpr auto kPrimes = make_small_primes();
static_assert(kPrimes.front() == 2 && kPrimes.back() == 997);

}  // namespace

bool ut_hash_is_quasiprime(int32_t n) {
    if (n < 2) return false;
    if (n <= kFlagged) return kIsPrime[static_cast<size_t>(n)];
    for (const int32_t prime : kPrimes) {
        if (prime * prime > n) break;
        if (n % prime == 0) return false;
    }
    return true;
}

int32_t ut_hash_next_quasiprime(_memory_context* /*mem_ctx*/, int32_t n, int32_t step) {
    constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();
    if (step == 0) step = 1;
    for (int64_t candidate = n; candidate >= 2; candidate += step) {
        if (candidate > kLargest) return std::numeric_limits<int32_t>::max();
        if (ut_hash_is_quasiprime(static_cast<int32_t>(candidate))) {
            return static_cast<int32_t>(candidate);
        }
    }
    return 2;
}
