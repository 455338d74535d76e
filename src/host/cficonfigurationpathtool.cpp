#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "cficonfiguration.h"
#include "cfiudid.h"
#include "kzfi_framework.h"
#include "util/productpaths.h"

namespace kzfi_pdk_4_4 {

namespace {

// 0 when dir was there, -1 when it was missing.
int createIfMissing(const tstring& dir) {
    const int status = CFiConfigurationPathTool::verify(dir.c_str());
    if (status != 0) {
        // Unchecked: a directory that is missing shows when a file in it is opened.
        mkdir(dir.c_str(), 0755);
    }
    return status;
}

void useBelowRoot(const char* subdirectory, tstring& dir) {
    CFiConfigurationPathTool::getInstallPath(dir);
    dir += subdirectory;
    createIfMissing(dir);
}

// The UDID by value: key may be the same object.
int deviceFile(const char* cache, tstring udid, tstring& key) {
    CFiConfigurationPathTool::getCacheLocationInfo(key);
    key += cache;
    createIfMissing(key);
    key += CFiUdid(udid).field3.c_str();
    key += "/";
    const int status = createIfMissing(key);
    key += udid;
    return status;
}

} // namespace

int CFiConfigurationPathTool::verify(const char* path) {
    return access(path, F_OK);
}

int CFiConfigurationPathTool::getInstallPath(tstring& root) {
    char* named = nullptr;
    kzfi_get_install_root(&named);
    if (named == nullptr) {
        root = PRODUCT_ROOT;
        return 0;
    }
    root = named;
    kzfi_free_buf(named, std::strlen(named) + 1);
    return 0;
}

int CFiConfigurationPathTool::getConfigFileInfo(const tstring& name, tstring& dir, tstring& file) {
    file = name + ".conf";
    useBelowRoot("/lib/kzfi/configfiles/", dir);
    return 0;
}

int CFiConfigurationPathTool::getMessageFileInfo(const tstring& name, tstring& dir, tstring& file) {
    file = tstring("lib") + name;
    useBelowRoot("/resources/", dir);
    return 0;
}

int CFiConfigurationPathTool::getTraceFileInfo(const tstring& name, tstring& dir, tstring& file) {
    file = name + ".log";
    // The host is asked for its root all the same; trace files do not move with it, on purpose.
    getInstallPath(dir);
    dir = TRACE_DIR;
    createIfMissing(dir);
    return 0;
}

int CFiConfigurationPathTool::getCacheLocationInfo(tstring& dir) {
    useBelowRoot("/lib/kzfi/cachefiles/", dir);
    return 0;
}

int CFiConfigurationPathTool::getDevKey(const tstring& udid, tstring& key) {
    return deviceFile("devHandle/", udid, key);
}

int CFiConfigurationPathTool::getLunKey(const tstring& udid, tstring& key) {
    return deviceFile("luns/", udid, key);
}

} // namespace kzfi_pdk_4_4
