#include "cfismartptr.h"

namespace kzfi_pdk_4_4 {

CFiRefCount::~CFiRefCount() = default;

std::uint32_t CFiRefCount::increment() {
    return ++count;
}

std::uint32_t CFiRefCount::decrement() {
    return --count;
}

std::uint32_t CFiRefCount::getCount() {
    return count;
}

} // namespace kzfi_pdk_4_4
