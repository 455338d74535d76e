#include "config/xmlplatform.h"

#include <mutex>

#include <xercesc/util/PlatformUtils.hpp>

namespace kzfi_pdk_4_4 {

namespace {

std::mutex& platformLock() {
    // Never destroyed: objects with static lifetime may stop the platform after main.
    static std::mutex* const lock = new std::mutex;
    return *lock;
}

bool keepPlatform() {
    xercesc::XMLPlatformUtils::Initialize();
    return true;
}

} // namespace

void startXmlPlatform() {
    const std::lock_guard<std::mutex> guard(platformLock());
    static const bool kept = keepPlatform();
    static_cast<void>(kept);
    xercesc::XMLPlatformUtils::Initialize();
}

void stopXmlPlatform() {
    const std::lock_guard<std::mutex> guard(platformLock());
    xercesc::XMLPlatformUtils::Terminate();
}

} // namespace kzfi_pdk_4_4
