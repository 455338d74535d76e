// Which LUN numbers of an enclosure are in use, remembered across runs.
#ifndef CFIPBLM_H
#define CFIPBLM_H

#include <bitset>
#include <string>
#include <vector>

#include "cfitraceable.h"

namespace kzfi_pdk_4_4 {

/// The used numbers of one enclosure; an element of the list that a CFiPblmOps keeps.
///
/// Threads and ownership: those of the CFiPblmOps.
struct lunNum {
    /// No number in use yet.
    explicit lunNum(lunNum* following) : next(following) {}
    lunNum(const lunNum&) = delete;
    lunNum& operator=(const lunNum&) = delete;

    /// The next enclosure of the list.
    lunNum* next;
    std::bitset<256> used; ///< bit n: number n is in use
    /// Whose numbers they are.
    std::string enclosureId;
};

/// Hands out LUN numbers for the devices that a provider presents from an enclosure.
///
///     pblm.setLunNumRange(10, 255);
///     std::vector<std::string> free;
///     if (pblm.getNewLunNum("ARR01", free)) {       // all free ones, the smallest first
///         tstring key;
///         CFiConfigurationPathTool::getLunKey(udid, key);
///         pblm.setKeyValue(key.c_str(), {free.front()}, "ARR01"); // in use from now on
///     }
///     pblm.rmLunCacheRecord("ARR01", number);       // free again
///
/// Numbers in use are remembered as small files, one for each device:
/// <install root>/lib/kzfi/cachefiles/luns/<enclosure id>/<any name> holds the number in decimal.
/// The first enclosure that is asked for while no map exists gets its map from these files; an
/// enclosure asked for later starts with an empty map, kept so on purpose. A provider with several
/// enclosures uses one object for each.
///
/// Threads: one thread at a time; the files are not locked either.
/// Ownership: the maps belong to the object and live as long as it does.
/// Errors: operations answer 0, 5 (no memory for a map) or 26 (a record that cannot be read,
/// written or removed, a number out of the range, no map), or false; the reason is traced. A record
/// that cannot be read never stops a scan. Thrown are std::bad_alloc, what is told at setKeyValue,
/// and what a trace handler or a helper of the host throws. A null enclosure id has no map. An
/// enclosure id becomes part of a path as it is: a provider checks what comes from outside.
class KZFI_PDK_API CFiPblmOps : public virtual CFiTraceable {
  public:
    /// The range 0 to 255, no maps.
    CFiPblmOps();
    CFiPblmOps(const CFiPblmOps&) = delete;
    CFiPblmOps& operator=(const CFiPblmOps&) = delete;
    ~CFiPblmOps() override;

    /// The range that setLunNumRange set.
    unsigned int getMinLunNum() const;
    unsigned int getMaxLunNum() const;

    /// Numbers that may be handed out; a max above 255 is taken as 255, min is taken as it is. Maps
    /// that exist keep the numbers below their old minimum in use.
    void setLunNumRange(unsigned int min, unsigned int max);

    /// Makes a map, with the numbers below the minimum in use, that would stand before the others.
    /// It is not yet part of the list: *out, unchanged after a failure, is the caller's to delete.
    /// Returns 0, or 5 without memory.
    int allocLunNumEle(lunNum** out);

    /// The map of an enclosure, whatever the case of its id, made when missing; records that cannot
    /// be read are no failure. False, with *out unchanged, for a null id and without memory.
    bool getEnclMap(const char* enclosureId, lunNum** out);

    /// Appends all free numbers of the range, ascending, as decimal texts; none is reserved by
    /// this. False when free is empty then, or when there is no map.
    bool getNewLunNum(const char* enclosureId, std::vector<std::string>& free);

    /// Appends the first line of a record file, at most 1023 characters with its newline if it has
    /// one. Returns 0, or 26 when there is none to read; lines is then unchanged.
    int getCacheRecord(const char* path, std::vector<std::string>& lines);

    /// Reads the number in a record file; a text that is no number counts as 0, and a number that
    /// is not within 0 to 255 gives -1. Returns 0, or 26 with value -1 when there is none to read.
    int getKeyValue(const char* key, int& value);

    /// Writes the first of values to the record file path, without a newline, and marks it used in
    /// the enclosure's map when it is in the range; a null enclosureId marks nothing. For a number
    /// that later runs find, path is a file in the enclosure's directory below luns/, such as
    /// CFiConfigurationPathTool::getLunKey() names. Returns 0, or 26 when the record could not be
    /// written; nothing is marked then.
    int setKeyValue(const char* path, std::vector<std::string> values, const char* enclosureId);

    /// The same for the record of the device udid that CFiConfigurationPathTool::getDevKey() names,
    /// below devHandle/. Those records are never scanned: the number is in use in this object, and
    /// a later run only finds it through getKeyValue(). The first text is not used. Throws
    /// CFiUdidException for a malformed udid, before anything is written.
    int setKeyValue(const std::string& unused, const tstring& udid, const std::string& enclosureId,
                    int lunNumber);

    /// Marks a number of the range free; no file is touched. Returns 0, or 26 when the number is
    /// out of the range or there is no map.
    int resetLunNum(const char* enclosureId, unsigned int lunNumber);

    /// Removes a record file; no map is touched. Returns 0, also for a null or empty path, or 26
    /// when path is no regular file or cannot be removed.
    int rmCacheRecord(const char* path);

    /// Removes every record of the enclosure that holds the number and marks the number free.
    /// Returns 0, or 26 when the id is null or empty, the number out of the range or the directory
    /// of the enclosure cannot be read. A record that cannot be removed is only traced.
    int rmLunCacheRecord(const char* enclosureId, unsigned int lunNumber);

  protected:
    /// Goes through the records of an enclosure: marks their numbers used or, with lunToRemove,
    /// removes those that hold that number. False when the directory cannot be read.
    bool refreshCache(std::string enclosureId, unsigned int* lunToRemove);
    bool scanCache(std::string enclosureId, tstring directory, unsigned int* lunToRemove);

    /// Marks the number in a record used when it is in the range, in the map of exactly this id,
    /// which is made when missing.
    void fillBitMap(std::string enclosureId, std::string recordPath);

    /// Removes a record when it holds the number.
    void rmLunPathRecord(std::string recordPath, unsigned int lunNumber);

    /// What getMinLunNum and getMaxLunNum answer.
    unsigned int minLunNum;
    unsigned int maxLunNum;
    lunNum* enclosureMaps; ///< newest first

  private:
    bool isInRange(long number) const;
    lunNum* addMap(const std::string& enclosureId);
    bool writeRecord(const char* path, const std::vector<std::string>& values);
};

} // namespace kzfi_pdk_4_4

#endif
