#include "cfipblm.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "cficonfiguration.h"
#include "cfistringtool.h"
#include "diag/tracing.h"
#include "util/file.h"

namespace kzfi_pdk_4_4 {

namespace {

constexpr unsigned int HIGHEST_LUN = 255;
constexpr std::size_t RECORD_LINE = 1024;
constexpr int DECIMAL = 10;
constexpr char NULL_TEXT[] = "NULL";

// Results of the operations.
enum { DONE = 0, NO_MEMORY = 5, NO_RECORD = 26 };

// False for a text that begins with no number; what follows the number does not count.
bool readNumber(const std::string& text, long& number) {
    char* end = nullptr;
    number = std::strtol(text.c_str(), &end, DECIMAL);
    return end != text.c_str();
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

// The names are collected before any of them is removed: what a directory gives out while it
// changes is left open by the system. False when not all of them could be read.
bool readEntries(DIR* directory, std::vector<std::string>& names) {
    errno = 0;
    for (const dirent* entry = readdir(directory); entry != nullptr; entry = readdir(directory)) {
        const std::string name(entry->d_name);
        if (name != "." && name != "..") {
            names.push_back(name);
        }
        errno = 0;
    }
    return errno == 0;
}

bool isRegularFile(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

CFiPblmOps::CFiPblmOps() : minLunNum(0), maxLunNum(HIGHEST_LUN), enclosureMaps(nullptr) {}

CFiPblmOps::~CFiPblmOps() {
    while (enclosureMaps != nullptr) {
        delete std::exchange(enclosureMaps, enclosureMaps->next);
    }
}

unsigned int CFiPblmOps::getMinLunNum() const {
    return minLunNum;
}

unsigned int CFiPblmOps::getMaxLunNum() const {
    return maxLunNum;
}

void CFiPblmOps::setLunNumRange(unsigned int min, unsigned int max) {
    minLunNum = min;
    maxLunNum = max;
    if (max > HIGHEST_LUN) {
        maxLunNum = HIGHEST_LUN;
        traceTo(traceLog, TRACE_FUNCTION,
                "CFiPblmOps::setLunNumRange: bounding to higher limit of [%d].",
                static_cast<int>(HIGHEST_LUN));
    }
}

// Negative numbers are large ones, and out of the range.
bool CFiPblmOps::isInRange(long number) const {
    const unsigned long compared = static_cast<unsigned long>(number);
    return compared >= minLunNum && compared <= maxLunNum;
}

// ---- Maps ----

int CFiPblmOps::allocLunNumEle(lunNum** out) {
    lunNum* map = new (std::nothrow) lunNum(enclosureMaps);
    if (map == nullptr) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiPblmOps::allocLunNumEle: new memory allocation failure.");
        return NO_MEMORY;
    }
    for (std::size_t n = 0; n < minLunNum && n < map->used.size(); ++n) {
        map->used.set(n);
    }
    *out = map;
    return DONE;
}

lunNum* CFiPblmOps::addMap(const std::string& enclosureId) {
    lunNum* made = nullptr;
    if (allocLunNumEle(&made) != DONE) {
        return nullptr;
    }
    std::unique_ptr<lunNum> map(made);
    map->enclosureId = enclosureId;
    enclosureMaps = map.release();
    return enclosureMaps;
}

bool CFiPblmOps::getEnclMap(const char* enclosureId, lunNum** out) {
    if (enclosureId == nullptr) {
        traceTo(traceLog, TRACE_FUNCTION, "CFiPblmOps::getEnclMap No Lun Map for enclId=[%s].\n",
                NULL_TEXT);
        return false;
    }
    // Only while there is no map at all, on purpose: later enclosures start without their records.
    if (enclosureMaps == nullptr && !refreshCache(enclosureId, nullptr)) {
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::getEnclMap refreshCache returned false.");
    }
    const std::string id(enclosureId);
    for (lunNum* map = enclosureMaps; map != nullptr; map = map->next) {
        if (CFiStringTool::CompareNoCase(map->enclosureId, id)) {
            traceTo(traceLog, TRACE_FUNCTION,
                    "CFiPblmOps::getEnclMap got Lun Map for enclId=[%s].\n", enclosureId);
            *out = map;
            return true;
        }
    }
    traceTo(traceLog, TRACE_FUNCTION, "CFiPblmOps::getEnclMap No Lun Map for enclId=[%s].\n",
            enclosureId);
    lunNum* added = addMap(id);
    if (added == nullptr) {
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::getEnclMap new memory alloc failure.");
        return false;
    }
    traceTo(traceLog, TRACE_FUNCTION, "CFiPblmOps::getEnclMap Added a Lun Map for enclId=[%s].\n",
            enclosureId);
    *out = added;
    return true;
}

bool CFiPblmOps::getNewLunNum(const char* enclosureId, std::vector<std::string>& free) {
    lunNum* map = nullptr;
    if (!getEnclMap(enclosureId, &map)) {
        traceTo(traceLog, TRACE_WARNING,
                "CFiPblmOps::getNewLunNum No Lun map present on the system.\n");
        return false;
    }
    bool first = true;
    for (unsigned int n = minLunNum; n <= maxLunNum; ++n) {
        if (map->used.test(n)) {
            continue;
        }
        free.push_back(std::to_string(n));
        if (first) {
            traceTo(traceLog, TRACE_FUNCTION, "CFiPblmOps::getNewLunNum got first Lun num=[%d].\n",
                    static_cast<int>(n));
            first = false;
        }
    }
    if (free.empty()) {
        traceTo(traceLog, TRACE_FUNCTION,
                "CFiPblmOps::getNewLunNum LUN num not able to find free LUN num .\n");
    }
    return !free.empty();
}

int CFiPblmOps::resetLunNum(const char* enclosureId, unsigned int lunNumber) {
    lunNum* map = nullptr;
    if (!getEnclMap(enclosureId, &map) || !isInRange(lunNumber)) {
        return NO_RECORD;
    }
    map->used.reset(lunNumber);
    traceTo(traceLog, TRACE_FUNCTION,
            "CFiPblmOps::resetLunNum has reset lun num [%d] in the lun map.\n",
            static_cast<int>(lunNumber));
    return DONE;
}

// ---- Scans ----

bool CFiPblmOps::refreshCache(std::string enclosureId, unsigned int* lunToRemove) {
    tstring directory;
    CFiConfigurationPathTool::getCacheLocationInfo(directory);
    directory += "luns/";
    directory += enclosureId.c_str();
    directory += "/";
    const bool scanned = scanCache(enclosureId, directory, lunToRemove);
    if (!scanned) {
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::refreshCache scanCache returned false.");
    }
    return scanned;
}

bool CFiPblmOps::scanCache(std::string enclosureId, tstring directory, unsigned int* lunToRemove) {
    const std::unique_ptr<DIR, DirectoryCloser> opened(opendir(directory.c_str()));
    if (!opened) {
        // Names refreshCache on purpose.
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::refreshCache opendir failure for path=[%s].",
                directory.c_str());
        return false;
    }
    std::vector<std::string> names;
    const bool complete = readEntries(opened.get(), names);
    for (const std::string& name : names) {
        const std::string path = directory.c_str() + name;
        if (lunToRemove != nullptr) {
            rmLunPathRecord(path, *lunToRemove);
        } else {
            fillBitMap(enclosureId, path);
        }
    }
    return complete;
}

void CFiPblmOps::fillBitMap(std::string enclosureId, std::string recordPath) {
    lunNum* map = enclosureMaps;
    // Letter case counts here, unlike in getEnclMap; kept so on purpose.
    while (map != nullptr && map->enclosureId != enclosureId) {
        map = map->next;
    }
    if (map == nullptr) {
        map = addMap(enclosureId);
    }
    if (map == nullptr) {
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::fillBitMap new memory alloc failure.");
        return;
    }
    std::vector<std::string> lines;
    const int status = getCacheRecord(recordPath.c_str(), lines);
    if (status != DONE) {
        traceTo(traceLog, TRACE_WARNING,
                "CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[%d].", status);
        return;
    }
    long number = 0;
    if (readNumber(lines.front(), number) && isInRange(number)) {
        map->used.set(static_cast<std::size_t>(number));
        traceTo(traceLog, TRACE_FUNCTION,
                "CFiPblmOps::fillBitMap has set lun num [%d] in the lun map.",
                static_cast<int>(number));
    }
}

// ---- Records ----

int CFiPblmOps::getCacheRecord(const char* path, std::vector<std::string>& lines) {
    if (path == nullptr) {
        return NO_RECORD;
    }
    // Without waiting: a pipe among the records must not stop a scan.
    const FileDescriptor file = openFile(path, O_RDONLY | O_NONBLOCK);
    char line[RECORD_LINE];
    const ssize_t got = file.isOpen() ? readSome(file, line, sizeof line - 1) : -1;
    if (got <= 0) {
        return NO_RECORD;
    }
    line[got] = '\0';
    if (char* const newline = std::strchr(line, '\n')) {
        newline[1] = '\0';
    }
    lines.emplace_back(line);
    return DONE;
}

int CFiPblmOps::getKeyValue(const char* key, int& value) {
    value = -1;
    if (key == nullptr) {
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::getKeyValue ERROR: key is NULL");
    }
    std::vector<std::string> lines;
    const int status = getCacheRecord(key, lines);
    if (status == DONE) {
        const long number = std::strtol(lines.front().c_str(), nullptr, DECIMAL);
        value = static_cast<unsigned long>(number) <= HIGHEST_LUN ? static_cast<int>(number) : -1;
    }
    return status;
}

int CFiPblmOps::setKeyValue(const char* path, std::vector<std::string> values,
                            const char* enclosureId) {
    if (!writeRecord(path, values)) {
        return NO_RECORD;
    }
    if (enclosureId == nullptr) {
        traceTo(traceLog, TRACE_WARNING,
                "CFiPblmOps::setKeyValue : No entry to be set in the bit Map because enclosureId "
                "is passed as NULL.\n");
        return DONE;
    }
    lunNum* map = nullptr;
    if (!getEnclMap(enclosureId, &map)) {
        traceTo(traceLog, TRACE_FUNCTION,
                "CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[%s].\n", enclosureId);
        return DONE;
    }
    const long number = std::strtol(values.front().c_str(), nullptr, DECIMAL);
    if (isInRange(number)) {
        map->used.set(static_cast<std::size_t>(number));
        traceTo(traceLog, TRACE_FUNCTION,
                "CFiPblmOps::setKeyValue has set lun num [%d] in the lun map.\n",
                static_cast<int>(number));
    }
    return DONE;
}

bool CFiPblmOps::writeRecord(const char* path, const std::vector<std::string>& values) {
    FileDescriptor file;
    if (path != nullptr) {
        file = openFile(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    }
    if (!file.isOpen()) {
        traceTo(traceLog, TRACE_ERROR, "CFiPblmOps::setKeyValue ERROR: fopen failure file=[%s]\n",
                path != nullptr ? path : NULL_TEXT);
        return false;
    }
    const bool written =
        !values.empty() && writeOnce(file, values.front().data(), values.front().size());
    // Some file systems tell only now that there was no room.
    const bool closed = file.close();
    if (!written || !closed) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiPblmOps::setKeyValue ERROR: fputs failure with file=[%s]\n", path);
    }
    return written && closed;
}

int CFiPblmOps::setKeyValue(const std::string&, const tstring& udid, const std::string& enclosureId,
                            int lunNumber) {
    traceTo(traceLog, TRACE_INFO, "LUNNO passed to setKeyValue is [%d]", lunNumber);
    tstring key;
    CFiConfigurationPathTool::getDevKey(udid, key);
    return setKeyValue(key.c_str(), {std::to_string(lunNumber)}, enclosureId.c_str());
}

int CFiPblmOps::rmCacheRecord(const char* path) {
    if (path == nullptr || *path == '\0') {
        traceTo(traceLog, TRACE_INFO,
                "INFO:CFiPblmOps::rmCacheRecord - key is empty, nothing to remove.");
        return DONE;
    }
    if (!isRegularFile(path) || unlink(path) != 0) {
        traceTo(traceLog, TRACE_INFO,
                "INFO:CFiPblmOps::rmCacheRecord failure for removing file=[%s]", path);
        return NO_RECORD;
    }
    traceTo(traceLog, TRACE_INFO, "INFO:CFiPblmOps::rmCacheRecord file=[%s] removed successfully",
            path);
    return DONE;
}

void CFiPblmOps::rmLunPathRecord(std::string recordPath, unsigned int lunNumber) {
    std::vector<std::string> lines;
    long number = 0;
    if (getCacheRecord(recordPath.c_str(), lines) == DONE && readNumber(lines.front(), number) &&
        static_cast<unsigned long>(number) == lunNumber) {
        rmCacheRecord(recordPath.c_str());
    }
}

int CFiPblmOps::rmLunCacheRecord(const char* enclosureId, unsigned int lunNumber) {
    if (enclosureId == nullptr || *enclosureId == '\0') {
        traceTo(traceLog, TRACE_INFO,
                "INFO:CFiPblmOps::rmLunCacheRecord - enclId is empty, cannot identify the cache "
                "record.");
        return NO_RECORD;
    }
    if (!isInRange(lunNumber)) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiPblmOps::rmLunCacheRecord invalid lun num [%d] specified.\n",
                static_cast<int>(lunNumber));
        return NO_RECORD;
    }
    if (!refreshCache(enclosureId, &lunNumber)) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiPblmOps::rmLunCacheRecord refreshCache returned failure for lun num [%d].\n",
                static_cast<int>(lunNumber));
        return NO_RECORD;
    }
    resetLunNum(enclosureId, lunNumber);
    return DONE;
}

} // namespace kzfi_pdk_4_4
