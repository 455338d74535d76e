// An object between two words that whoever thinks it larger would write over.
#ifndef KZFI_TESTS_ABI_FENCED_H
#define KZFI_TESTS_ABI_FENCED_H

#include <cstdint>
#include <utility>

/// Holds a T as large as the headers in use say, so that a library of another opinion is seen:
///
///     Fenced<CFiMessageDigest5> digest;
///     digest->Initialize();
///     check(digest.isIntact());
template <class T>
class Fenced {
  public:
    template <class... Arguments>
    explicit Fenced(Arguments&&... arguments) : object(std::forward<Arguments>(arguments)...) {}
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;

    T* operator->() { return &object; }
    T& operator*() { return object; }

    bool isIntact() const { return before == FENCE && after == FENCE; }

  private:
    static const std::uint64_t FENCE = 0x5EA15EA15EA15EA1u;

    volatile std::uint64_t before = FENCE;
    T object;
    volatile std::uint64_t after = FENCE;
};

#endif
