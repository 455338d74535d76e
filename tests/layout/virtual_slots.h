// Where the compiler put a virtual function and a field.
#ifndef KZFI_TESTS_VIRTUAL_SLOTS_H
#define KZFI_TESTS_VIRTUAL_SLOTS_H

#include <cstddef>
#include <cstring>

namespace kzfi_tests {

/// Slot of a virtual function in its class's table, from 0; -1 for one that is not virtual. Reads
/// the pointer to member as the Itanium C++ ABI lays it out: 1 + the byte offset in the table.
template <class Member>
long slotOf(Member member) {
    static_assert(sizeof(Member) == 2 * sizeof(std::ptrdiff_t),
                  "not a pointer to a member function");
    std::ptrdiff_t words[2];
    std::memcpy(words, &member, sizeof member);
    return (words[0] & 1) != 0 ? (words[0] - 1) / static_cast<long>(sizeof(void*)) : -1;
}

/// Byte offset of a field in an object.
template <class Object, class Field>
std::ptrdiff_t offsetIn(const Object& object, const Field& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&object);
}

} // namespace kzfi_tests

#endif
