#include "host_context.h"

#include <filesystem>

#include "text_tools.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;
namespace fs = std::filesystem;

/// Reaches a provider's protected FIM name; never made itself.
class NamePeek : public CFiPluginBase {
  public:
    static const std::string& fimNameIn(CFiPluginBase& provider) {
        return provider.*(&NamePeek::fimName);
    }
};

/// What a provider without a name of its own is called: its file's name without "lib".
std::string nameFromFile(const std::string& file) {
    const std::string stem = fs::path(file).stem().string();
    return stem.rfind("lib", 0) == 0 ? stem.substr(3) : stem;
}

} // namespace

std::string fimNameOf(CFiPluginBase& provider) {
    return NamePeek::fimNameIn(provider);
}

HostContext::HostContext(const Scenario& setting, const HostRoot& root,
                         const ProviderPtr& newProvider)
    : scenario(setting),
      hostRoot(root),
      nodeStore(setting.nodes),
      held(newProvider) {
    chooseName();
    placeCatalogues(root);
    startTracing(root);
    registerManagers();
}

HostContext::~HostContext() = default;

void HostContext::chooseName() {
    if (scenario.name) {
        held->setProviderName(scenario.name->c_str());
    } else if (held->getProviderName().empty()) {
        held->setProviderName(nameFromFile(scenario.provider).c_str());
    }
    providerName = held->getProviderName().c_str();
    if (!isFileName(providerName)) {
        throw CannotRun(at(scenario, scenario.providerLine,
                           "the provider's name '" + providerName +
                               "' must be a name without a folder; files are called after it"));
    }
    if (scenario.fimName) {
        held->setFimName(scenario.fimName->c_str());
    }
}

void HostContext::startTracing(const HostRoot& root) {
    const std::string& chosen = scenario.trace.file;
    const std::string file = chosen.empty() ? providerName + ".log" : chosen;
    if (scenario.trace.level > 0) {
        root.makeTraceFile(file);
    }
    errorManager = new CFiErrorManager;
    traceLog = new CFiTraceLog;
    traceLog->setErrorManager(errorManager);
    traceLog->initialize(providerName.c_str(), root.traceFolder().c_str(), file.c_str(),
                         scenario.trace.level, false);
    held->registerTraceLog(traceLog);
}

void HostContext::registerManagers() {
    catalogManager = new CFiMessageCatalogManager;
    privateDataManager = new CFiPrivateDataManager;
    sessionManager = new CFiSessionManager;
    setNativeLanguage(scenario.language.c_str());
    held->registerErrorManager(errorManager);
    held->registerCatalogManager(catalogManager);
    held->registerPrivateDataManager(privateDataManager);
    held->registerSessionManager(sessionManager);
}

void HostContext::setNativeLanguage(const char* language) {
    catalogManager->setNativeLanguage(language);
}

/// The kit looks for the bundles of a catalogue NAME in resources/libNAME.
void HostContext::placeCatalogues(const HostRoot& root) const {
    if (scenario.catalogues.empty()) {
        return;
    }
    const fs::path target = root.resources() + "/lib" + providerName;
    const auto options = fs::copy_options::overwrite_existing | fs::copy_options::recursive;
    std::error_code error;
    fs::create_directories(target, error);
    fs::copy(scenario.catalogues, target, options, error);
    if (error) {
        throw CannotRun(at(scenario, scenario.cataloguesLine,
                           "the catalogues in " + scenario.catalogues + " cannot be placed in " +
                               target.string() + ": " + error.message()));
    }
}

} // namespace kzfi_simhost
