// A provider's shared object in this process.
#ifndef KZFI_SIMHOST_PROVIDER_LIBRARY_H
#define KZFI_SIMHOST_PROVIDER_LIBRARY_H

#include <stdexcept>
#include <string>

#include "cfipluginbase.h"

namespace kzfi_simhost {

/// How the host holds a provider object.
using ProviderPtr = kzfi_pdk_4_4::CFiSmartPtr<
    kzfi_pdk_4_4::CFiPluginBase,
    kzfi_pdk_4_4::CFiContextSingletonAllocator<kzfi_pdk_4_4::CFiPluginBase>>;

/// The shared object cannot be used; what() is the reason, without the file's name.
class NotAProvider : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Loads a provider with all its symbols bound and none shared with others. The object that it
/// made, and all that came from it, must be gone before unload().
class ProviderLibrary {
  public:
    /// Throws NotAProvider.
    explicit ProviderLibrary(const std::string& path);
    ProviderLibrary(const ProviderLibrary&) = delete;
    ProviderLibrary& operator=(const ProviderLibrary&) = delete;
    /// Leaves the library loaded; only unload() takes it out.
    ~ProviderLibrary();

    /// Calls the entry kzfi_create_provider. Throws NotAProvider when there is none, or when it
    /// gives null or throws.
    ProviderPtr create() const;

    /// Takes the library out; whether it is really gone. The dynamic linker keeps one that defines
    /// unique symbols (-fno-gnu-unique avoids them) or that threads or others still hold.
    bool unload();

  private:
    const std::string file;
    void* handle;
};

} // namespace kzfi_simhost

#endif
