#include "provider_library.h"

#include <dlfcn.h>

#include "exception_text.h"

namespace kzfi_simhost {
namespace {

using kzfi_pdk_4_4::CFiPluginBase;

const char* const ENTRY = "kzfi_create_provider";

using Entry = CFiPluginBase* (*)();

std::string linkerReason() {
    const char* const reason = dlerror();
    return reason != nullptr ? reason : "the dynamic linker gives no reason";
}

} // namespace

ProviderLibrary::ProviderLibrary(const std::string& path)
    : file(path),
      handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) {
        throw NotAProvider(linkerReason());
    }
}

ProviderLibrary::~ProviderLibrary() = default;

ProviderPtr ProviderLibrary::create() const {
    void* const symbol = dlsym(handle, ENTRY);
    if (symbol == nullptr) {
        throw NotAProvider(std::string("it has no entry ") + ENTRY);
    }
    CFiPluginBase* provider = nullptr;
    const std::string thrown = exceptionOf([&] { provider = reinterpret_cast<Entry>(symbol)(); });
    if (!thrown.empty()) {
        throw NotAProvider(std::string("its entry ") + ENTRY + " threw " + thrown);
    }
    if (provider == nullptr) {
        throw NotAProvider(std::string("its entry ") + ENTRY + " gave no provider");
    }
    return ProviderPtr(provider);
}

bool ProviderLibrary::unload() {
    if (dlclose(handle) != 0) {
        return false;
    }
    handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (handle == nullptr) {
        return true;
    }
    dlclose(handle);
    return false;
}

} // namespace kzfi_simhost
