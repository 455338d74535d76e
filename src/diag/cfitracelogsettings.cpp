// The trace log's settings in the plug-in's configuration file.
#include <cstdio>

#include "cficonfiguration.h"
#include "cfitracelog.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr char SECTION[] = "DEBUG_TRACE_INFO";
constexpr char DIR_KEY[] = "TRACEDIR";
constexpr char FILE_KEY[] = "TRACEFILE";
constexpr char LEVEL_KEY[] = "TRACELEVEL";
constexpr char STDOUT_KEY[] = "TRACESTDOUT";
constexpr char RUNTIME_KEY[] = "TRACERUNTIMEUPDATE";

constexpr int OFF = 0;
constexpr int ON = 1;

// A line break inside a stored text would read back as further keys, so such a text is not stored.
void storeText(CFiConfiguration& configuration, const char* key, const tstring& text) {
    for (const char character : text) {
        const unsigned char byte = static_cast<unsigned char>(character);
        if (byte < ' ' || byte == 0x7f) {
            return;
        }
    }
    configuration.setStringValue(key, text);
}

void loadText(CFiConfiguration& configuration, const char* key, tstring& text) {
    if (configuration.getStringValue(key, text) != 0) {
        storeText(configuration, key, text);
        configuration.exportConfig();
    }
}

int loadLevel(CFiConfiguration& configuration, int fallback) {
    unsigned int level = 0;
    if (configuration.getIntegerValue(LEVEL_KEY, level) != 0) {
        configuration.setIntegerValue(LEVEL_KEY, static_cast<unsigned int>(fallback));
        configuration.exportConfig();
        // Off this time, although the level is stored; kept so on purpose.
        return OFF;
    }
    return level == 0 ? OFF : ON;
}

// Only sets the flag: a stored 0 does not clear it.
void loadFlag(CFiConfiguration& configuration, const char* key, std::atomic<bool>& flag) {
    unsigned int value = flag ? 1 : 0;
    if (configuration.getIntegerValue(key, value) != 0) {
        configuration.setIntegerValue(key, value);
        configuration.exportConfig();
    }
    if (value == 1) {
        flag = true;
    }
}

} // namespace

void CFiTraceLog::importOwnConfiguration(CFiConfiguration& configuration) const {
    tstring dir;
    tstring file;
    CFiConfigurationPathTool::getConfigFileInfo(ownerName, dir, file);
    // A file that cannot be read leaves the section missing, which every caller provides for.
    configuration.importConfig(dir.c_str(), file.c_str());
}

void CFiTraceLog::initialize(const tstring& name, tstring dir, tstring file, int level, bool echo) {
    ownerName = name;
    toStdout = echo;
    try {
        initTraceSettings(dir, file, level);
    } catch (...) {
        std::printf("ERROR: CFiTraceLog: Failed to initialize log settings\n");
    }
    traceFile = file;
    traceDir = dir;
    traceLevel = level;
    createTraceFile();
}

void CFiTraceLog::initTraceSettings(tstring& dir, tstring& file, int& level) {
    if (!dir.is_empty() && !file.is_empty()) {
        updateConfigFile(dir, file, level);
    }
    try {
        loadFromConfigFile(dir, file, level);
    } catch (const CFiError&) {
        // The settings stay as far as they were read.
    }
}

void CFiTraceLog::loadFromConfigFile(tstring& dir, tstring& file, int& level) {
    CFiConfigurationPathTool::getTraceFileInfo(ownerName, dir, file);
    CFiConfiguration configuration;
    importOwnConfiguration(configuration);
    ACE_Configuration_Section_Key section;
    if (configuration.openSection(SECTION, section, 0) != 0) {
        // Written for the next log; this one stays off, on purpose.
        updateConfigFile(dir, file, level);
        level = OFF;
        return;
    }
    loadText(configuration, DIR_KEY, dir);
    loadText(configuration, FILE_KEY, file);
    level = loadLevel(configuration, level);
    loadFlag(configuration, STDOUT_KEY, toStdout);
    loadFlag(configuration, RUNTIME_KEY, runtimeUpdate);
}

void CFiTraceLog::updateConfigFile(const tstring& dir, const tstring& file, const int& level) {
    CFiConfiguration configuration;
    importOwnConfiguration(configuration);
    ACE_Configuration_Section_Key section;
    if (configuration.openSection(SECTION, section, 1) == 0) {
        storeText(configuration, DIR_KEY, dir);
        storeText(configuration, FILE_KEY, file);
        configuration.setIntegerValue(LEVEL_KEY, static_cast<unsigned int>(level));
        configuration.setIntegerValue(STDOUT_KEY, 0);
        configuration.setIntegerValue(RUNTIME_KEY, 0);
    }
    configuration.exportConfig();
}

void CFiTraceLog::updateTraceLevelFromConfigFile() {
    CFiConfiguration configuration;
    importOwnConfiguration(configuration);
    ACE_Configuration_Section_Key section;
    if (configuration.openSection(SECTION, section, 1) != 0) {
        traceLevel = ON;
        return;
    }
    unsigned int level = 0;
    if (configuration.getIntegerValue(LEVEL_KEY, level) == 0) {
        // As it stands there: a negative level lets nothing through.
        traceLevel = static_cast<int>(level);
    }
}

} // namespace kzfi_pdk_4_4
