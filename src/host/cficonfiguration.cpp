#include "cficonfiguration.h"

#include <ace/Configuration_Import_Export.h>

#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr std::size_t SECTION_SIZE = 16;
constexpr int NO_NAME = -1;

} // namespace

CFiConfiguration::CFiConfiguration() {
    openHeap();
}

CFiConfiguration::CFiConfiguration(const char* dir, const char* file, bool importNow) {
    if (!openHeap()) {
        return;
    }
    if (importNow) {
        importConfig(dir, file);
    } else {
        setPath(dir, file);
    }
}

CFiConfiguration::CFiConfiguration(const tstring& name) {
    if (!openHeap()) {
        return;
    }
    configName = name;
    try {
        tstring dir;
        tstring file;
        CFiConfigurationPathTool::getConfigFileInfo(name, dir, file);
        // A damaged file, too, is written again with what stood before the damage; kept on purpose.
        if (importConfig(dir.c_str(), file.c_str()) != 0) {
            exportConfig();
        }
    } catch (const CFiError&) {
        // The failure record tells what went wrong.
    }
}

CFiConfiguration::~CFiConfiguration() = default;

bool CFiConfiguration::openHeap() {
    const int status = heap.open(SECTION_SIZE);
    if (status != 0) {
        fail(status, "Failed to open configuration heap", __LINE__, "CFiConfiguration");
    }
    return status == 0;
}

void CFiConfiguration::setPath(const char* dir, const char* file) {
    configDir = orEmpty(dir);
    configFile = orEmpty(file);
    configPath = configDir + configFile;
}

int CFiConfiguration::fail(int code, const char* text, int line, const char* function) {
    static_cast<CFiError&>(*this) = CFiError(code, text, "cficonfiguration", line, function);
    return code;
}

int CFiConfiguration::importConfig(const char* dir, const char* file) {
    setPath(dir, file);
    int status = CFiConfigurationPathTool::verify(configDir.c_str());
    if (status != 0) {
        return fail(status, "Configuration path verification failed", __LINE__, __func__);
    }
    status = CFiConfigurationPathTool::verify(configPath.c_str());
    if (status != 0) {
        return fail(status, "Configuration path succeeded but no configuration file exists.",
                    __LINE__, __func__);
    }
    status = ACE_Registry_ImpExp(heap).import_config(configPath.c_str());
    if (status != 0) {
        return fail(status, "Import of configuration file failed.", __LINE__, __func__);
    }
    return 0;
}

int CFiConfiguration::exportConfig() {
    return ACE_Registry_ImpExp(heap).export_config(configPath.c_str());
}

ACE_Configuration_Heap& CFiConfiguration::configHeap() {
    return heap;
}

int CFiConfiguration::openSection(const ACE_Configuration_Section_Key& parent, const char* name,
                                  ACE_Configuration_Section_Key& key, int create) {
    if (name == nullptr) {
        return NO_NAME;
    }
    ACE_Configuration_Section_Key opened;
    const int status = heap.open_section(parent, name, create != 0, opened);
    if (status == 0) {
        key = opened;
        currentSection = opened;
    }
    return status;
}

int CFiConfiguration::openSection(const char* name, ACE_Configuration_Section_Key& key,
                                  int create) {
    return openSection(heap.root_section(), name, key, create);
}

std::vector<tstring>
CFiConfiguration::enumerateSections(const ACE_Configuration_Section_Key& parent) {
    std::vector<tstring> names;
    tstring name;
    // Always from 0 on: the store keeps an iterator that only index 0 sets up.
    for (int index = 0; heap.enumerate_sections(parent, index, name) == 0; ++index) {
        names.push_back(name);
    }
    return names;
}

std::vector<tstring> CFiConfiguration::enumerateSections() {
    return enumerateSections(currentSection);
}

int CFiConfiguration::getIntegerValue(const char* name, unsigned int& value) {
    return name == nullptr ? NO_NAME : heap.get_integer_value(currentSection, name, value);
}

int CFiConfiguration::setIntegerValue(const char* name, unsigned int value) {
    return name == nullptr ? NO_NAME : heap.set_integer_value(currentSection, name, value);
}

int CFiConfiguration::getStringValue(const char* name, tstring& value) {
    return name == nullptr ? NO_NAME : heap.get_string_value(currentSection, name, value);
}

int CFiConfiguration::setStringValue(const char* name, const tstring& value) {
    return name == nullptr ? NO_NAME : heap.set_string_value(currentSection, name, value);
}

// The two-name getters create a missing section on purpose: callers rely on the named section being
// the current one afterwards.

int CFiConfiguration::getIntegerValue(const char* section, const char* name, unsigned int& value) {
    ACE_Configuration_Section_Key key;
    const int status = openSection(section, key, 1);
    return status == 0 ? getIntegerValue(name, value) : status;
}

int CFiConfiguration::getStringValue(const char* section, const char* name, tstring& value) {
    ACE_Configuration_Section_Key key;
    const int status = openSection(section, key, 1);
    return status == 0 ? getStringValue(name, value) : status;
}

} // namespace kzfi_pdk_4_4
