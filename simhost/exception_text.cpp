#include "exception_text.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>

#include "cfierrormgr.h"
#include "cfiudid.h"

namespace kzfi_simhost {
namespace {

std::string readableName(const char* mangled) {
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, nullptr), std::free);
    return name ? name.get() : mangled;
}

std::string currentType() {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    return type != nullptr ? readableName(type->name()) : "an exception of another language";
}

std::string withText(const char* text) {
    return currentType() + ": " + (text != nullptr ? text : "");
}

} // namespace

std::string exceptionOf(const std::function<void()>& call) {
    try {
        call();
        return {};
    } catch (const std::exception& e) {
        return withText(e.what());
    } catch (const kzfi_pdk_4_4::CFiError& e) {
        return withText(e.what());
    } catch (const kzfi_pdk_4_4::CFiUdidException& e) {
        return withText(e.udid.c_str());
    } catch (...) {
        return currentType();
    }
}

} // namespace kzfi_simhost
