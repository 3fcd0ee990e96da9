// not_copied.h - the base of helpers that own something and stay where they are.
#ifndef QXUT_TESTS_SUPPORT_NOT_COPIED_H
#define QXUT_TESTS_SUPPORT_NOT_COPIED_H

namespace qxut_test {

struct NotCopied {
    NotCopied() = default;
    NotCopied(const NotCopied&) = delete;
    NotCopied& operator=(const NotCopied&) = delete;
};

}  // namespace qxut_test

#endif
