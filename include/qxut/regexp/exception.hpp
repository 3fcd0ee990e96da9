// exception.hpp - a pattern that cannot be compiled, or a search that reached a limit.
#ifndef QXUT_REGEXP_EXCEPTION_HPP
#define QXUT_REGEXP_EXCEPTION_HPP

#include <cstddef>
#include <cstdint>

#include <qxut/system/throwable.hpp>

// Its code is one of module "regexp" (regexp.h). An interrupt and a lack of memory are no
// RE_Exception.
class QXUT_API RE_Exception : public Quorvanix::System::UserException {
  public:
    // The text is copied. std::bad_alloc.
    RE_Exception(const char* text, ut_message_code code, const char* identifier, uint64_t limit,
                 size_t position);
    RE_Exception(const RE_Exception&) noexcept = default;
    RE_Exception& operator=(const RE_Exception&) noexcept = default;
    ~RE_Exception() override;
    const char* className() const noexcept override;

    // Where it happened, in UTF-16 units: in the pattern for a repeated flag and a program beyond
    // its limit, else in the searched text.
    size_t position() const noexcept { return position_; }
    // The limit that was reached: instructions, steps, bytes or levels; 0 for a repeated flag.
    uint64_t limit() const noexcept { return limit_; }

  private:
    uint64_t limit_;
    size_t position_;
};

#endif
