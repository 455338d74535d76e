#include "cfismartptr.h"

namespace kzfi_pdk_4_4 {

CFiRefCount::~CFiRefCount() = default;

void CFiRefCount::destroy(CFiRefCount* object) {
    delete object;
}

std::uint32_t CFiRefCount::increment() {
    return ++referenceCount;
}

std::uint32_t CFiRefCount::decrement() {
    return --referenceCount;
}

std::uint32_t CFiRefCount::getCount() {
    return referenceCount;
}

} // namespace kzfi_pdk_4_4
