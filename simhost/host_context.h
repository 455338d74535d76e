// The host around a provider object: trace log, managers and nodes. Lives in the provider's
// process.
#ifndef KZFI_SIMHOST_HOST_CONTEXT_H
#define KZFI_SIMHOST_HOST_CONTEXT_H

#include <memory>
#include <string>

#include "host_root.h"
#include "node_store.h"
#include "provider_library.h"
#include "scenario.h"

namespace kzfi_simhost {

/// The provider's FIM name, which the plug-in base does not hand out.
std::string fimNameOf(kzfi_pdk_4_4::CFiPluginBase& provider);

/// Holds a provider the way the host does: sets its names, registers a trace log and the four
/// managers, and keeps what one operation hands out for a later one to take back.
class HostContext {
  public:
    /// Makes provider ready for init(); its catalogues are in place then. Throws CannotRun.
    HostContext(const Scenario& setting, const HostRoot& root, const ProviderPtr& newProvider);
    HostContext(const HostContext&) = delete;
    HostContext& operator=(const HostContext&) = delete;
    ~HostContext();

    kzfi_pdk_4_4::CFiPluginBase& provider() { return *held; }
    NodeStore& nodes() { return nodeStore; }
    const HostRoot& root() const { return hostRoot; }
    const std::string& name() const { return providerName; }

    /// Lets go of the provider for good, before the host itself ends. Returns how many references
    /// to it are left; 0 when it is destroyed.
    int releaseProvider() { return held.release(); }

    /// What "native" stands for from now on; null counts as empty.
    void setNativeLanguage(const char* language);
    /// What the scenario says that it stands for.
    const std::string& language() const { return scenario.language; }

    /// What getLastError handed out, until delLastError, and a copy of its text.
    kfi_msg_info* lastError = nullptr;
    std::string lastErrorText;
    /// What errMsg or getLocaleMessage handed out, until delLocaleMessage.
    char* localeText = nullptr;

  private:
    void chooseName();
    void startTracing(const HostRoot& root);
    void registerManagers();
    void placeCatalogues(const HostRoot& root) const;

    const Scenario& scenario;
    const HostRoot& hostRoot;
    std::string providerName;
    kzfi_pdk_4_4::CFiTraceLogPtr traceLog;
    kzfi_pdk_4_4::CFiErrorManagerPtr errorManager;
    kzfi_pdk_4_4::CFiMessageCatalogManagerPtr catalogManager;
    kzfi_pdk_4_4::CFiPrivateDataManagerPtr privateDataManager;
    kzfi_pdk_4_4::CFiSessionManagerPtr sessionManager;
    NodeStore nodeStore;
    // Last, so that it is released first: a provider's destructor may still use the managers.
    ProviderPtr held;
};

} // namespace kzfi_simhost

#endif
