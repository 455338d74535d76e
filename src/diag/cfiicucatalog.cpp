#include "cfiicucatalog.h"

#include <unicode/locid.h>
#include <unicode/resbund.h>

#include <algorithm>
#include <cstring>

#include "cficonfiguration.h"
#include "cfistringtool.h"
#include "util/text.h"

namespace kzfi_pdk_4_4 {

namespace {

const int NO_CATALOG = 3;

// ICU takes a locale name for a part of the bundle's path. A name that could lead out of the
// catalogue's folder, where it would open another plug-in's texts, is no language.
bool isLanguageName(const std::string& name) {
    return name.size() <= ULOC_FULLNAME_CAPACITY && name.find('/') == std::string::npos &&
           name.find("..") == std::string::npos;
}

tstring placeholder(const std::string& id) {
    return CFiStringTool::str2tstr("<" + id + ">");
}

} // namespace

int CFiMessageCatalog::init() {
    return 0;
}

CFiMessageCatalog::~CFiMessageCatalog() = default;

CFiIcuMessageCatalog::CFiIcuMessageCatalog(const char* newLanguage, const tstring& newCatalogName)
    : language(nullptr),
      catalogName(newCatalogName),
      ownLanguage(orEmpty(newLanguage)) {
    language = ownLanguage.c_str();
}

CFiIcuMessageCatalog::~CFiIcuMessageCatalog() = default;

int CFiIcuMessageCatalog::init() {
    tstring directory;
    tstring file;
    bundle.reset();
    if (!isLanguageName(ownLanguage) ||
        CFiConfigurationPathTool::getMessageFileInfo(catalogName, directory, file) != 0) {
        return NO_CATALOG;
    }
    bundlePath = directory + file;
    UErrorCode status = U_ZERO_ERROR;
    bundle.reset(new icu::ResourceBundle(bundlePath.c_str(), icu::Locale(language), status));
    // ICU's new gives null when there is no memory.
    const bool opened = status == U_ZERO_ERROR || status == U_USING_DEFAULT_WARNING;
    return bundle != nullptr && opened ? 0 : NO_CATALOG;
}

tstring CFiIcuMessageCatalog::getMessage(const std::string& id, const char* defaultText) const {
    if (bundle != nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        icu::UnicodeString text = bundle->getStringEx(id.c_str(), status);
        if (U_SUCCESS(status)) {
            return catalogName + ": " + CFiStringTool::ustr2tstr(text);
        }
    }
    if (defaultText != nullptr) {
        return tstring(defaultText);
    }
    return catalogName + ": " + placeholder(id);
}

CFiMessageCatalogFactory::~CFiMessageCatalogFactory() = default;

CFiMessageCatalogManager::CFiMessageCatalogManager() : factory(nullptr) {}

// The catalogues die while all members live: their destructors may call the manager. Without the
// factory such a call makes no new ones.
CFiMessageCatalogManager::~CFiMessageCatalogManager() {
    std::map<std::string, CFiMessageCatalogPtr> dying;
    do {
        dying.clear();
        const std::lock_guard<std::mutex> guard(mutex);
        factory = nullptr;
        dying.swap(catalogs);
    } while (!dying.empty());
}

void CFiMessageCatalogManager::registerFactory(CFiMessageCatalogFactory* newFactory) {
    {
        const std::lock_guard<std::mutex> guard(mutex);
        factory = newFactory;
    }
    if (newFactory != nullptr) {
        activatedCatalog(*newFactory, newFactory->getDefaultLanguage());
    }
}

CFiMessageCatalogFactory* CFiMessageCatalogManager::currentFactory() const {
    const std::lock_guard<std::mutex> guard(mutex);
    return factory;
}

CFiMessageCatalogPtr CFiMessageCatalogManager::findCatalog(const std::string& language) const {
    const std::lock_guard<std::mutex> guard(mutex);
    const auto entry = catalogs.find(language);
    return entry != catalogs.end() ? entry->second : CFiMessageCatalogPtr();
}

// The catalogue of language, made by maker if there is none yet; empty when it cannot be had.
CFiMessageCatalogPtr CFiMessageCatalogManager::activatedCatalog(CFiMessageCatalogFactory& maker,
                                                                const std::string& language) {
    CFiMessageCatalogPtr catalog = findCatalog(language);
    if (catalog) {
        return catalog;
    }
    catalog = maker.createCatalog(language);
    if (!catalog || catalog->init() != 0) {
        return CFiMessageCatalogPtr();
    }
    // Another thread may have been faster; what is there stays.
    const std::lock_guard<std::mutex> guard(mutex);
    return catalogs.emplace(language, catalog).first->second;
}

void CFiMessageCatalogManager::activateCatalog(std::string language) {
    CFiMessageCatalogFactory* const maker = currentFactory();
    if (maker != nullptr) {
        activatedCatalog(*maker, language);
    }
}

CFiMessageCatalogPtr CFiMessageCatalogManager::usableCatalog(std::string language) {
    CFiMessageCatalogFactory* const maker = currentFactory();
    if (maker == nullptr) {
        return CFiMessageCatalogPtr();
    }
    if (language.empty()) {
        language = maker->getDefaultLanguage();
    }
    const CFiMessageCatalogPtr catalog = activatedCatalog(*maker, language);
    if (catalog) {
        return catalog;
    }
    const std::string fallback = maker->getDefaultLanguage();
    return fallback != language ? activatedCatalog(*maker, fallback) : CFiMessageCatalogPtr();
}

tstring CFiMessageCatalogManager::getMessage(const std::string& id, const char* defaultText,
                                             std::string language) {
    const CFiMessageCatalogPtr catalog = usableCatalog(language);
    if (catalog) {
        return catalog->getMessage(id, defaultText);
    }
    return defaultText != nullptr ? tstring(defaultText) : placeholder(id);
}

void CFiMessageCatalogManager::setNativeLanguage(const char* language) {
    const std::lock_guard<std::mutex> guard(mutex);
    nativeLanguage = orEmpty(language);
}

std::string CFiMessageCatalogManager::getNativeLanguage() {
    const std::lock_guard<std::mutex> guard(mutex);
    return nativeLanguage;
}

std::string CFiMessageCatalogManager::resolveLanguage(const char* language) {
    const std::string wanted = orEmpty(language);
    return wanted == "native" ? getNativeLanguage() : wanted;
}

tstring CFiMessageCatalogManager::getLocalizedMessage(CFiMessagePtr& message,
                                                      const char* language) {
    if (!message) {
        return tstring();
    }
    return message->formatMessage(
        getMessage(message->getMessageId(), nullptr, resolveLanguage(language)));
}

void CFiMessageCatalogManager::getLocalizedMessage(kfi_msg_info* info, const char* language,
                                                   char** result) {
    CFiMessageCatalogFactory* const maker = currentFactory();
    CFiMessagePtr message = maker != nullptr ? maker->createMessage(info) : CFiMessagePtr();
    if (message) {
        handOut(message->getMessageId(), getLocalizedMessage(message, language), result);
    } else if (result != nullptr) {
        *result = nullptr;
    }
}

void CFiMessageCatalogManager::getLocalizedMessage(const char* id, const char* language,
                                                   char** result) {
    const std::string key = orEmpty(id);
    handOut(key, getMessage(key, nullptr, resolveLanguage(language)), result);
}

// The key says nothing of the language: the same message in two languages shares one text, on
// purpose.
void CFiMessageCatalogManager::handOut(const std::string& id, const tstring& text, char** result) {
    if (result == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> guard(mutex);
    tstring& kept = localizedMessages[id];
    kept = text;
    *result = &kept[0];
}

void CFiMessageCatalogManager::deleteLocalizedMessage(char** text) {
    if (text == nullptr || *text == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> guard(mutex);
    // By content, not by address, on purpose: of two keys with equal texts the first one goes.
    const auto entry = std::find_if(localizedMessages.begin(), localizedMessages.end(),
                                    [text](const auto& candidate) {
                                        return std::strcmp(candidate.second.c_str(), *text) == 0;
                                    });
    if (entry != localizedMessages.end()) {
        localizedMessages.erase(entry);
    }
}

} // namespace kzfi_pdk_4_4
