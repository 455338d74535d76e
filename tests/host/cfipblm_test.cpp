// The LUN-number map: which numbers are free, and the record files that remember the others.
#include "cfipblm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <type_traits>

#include "cficonfiguration.h"
#include "cfiudid.h"
#include "kzfi_platform_control.h"
#include "layout/virtual_slots.h"
#include "support/failing_calls.h"
#include "support/temp_dir.h"
#include "support/trace_capture.h"

namespace {

using kzfi_pdk_4_4::CFiConfigurationPathTool;
using kzfi_pdk_4_4::CFiPblmOps;
using kzfi_pdk_4_4::CFiUdidException;
using kzfi_pdk_4_4::lunNum;
using kzfi_pdk_4_4::tstring;
using kzfi_tests::Call;
using kzfi_tests::Failing;
using kzfi_tests::readFile;
using kzfi_tests::TempDir;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using kzfi_tests::writeFile;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Texts = std::vector<std::string>;
using Lines = std::vector<TracedLine>;

static_assert(!std::is_copy_constructible<CFiPblmOps>::value, "two owners of one list");
static_assert(!std::is_copy_assignable<CFiPblmOps>::value, "two owners of one list");
static_assert(sizeof(lunNum::used) == 4 * sizeof(std::uint64_t), "four words");

// The lines that several operations lead to.
const TracedLine noMemory{1, "CFiPblmOps::allocLunNumEle: new memory allocation failure."};
const TracedLine notScanned{1, "CFiPblmOps::refreshCache scanCache returned false."};

TracedLine notOpened(const std::string& path) {
    return {1, "CFiPblmOps::refreshCache opendir failure for path=[" + path + "]."};
}
TracedLine gotMap(const std::string& id) {
    return {6, "CFiPblmOps::getEnclMap got Lun Map for enclId=[" + id + "].\n"};
}
TracedLine noMap(const std::string& id) {
    return {6, "CFiPblmOps::getEnclMap No Lun Map for enclId=[" + id + "].\n"};
}
TracedLine addedMap(const std::string& id) {
    return {6, "CFiPblmOps::getEnclMap Added a Lun Map for enclId=[" + id + "].\n"};
}
TracedLine scanned(long number) {
    return {6, "CFiPblmOps::fillBitMap has set lun num [" + std::to_string(number) +
                   "] in the lun map."};
}
TracedLine written(long number) {
    return {6, "CFiPblmOps::setKeyValue has set lun num [" + std::to_string(number) +
                   "] in the lun map.\n"};
}
TracedLine released(long number) {
    return {6, "CFiPblmOps::resetLunNum has reset lun num [" + std::to_string(number) +
                   "] in the lun map.\n"};
}
TracedLine passed(long number) {
    return {3, "LUNNO passed to setKeyValue is [" + std::to_string(number) + "]"};
}
TracedLine removed(const std::string& path) {
    return {3, "INFO:CFiPblmOps::rmCacheRecord file=[" + path + "] removed successfully"};
}

// The map with its inner steps in reach.
class Pblm : public CFiPblmOps {
  public:
    using CFiPblmOps::enclosureMaps;
    using CFiPblmOps::fillBitMap;
    using CFiPblmOps::maxLunNum;
    using CFiPblmOps::minLunNum;
    using CFiPblmOps::refreshCache;
    using CFiPblmOps::rmLunPathRecord;
    using CFiPblmOps::scanCache;
};

class PblmTest : public testing::Test {
  protected:
    PblmTest() {
        kzfi_platform_set_install_root(root.path().c_str());
        std::filesystem::create_directories(cache("luns"));
        pblm.registerTraceLog(trace.log());
    }
    ~PblmTest() override { kzfi_platform_set_install_root(nullptr); }

    std::string cache(const std::string& name) const {
        return root.path("lib/kzfi/cachefiles/" + name);
    }
    std::string record(const std::string& enclosure, const std::string& name) const {
        return cache("luns/" + enclosure + "/" + name);
    }
    std::string directory(const std::string& enclosure) const { return record(enclosure, ""); }

    std::string addRecord(const std::string& enclosure, const std::string& name,
                          const std::string& text) const {
        writeFile(record(enclosure, name), text);
        return record(enclosure, name);
    }
    void addEmptyDirectory(const std::string& enclosure) const {
        std::filesystem::create_directories(directory(enclosure));
    }

    static lunNum* mapOf(CFiPblmOps& ops, const char* enclosure) {
        lunNum* map = nullptr;
        EXPECT_TRUE(ops.getEnclMap(enclosure, &map));
        return map;
    }
    lunNum* mapOf(const char* enclosure) { return mapOf(pblm, enclosure); }

    static Texts freeOf(CFiPblmOps& ops, const char* enclosure) {
        Texts free;
        ops.getNewLunNum(enclosure, free);
        return free;
    }
    Texts freeOf(const char* enclosure) { return freeOf(pblm, enclosure); }

    // The map of an enclosure without records, with the trace of its making gone.
    lunNum* freshMap(const char* enclosure) {
        addEmptyDirectory(enclosure);
        lunNum* map = mapOf(enclosure);
        trace.lines();
        return map;
    }

    static Texts numbers(unsigned int first, unsigned int last) {
        Texts texts;
        for (unsigned int n = first; n <= last; ++n) {
            texts.push_back(std::to_string(n));
        }
        return texts;
    }

    static Texts without(Texts texts, const std::string& one) {
        texts.erase(std::remove(texts.begin(), texts.end(), one), texts.end());
        return texts;
    }

    TempDir root;
    TraceCapture trace;
    Pblm pblm;
};

// ---- The class ----

TEST_F(PblmTest, KeepsItsFieldsInOrder) {
    const auto minimum = kzfi_tests::offsetIn(pblm, pblm.minLunNum);
    const auto maximum = kzfi_tests::offsetIn(pblm, pblm.maxLunNum);
    const auto maps = kzfi_tests::offsetIn(pblm, pblm.enclosureMaps);
    EXPECT_EQ(minimum, 8) << "behind the table: the trace log is in a virtual base";
    EXPECT_EQ(maximum, minimum + 4);
    EXPECT_EQ(maps, minimum + 8);

    lunNum map(nullptr);
    EXPECT_EQ(kzfi_tests::offsetIn(map, map.next), 0);
    EXPECT_EQ(kzfi_tests::offsetIn(map, map.used), 8);
    EXPECT_EQ(kzfi_tests::offsetIn(map, map.enclosureId), 40);
}

TEST_F(PblmTest, WorksWithoutATraceLog) {
    CFiPblmOps silent;
    silent.setLunNumRange(0, 300);
    EXPECT_EQ(freeOf(silent, "ARR01"), numbers(0, 255));
    EXPECT_EQ(silent.setKeyValue(nullptr, {"1"}, "ARR01"), 26);
    EXPECT_EQ(silent.rmCacheRecord(nullptr), 0);
    EXPECT_THAT(trace.all(), IsEmpty());
}

// ---- The range ----

TEST_F(PblmTest, StartsWithAllNumbersAndNoMaps) {
    EXPECT_EQ(pblm.getMinLunNum(), 0U);
    EXPECT_EQ(pblm.getMaxLunNum(), 255U);
    EXPECT_EQ(pblm.enclosureMaps, nullptr);
}

TEST_F(PblmTest, StoresARange) {
    const struct {
        unsigned int min, max;
    } ranges[] = {{0, 0}, {10, 20}, {20, 10}, {0, 255}, {300, 255}, {4294967295U, 1}};
    for (const auto& range : ranges) {
        pblm.setLunNumRange(range.min, range.max);
        EXPECT_EQ(pblm.getMinLunNum(), range.min);
        EXPECT_EQ(pblm.getMaxLunNum(), range.max);
    }
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(PblmTest, BoundsTheMaximum) {
    for (const unsigned int max : {256U, 300U, 4294967295U}) {
        pblm.setLunNumRange(10, max);
        EXPECT_EQ(pblm.getMinLunNum(), 10U);
        EXPECT_EQ(pblm.getMaxLunNum(), 255U);
        EXPECT_EQ(trace.all(),
                  (Lines{{6, "CFiPblmOps::setLunNumRange: bounding to higher limit of [255]."}}));
    }
}

// ---- Making a map ----

TEST_F(PblmTest, AllocatesAMapBeforeTheOthers) {
    lunNum* const head = freshMap("ARR01");
    pblm.setLunNumRange(3, 255);
    lunNum* map = nullptr;
    ASSERT_EQ(pblm.allocLunNumEle(&map), 0);
    const std::unique_ptr<lunNum> owned(map);

    EXPECT_EQ(map->next, head);
    EXPECT_EQ(map->enclosureId, "");
    EXPECT_EQ(map->used, std::bitset<256>(7));
    EXPECT_EQ(pblm.enclosureMaps, head) << "the caller puts it into the list";
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(PblmTest, AllocatesAMapOfANewObject) {
    lunNum* map = nullptr;
    ASSERT_EQ(pblm.allocLunNumEle(&map), 0);
    const std::unique_ptr<lunNum> owned(map);
    EXPECT_EQ(map->next, nullptr);
    EXPECT_TRUE(map->used.none());
}

TEST_F(PblmTest, AMinimumAboveTheSetFillsIt) {
    addEmptyDirectory("ARR01");
    for (const unsigned int min : {256U, 257U, 4294967295U}) {
        pblm.setLunNumRange(min, 255);
        lunNum* map = nullptr;
        ASSERT_EQ(pblm.allocLunNumEle(&map), 0);
        const std::unique_ptr<lunNum> owned(map);
        EXPECT_TRUE(map->used.all());
        EXPECT_THAT(freeOf("ARR01"), IsEmpty());
        EXPECT_EQ(pblm.getMinLunNum(), min);
    }
}

TEST_F(PblmTest, TellsThatThereIsNoMemoryForAMap) {
    lunNum other(nullptr);
    lunNum* map = &other;
    const Failing allocations(Call::NEW, ENOMEM);
    EXPECT_EQ(pblm.allocLunNumEle(&map), 5);
    EXPECT_EQ(map, &other);
    EXPECT_EQ(trace.all(), (Lines{noMemory}));
}

// ---- Finding an enclosure's map ----

TEST_F(PblmTest, AddsAMapWhereThereIsNoDirectory) {
    lunNum* map = nullptr;
    EXPECT_TRUE(pblm.getEnclMap("ARR01", &map));
    EXPECT_EQ(trace.all(), (Lines{notOpened(directory("ARR01")),
                                  notScanned,
                                  {1, "CFiPblmOps::getEnclMap refreshCache returned false."},
                                  noMap("ARR01"),
                                  addedMap("ARR01")}));
    ASSERT_EQ(map, pblm.enclosureMaps);
    EXPECT_EQ(map->enclosureId, "ARR01");
    EXPECT_EQ(map->next, nullptr);
    EXPECT_TRUE(map->used.none());
}

TEST_F(PblmTest, AddsAMapForAnEmptyDirectory) {
    addEmptyDirectory("ARR01");
    EXPECT_EQ(mapOf("ARR01"), pblm.enclosureMaps);
    EXPECT_EQ(trace.all(), (Lines{noMap("ARR01"), addedMap("ARR01")}));
}

TEST_F(PblmTest, BuildsTheFirstMapFromItsRecords) {
    addRecord("ARR01", "disk", "12");
    lunNum* const map = mapOf("ARR01");
    EXPECT_EQ(trace.all(), (Lines{scanned(12), gotMap("ARR01")}));
    EXPECT_EQ(map->used.count(), 1U);
    EXPECT_TRUE(map->used.test(12));
}

TEST_F(PblmTest, ReadsNoRecordsAgainOnceThereIsAMap) {
    freshMap("ARR01");
    addRecord("ARR01", "late", "12");
    addRecord("ARR02", "disk", "13");
    EXPECT_TRUE(mapOf("ARR01")->used.none());
    EXPECT_TRUE(mapOf("ARR02")->used.none()) << "a later enclosure starts without its records";
    EXPECT_EQ(trace.all(), (Lines{gotMap("ARR01"), noMap("ARR02"), addedMap("ARR02")}));
}

TEST_F(PblmTest, PutsTheNewestMapFirst) {
    lunNum* const first = freshMap("ARR01");
    lunNum* const second = freshMap("ARR02");
    EXPECT_EQ(pblm.enclosureMaps, second);
    EXPECT_EQ(second->next, first);
    EXPECT_EQ(first->next, nullptr);
}

TEST_F(PblmTest, FindsAMapWhateverTheCaseOfTheId) {
    lunNum* const map = freshMap("Arr01");
    EXPECT_EQ(mapOf("aRR01"), map);
    EXPECT_EQ(trace.all(), (Lines{gotMap("aRR01")}));
}

TEST_F(PblmTest, ANullEnclosureHasNoMap) {
    lunNum other(nullptr);
    lunNum* map = &other;
    EXPECT_FALSE(pblm.getEnclMap(nullptr, &map));
    EXPECT_EQ(map, &other);
    EXPECT_EQ(pblm.enclosureMaps, nullptr);
    EXPECT_EQ(trace.all(), (Lines{noMap("NULL")}));
}

TEST_F(PblmTest, HasNoMapWithoutMemory) {
    addEmptyDirectory("ARR01");
    lunNum other(nullptr);
    lunNum* map = &other;
    const Failing allocations(Call::NEW, ENOMEM);
    EXPECT_FALSE(pblm.getEnclMap("ARR01", &map));
    EXPECT_EQ(map, &other);
    EXPECT_EQ(pblm.enclosureMaps, nullptr);
    EXPECT_EQ(
        trace.all(),
        (Lines{noMap("ARR01"), noMemory, {1, "CFiPblmOps::getEnclMap new memory alloc failure."}}));
}

// ---- Scanning records ----

TEST_F(PblmTest, MarksNumbersOfTheRangeOnly) {
    pblm.setLunNumRange(10, 200);
    const struct {
        const char* text;
        long marked;
    } records[] = {{"10", 10},
                   {"200", 200},
                   {"12\n", 12},
                   {"13\n14\n", 13},
                   {" 15", 15},
                   {"+16", 16},
                   {"017", 17},
                   {"18abc", 18},
                   {"19 ", 19},
                   {"9", -1},
                   {"201", -1},
                   {"255", -1},
                   {"300", -1},
                   {"-20", -1},
                   {"4294967316", -1},
                   {"18446744073709551636", -1},
                   {"-18446744073709551596", -1}};
    for (const auto& entry : records) {
        SCOPED_TRACE(entry.text);
        lunNum* const map = freshMap("ARR01");
        map->used.reset();
        pblm.fillBitMap("ARR01", addRecord("ARR01", "disk", entry.text));
        if (entry.marked < 0) {
            EXPECT_TRUE(map->used.none());
            EXPECT_THAT(trace.all(), IsEmpty());
            continue;
        }
        EXPECT_EQ(map->used.count(), 1U);
        EXPECT_TRUE(map->used.test(static_cast<std::size_t>(entry.marked)));
        EXPECT_EQ(trace.all(), (Lines{scanned(entry.marked)}));
    }
}

TEST_F(PblmTest, IgnoresRecordsThatAreNoNumbers) {
    lunNum* const map = freshMap("ARR01");
    for (const char* text : {"abc", "x12", "-", "+", " ", "\n", "\n0", "\n20", "."}) {
        SCOPED_TRACE(text);
        pblm.fillBitMap("ARR01", addRecord("ARR01", "disk", text));
        EXPECT_TRUE(map->used.none()) << "zero must not be taken for used";
        EXPECT_THAT(trace.all(), IsEmpty());
    }
    pblm.fillBitMap("ARR01", addRecord("ARR01", "disk", "0"));
    EXPECT_TRUE(map->used.test(0));
}

TEST_F(PblmTest, MakesTheMapBeforeItReadsTheRecord) {
    pblm.fillBitMap("ARR01", record("ARR01", "missing"));
    EXPECT_EQ(trace.all(),
              (Lines{{2, "CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[26]."}}));
    ASSERT_NE(pblm.enclosureMaps, nullptr);
    EXPECT_EQ(pblm.enclosureMaps->enclosureId, "ARR01");
    EXPECT_TRUE(pblm.enclosureMaps->used.none());
}

TEST_F(PblmTest, ScansWithRegardToTheCaseOfTheId) {
    lunNum* const upper = freshMap("ARR01");
    pblm.fillBitMap("arr01", addRecord("ARR01", "disk", "12"));
    lunNum* const lower = pblm.enclosureMaps;
    ASSERT_NE(lower, upper);
    EXPECT_EQ(lower->next, upper);
    EXPECT_EQ(lower->enclosureId, "arr01");
    EXPECT_TRUE(lower->used.test(12));
    EXPECT_TRUE(upper->used.none());
    EXPECT_EQ(mapOf("ARR01"), lower) << "the newest of those that differ in case only";
}

TEST_F(PblmTest, MarksNothingWithoutMemory) {
    const std::string path = addRecord("ARR01", "disk", "12");
    const Failing allocations(Call::NEW, ENOMEM);
    pblm.fillBitMap("ARR01", path);
    EXPECT_EQ(pblm.enclosureMaps, nullptr);
    EXPECT_EQ(trace.all(),
              (Lines{noMemory, {1, "CFiPblmOps::fillBitMap new memory alloc failure."}}));
}

TEST_F(PblmTest, NoRecordStopsAScan) {
    addRecord("ARR01", "empty", "");
    addRecord("ARR01", "text", "abc");
    addRecord("ARR01", "large", "300");
    std::filesystem::create_directories(record("ARR01", "folder"));
    std::filesystem::create_symlink("nowhere", record("ARR01", "link"));
    ASSERT_EQ(mkfifo(record("ARR01", "pipe").c_str(), 0600), 0);
    for (const char* number : {"1", "2", "3"}) {
        addRecord("ARR01", std::string("disk") + number, number);
    }
    EXPECT_TRUE(pblm.refreshCache("ARR01", nullptr));
    const TracedLine unreadable{
        2, "CFiPblmOps::fillBitMap ignore failure in getCacheRecord err=[26]."};
    EXPECT_THAT(trace.all(), UnorderedElementsAre(unreadable, unreadable, unreadable, unreadable,
                                                  scanned(1), scanned(2), scanned(3)));
    EXPECT_EQ(mapOf("ARR01")->used, std::bitset<256>(2 + 4 + 8));
}

TEST_F(PblmTest, ScansTheDirectoryGiven) {
    const std::string path = root.path("elsewhere/");
    writeFile(path + "disk", "7");
    EXPECT_TRUE(pblm.scanCache("ARR01", path.c_str(), nullptr));
    EXPECT_TRUE(mapOf("ARR01")->used.test(7));
}

TEST_F(PblmTest, AScanFailsWithoutItsDirectory) {
    EXPECT_FALSE(pblm.scanCache("ARR01", root.path("none/").c_str(), nullptr));
    EXPECT_EQ(trace.all(), (Lines{notOpened(root.path("none/"))}));
    EXPECT_FALSE(pblm.refreshCache("ARR01", nullptr));
    EXPECT_EQ(trace.all(), (Lines{notOpened(directory("ARR01")), notScanned}));
    EXPECT_EQ(pblm.enclosureMaps, nullptr);
}

// ---- Free numbers ----

TEST_F(PblmTest, ListsAllNumbersOfAnEnclosureWithoutRecords) {
    freshMap("ARR01");
    Texts free;
    EXPECT_TRUE(pblm.getNewLunNum("ARR01", free));
    EXPECT_EQ(free, numbers(0, 255));
    EXPECT_EQ(trace.all(),
              (Lines{gotMap("ARR01"), {6, "CFiPblmOps::getNewLunNum got first Lun num=[0].\n"}}));
    EXPECT_EQ(freeOf("ARR01"), numbers(0, 255)) << "none is reserved";
}

TEST_F(PblmTest, StartsAtTheMinimum) {
    pblm.setLunNumRange(10, 300);
    trace.all();
    addEmptyDirectory("ARR01");
    EXPECT_EQ(freeOf("ARR01"), numbers(10, 255));
    EXPECT_THAT(trace.all(),
                Contains(TracedLine{6, "CFiPblmOps::getNewLunNum got first Lun num=[10].\n"}));
    EXPECT_EQ(mapOf("ARR01")->used, std::bitset<256>(1023));
}

TEST_F(PblmTest, EndsAtTheMaximum) {
    pblm.setLunNumRange(3, 5);
    EXPECT_EQ(freeOf("ARR01"), (Texts{"3", "4", "5"}));
    pblm.setLunNumRange(5, 3);
    EXPECT_THAT(freeOf("ARR01"), IsEmpty());
}

TEST_F(PblmTest, AChangedRangeLeavesMapsAlone) {
    pblm.setLunNumRange(10, 20);
    EXPECT_EQ(freeOf("ARR01"), numbers(10, 20));
    pblm.setLunNumRange(5, 20);
    EXPECT_EQ(freeOf("ARR01"), numbers(10, 20)) << "numbers below the old minimum stay in use";
    pblm.setLunNumRange(15, 20);
    EXPECT_EQ(freeOf("ARR01"), numbers(15, 20));
    EXPECT_EQ(mapOf("ARR01")->used, std::bitset<256>(1023));
}

TEST_F(PblmTest, AppendsFreeNumbers) {
    freshMap("ARR01")->used.set();
    mapOf("ARR01")->used.reset(254);
    Texts free = {"before"};
    EXPECT_TRUE(pblm.getNewLunNum("ARR01", free));
    EXPECT_EQ(free, (Texts{"before", "254"}));
    EXPECT_THAT(trace.all(),
                Contains(TracedLine{6, "CFiPblmOps::getNewLunNum got first Lun num=[254].\n"}));
}

TEST_F(PblmTest, TellsThatNoNumberIsFree) {
    freshMap("ARR01")->used.set();
    Texts free;
    EXPECT_FALSE(pblm.getNewLunNum("ARR01", free));
    EXPECT_THAT(free, IsEmpty());
    EXPECT_EQ(trace.all(),
              (Lines{gotMap("ARR01"),
                     {6, "CFiPblmOps::getNewLunNum LUN num not able to find free LUN num .\n"}}));
}

TEST_F(PblmTest, ACallersOwnTextCountsAsFree) {
    freshMap("ARR01")->used.set();
    Texts free = {"before"};
    EXPECT_TRUE(pblm.getNewLunNum("ARR01", free));
    EXPECT_EQ(free, Texts{"before"});
    EXPECT_EQ(trace.all(), (Lines{gotMap("ARR01")}));
}

TEST_F(PblmTest, ListsNothingWithoutAMap) {
    Texts free = {"before"};
    EXPECT_FALSE(pblm.getNewLunNum(nullptr, free));
    EXPECT_EQ(free, Texts{"before"});
    EXPECT_EQ(trace.all(),
              (Lines{noMap("NULL"),
                     {2, "CFiPblmOps::getNewLunNum No Lun map present on the system.\n"}}));
}

TEST_F(PblmTest, Reads256Records) {
    for (int n = 0; n < 256; ++n) {
        addRecord("ARR01", "disk" + std::to_string(n), std::to_string(n));
    }
    Texts free;
    EXPECT_FALSE(pblm.getNewLunNum("ARR01", free));
    EXPECT_THAT(free, IsEmpty());
    EXPECT_TRUE(mapOf("ARR01")->used.all());

    std::filesystem::remove(record("ARR01", "disk77"));
    CFiPblmOps later;
    EXPECT_EQ(freeOf(later, "ARR01"), Texts{"77"});
}

// ---- Reading a record ----

TEST_F(PblmTest, ReadsTheFirstLineOfARecord) {
    const std::string longest(1023, 'x');
    const struct {
        std::string text, line;
    } records[] = {{"12", "12"},
                   {"12\n", "12\n"},
                   {"12\n13\n", "12\n"},
                   {"\n", "\n"},
                   {"\n12", "\n"},
                   {"12\r\n", "12\r\n"},
                   {std::string("12\0x", 4), "12"},
                   {longest.substr(1), longest.substr(1)},
                   {longest.substr(1) + "\n", longest.substr(1) + "\n"},
                   {longest, longest},
                   {longest + "\n", longest},
                   {longest + "y", longest},
                   {std::string(5000, 'x'), longest}};
    for (const auto& entry : records) {
        Texts lines = {"before"};
        EXPECT_EQ(pblm.getCacheRecord(addRecord("ARR01", "disk", entry.text).c_str(), lines), 0);
        EXPECT_EQ(lines, (Texts{"before", entry.line}));
    }
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(PblmTest, TellsThatThereIsNoRecordToRead) {
    const std::string pipe = record("ARR01", "pipe");
    const std::string empty = addRecord("ARR01", "empty", "");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string missing = record("ARR01", "missing");
    const std::string folder = directory("ARR01");
    for (const char* path : {static_cast<const char*>(nullptr), "", missing.c_str(), empty.c_str(),
                             folder.c_str(), pipe.c_str()}) {
        SCOPED_TRACE(path != nullptr ? path : "null");
        Texts lines = {"before"};
        EXPECT_EQ(pblm.getCacheRecord(path, lines), 26);
        EXPECT_EQ(lines, Texts{"before"});
    }
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(PblmTest, ReadsTheNumberOfARecord) {
    const struct {
        const char* text;
        int value;
    } records[] = {{"0", 0},           {"12", 12},
                   {"255", 255},       {"12\n", 12},
                   {" 12x", 12},       {"abc", 0},
                   {"\n", 0},          {"010", 10},
                   {"256", -1},        {"300", -1},
                   {"-1", -1},         {"-3", -1},
                   {"4294967301", -1}, {"99999999999999999999", -1}};
    for (const auto& entry : records) {
        SCOPED_TRACE(entry.text);
        int value = 77;
        EXPECT_EQ(pblm.getKeyValue(addRecord("ARR01", "disk", entry.text).c_str(), value), 0);
        EXPECT_EQ(value, entry.value);
    }
    EXPECT_THAT(trace.all(), IsEmpty());
}

TEST_F(PblmTest, ReadsNoNumberWithoutARecord) {
    int value = 77;
    EXPECT_EQ(pblm.getKeyValue(record("ARR01", "missing").c_str(), value), 26);
    EXPECT_EQ(value, -1);
    EXPECT_THAT(trace.all(), IsEmpty());

    value = 77;
    EXPECT_EQ(pblm.getKeyValue(nullptr, value), 26);
    EXPECT_EQ(value, -1);
    EXPECT_EQ(trace.all(), (Lines{{1, "CFiPblmOps::getKeyValue ERROR: key is NULL"}}));
}

// ---- Writing a record ----

TEST_F(PblmTest, WritesTheFirstValueAndMarksIt) {
    lunNum* const map = freshMap("ARR01");
    const std::string path = record("ARR01", "disk");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"12", "13"}, "arr01"), 0);
    EXPECT_EQ(readFile(path), "12");
    EXPECT_EQ(map->used.count(), 1U);
    EXPECT_TRUE(map->used.test(12));
    EXPECT_EQ(trace.all(), (Lines{gotMap("arr01"), written(12)}));
}

TEST_F(PblmTest, ReplacesARecord) {
    const std::string path = addRecord("ARR01", "disk", "a much longer text\nand more");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"7"}, nullptr), 0);
    EXPECT_EQ(readFile(path), "7");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"free text\n"}, nullptr), 0);
    EXPECT_EQ(readFile(path), "free text\n");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {""}, nullptr), 0);
    EXPECT_EQ(readFile(path), "");
}

TEST_F(PblmTest, WritesTheRecordBeforeItLooksForTheMap) {
    addEmptyDirectory("ARR01");
    const std::string path = record("ARR01", "disk");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"12"}, "ARR01"), 0);
    EXPECT_EQ(trace.all(), (Lines{scanned(12), gotMap("ARR01"), written(12)}));
}

TEST_F(PblmTest, MarksOnlyNumbersOfTheRange) {
    pblm.setLunNumRange(10, 20);
    const struct {
        const char* text;
        long marked;
    } values[] = {{"10", 10}, {"20", 20},  {"15abc", 15},      {"9", -1},
                  {"21", -1}, {"-11", -1}, {"4294967307", -1}, {"abc", -1}};
    for (const auto& value : values) {
        SCOPED_TRACE(value.text);
        lunNum* const map = freshMap("ARR01");
        map->used.reset();
        const std::string path = record("ARR01", "disk");
        EXPECT_EQ(pblm.setKeyValue(path.c_str(), {value.text}, "ARR01"), 0);
        EXPECT_EQ(readFile(path), value.text);
        EXPECT_EQ(map->used.count(), value.marked < 0 ? 0U : 1U);
        EXPECT_THAT(trace.all(), SizeIs(value.marked < 0 ? 1 : 2));
        if (value.marked >= 0) {
            EXPECT_TRUE(map->used.test(static_cast<std::size_t>(value.marked)));
        }
    }
}

TEST_F(PblmTest, MarksZeroForAWrittenTextThatIsNoNumber) {
    lunNum* const map = freshMap("ARR01");
    EXPECT_EQ(pblm.setKeyValue(record("ARR01", "disk").c_str(), {"abc"}, "ARR01"), 0);
    EXPECT_TRUE(map->used.test(0));
    EXPECT_THAT(trace.all(), Contains(written(0)));
}

TEST_F(PblmTest, WritesARecordOfNoEnclosure) {
    lunNum* const map = freshMap("ARR01");
    const std::string path = record("ARR01", "disk");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"12"}, nullptr), 0);
    EXPECT_EQ(readFile(path), "12");
    EXPECT_TRUE(map->used.none());
    EXPECT_EQ(trace.all(), (Lines{{2, "CFiPblmOps::setKeyValue : No entry to be set in the bit Map "
                                      "because enclosureId is passed as NULL.\n"}}));
}

TEST_F(PblmTest, WritesARecordWithoutAMap) {
    addEmptyDirectory("ARR01");
    const std::string path = root.path("record");
    const Failing allocations(Call::NEW, ENOMEM);
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"12"}, "ARR01"), 0);
    EXPECT_EQ(readFile(path), "12");
    const std::vector<TracedLine> lines = trace.all();
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_EQ(
        lines.back(),
        (TracedLine{6, "CFiPblmOps::setKeyValue : No bit Map for the enclosureId=[ARR01].\n"}));
}

TEST_F(PblmTest, MarksNothingWhenTheRecordCannotBeOpened) {
    lunNum* const map = freshMap("ARR01");
    const std::string path = record("ARR02", "disk");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {"12"}, "ARR01"), 26);
    EXPECT_EQ(trace.all(),
              (Lines{{1, "CFiPblmOps::setKeyValue ERROR: fopen failure file=[" + path + "]\n"}}));
    EXPECT_EQ(pblm.setKeyValue(nullptr, {"12"}, "ARR01"), 26);
    EXPECT_EQ(trace.all(),
              (Lines{{1, "CFiPblmOps::setKeyValue ERROR: fopen failure file=[NULL]\n"}}));
    EXPECT_TRUE(map->used.none());
}

TEST_F(PblmTest, MarksNothingWhenTheRecordCannotBeWritten) {
    lunNum* const map = freshMap("ARR01");
    EXPECT_EQ(pblm.setKeyValue("/dev/full", {"12"}, "ARR01"), 26);
    EXPECT_EQ(trace.all(),
              (Lines{{1, "CFiPblmOps::setKeyValue ERROR: fputs failure with file=[/dev/full]\n"}}));
    EXPECT_TRUE(map->used.none());
}

TEST_F(PblmTest, NoValueIsAFailedWrite) {
    lunNum* const map = freshMap("ARR01");
    const std::string path = record("ARR01", "disk");
    EXPECT_EQ(pblm.setKeyValue(path.c_str(), {}, "ARR01"), 26);
    EXPECT_EQ(trace.all(), (Lines{{1, "CFiPblmOps::setKeyValue ERROR: fputs failure with file=[" +
                                          path + "]\n"}}));
    EXPECT_TRUE(map->used.none());
}

// ---- The record of a device ----

TEST_F(PblmTest, WritesTheRecordOfADevice) {
    lunNum* const map = freshMap("ENC7");
    const std::string udid = "UDID##acme##disk##ARR01##d1";
    EXPECT_EQ(pblm.setKeyValue(std::string("any"), udid.c_str(), std::string("ENC7"), 12), 0);
    EXPECT_EQ(trace.all(), (Lines{passed(12), gotMap("ENC7"), written(12)}));
    EXPECT_EQ(readFile(cache("devHandle/ARR01/" + udid)), "12");
    EXPECT_TRUE(map->used.test(12));
    EXPECT_TRUE(std::filesystem::is_empty(directory("ENC7")));
    EXPECT_FALSE(std::filesystem::exists(directory("ARR01"))) << "nothing below luns/";
}

TEST_F(PblmTest, WritesTheRecordOfADeviceWhateverTheNumber) {
    lunNum* const map = freshMap("ARR01");
    const std::string udid = "UDID##acme##disk##ARR01##d1";
    for (const int number : {-3, 256, 2147483647}) {
        const std::string text = std::to_string(number);
        EXPECT_EQ(pblm.setKeyValue(std::string(), udid.c_str(), std::string("ARR01"), number), 0);
        EXPECT_EQ(readFile(cache("devHandle/ARR01/" + udid)), text);
        EXPECT_THAT(trace.all(), Contains(passed(number)));
    }
    EXPECT_TRUE(map->used.none());
}

TEST_F(PblmTest, AMalformedDeviceLeavesAnException) {
    freshMap("ARR01");
    EXPECT_THROW(pblm.setKeyValue(std::string(), "no identifier", std::string("ARR01"), 12),
                 CFiUdidException);
    EXPECT_EQ(trace.all(), (Lines{passed(12)}));
    EXPECT_TRUE(mapOf("ARR01")->used.none());
    EXPECT_TRUE(std::filesystem::is_empty(cache("devHandle"))) << "nothing is written";
}

TEST_F(PblmTest, ARecordOfADeviceThatCannotBeWrittenMarksNothing) {
    lunNum* const map = freshMap("ARR01");
    const std::string udid = "UDID##acme##disk##ARR01##d1";
    const std::string path = cache("devHandle/ARR01/" + udid);
    std::filesystem::create_directories(path);
    EXPECT_EQ(pblm.setKeyValue(std::string(), udid.c_str(), std::string("ARR01"), 12), 26);
    EXPECT_FALSE(map->used.test(12));
}

// ---- Releasing numbers ----

TEST_F(PblmTest, ResetsANumber) {
    lunNum* const map = freshMap("ARR01");
    const std::string path = addRecord("ARR01", "disk", "12");
    map->used.set(12).set(13);
    EXPECT_EQ(pblm.resetLunNum("arr01", 12), 0);
    EXPECT_EQ(map->used, std::bitset<256>().set(13));
    EXPECT_EQ(trace.all(), (Lines{gotMap("arr01"), released(12)}));
    EXPECT_EQ(readFile(path), "12") << "no file is touched";
    EXPECT_EQ(pblm.resetLunNum("ARR01", 12), 0) << "a free number stays free";
}

TEST_F(PblmTest, ResetsOnlyNumbersOfTheRange) {
    lunNum* const map = freshMap("ARR01");
    map->used.set();
    pblm.setLunNumRange(10, 20);
    for (const unsigned int number : {0U, 9U, 21U, 255U, 256U, 4294967295U}) {
        EXPECT_EQ(pblm.resetLunNum("ARR01", number), 26);
        EXPECT_EQ(trace.all(), (Lines{gotMap("ARR01")}));
    }
    EXPECT_TRUE(map->used.all());
    EXPECT_EQ(pblm.resetLunNum("ARR01", 10), 0);
    EXPECT_EQ(pblm.resetLunNum("ARR01", 20), 0);
    EXPECT_EQ(map->used.count(), 254U);
}

TEST_F(PblmTest, ResetsNothingWithoutAMap) {
    EXPECT_EQ(pblm.resetLunNum(nullptr, 12), 26);
    EXPECT_EQ(trace.all(), (Lines{noMap("NULL")}));
}

TEST_F(PblmTest, RemovesARecord) {
    const std::string path = addRecord("ARR01", "disk", "12");
    lunNum* const map = mapOf("ARR01");
    trace.all();
    EXPECT_EQ(pblm.rmCacheRecord(path.c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(trace.all(), (Lines{removed(path)}));
    EXPECT_TRUE(map->used.test(12)) << "no map is touched";
}

TEST_F(PblmTest, HasNothingToRemoveWithoutAName) {
    for (const char* path : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(pblm.rmCacheRecord(path), 0);
        EXPECT_EQ(
            trace.all(),
            (Lines{{3, "INFO:CFiPblmOps::rmCacheRecord - key is empty, nothing to remove."}}));
    }
}

TEST_F(PblmTest, RemovesNothingButRecords) {
    addEmptyDirectory("ARR01");
    const std::string pipe = record("ARR01", "pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // A file that not even root can remove.
    const std::string kept = "/proc/self/status";
    for (const std::string& path : {record("ARR01", "missing"), directory("ARR01"), pipe, kept}) {
        EXPECT_EQ(pblm.rmCacheRecord(path.c_str()), 26);
        EXPECT_EQ(trace.all(),
                  (Lines{{3, "INFO:CFiPblmOps::rmCacheRecord failure for removing file=[" + path +
                                 "]"}}));
    }
    EXPECT_TRUE(std::filesystem::exists(pipe));
}

TEST_F(PblmTest, RemovesARecordThatHoldsTheNumber) {
    const struct {
        const char* text;
        bool removed;
    } records[] = {{"12", true},   {"12\n", true}, {" 12abc", true},   {"012", true},
                   {"13", false},  {"1", false},   {"-12", false},     {"4294967308", false},
                   {"x12", false}, {"", false},    {"13\n12\n", false}};
    for (const auto& entry : records) {
        SCOPED_TRACE(entry.text);
        const std::string path = addRecord("ARR01", "disk", entry.text);
        pblm.rmLunPathRecord(path, 12);
        EXPECT_EQ(std::filesystem::exists(path), !entry.removed);
    }
    const std::string text = addRecord("ARR01", "disk", "abc");
    pblm.rmLunPathRecord(text, 0);
    EXPECT_TRUE(std::filesystem::exists(text)) << "a text that is no number is not zero";
}

TEST_F(PblmTest, RemovesAllRecordsOfANumber) {
    const std::string first = addRecord("ARR01", "a", "12");
    const std::string second = addRecord("ARR01", "b", "12\n");
    const std::string other = addRecord("ARR01", "c", "13");
    addRecord("ARR01", "empty", "");
    std::filesystem::create_directories(record("ARR01", "folder"));
    lunNum* const map = mapOf("ARR01");
    trace.all();

    EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", 12), 0);
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_FALSE(std::filesystem::exists(second));
    EXPECT_EQ(readFile(other), "13");
    EXPECT_EQ(map->used, std::bitset<256>().set(13));
    EXPECT_THAT(trace.all(), UnorderedElementsAre(removed(first), removed(second), gotMap("ARR01"),
                                                  released(12)));
}

TEST_F(PblmTest, ReleasesANumberThatHasNoRecord) {
    lunNum* const map = freshMap("ARR01");
    map->used.set(12);
    EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", 12), 0);
    EXPECT_TRUE(map->used.none());
}

TEST_F(PblmTest, ReleasesAllOf256Records) {
    for (int n = 0; n < 256; ++n) {
        addRecord("ARR01", "disk" + std::to_string(n), "42");
    }
    EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", 42), 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory("ARR01")));
}

TEST_F(PblmTest, ReleasesNothingWithoutAnEnclosure) {
    for (const char* enclosure : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(pblm.rmLunCacheRecord(enclosure, 12), 26);
        EXPECT_EQ(trace.all(), (Lines{{3, "INFO:CFiPblmOps::rmLunCacheRecord - enclId is empty, "
                                          "cannot identify the cache record."}}));
    }
}

TEST_F(PblmTest, ReleasesOnlyNumbersOfTheRange) {
    pblm.setLunNumRange(10, 20);
    const std::string path = addRecord("ARR01", "disk", "9");
    for (const unsigned int number : {9U, 21U, 256U}) {
        EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", number), 26);
        EXPECT_EQ(trace.all(), (Lines{{1, "CFiPblmOps::rmLunCacheRecord invalid lun num [" +
                                              std::to_string(number) + "] specified.\n"}}));
    }
    EXPECT_EQ(readFile(path), "9");
}

TEST_F(PblmTest, ReleasesNothingWithoutTheDirectory) {
    lunNum* const map = freshMap("ARR01");
    map->used.set(12);
    std::filesystem::remove(directory("ARR01"));
    EXPECT_EQ(pblm.rmLunCacheRecord("ARR01", 12), 26);
    EXPECT_EQ(
        trace.all(),
        (Lines{
            notOpened(directory("ARR01")),
            notScanned,
            {1,
             "CFiPblmOps::rmLunCacheRecord refreshCache returned failure for lun num [12].\n"}}));
    EXPECT_TRUE(map->used.test(12));
}

// ---- Across runs ----

TEST_F(PblmTest, ALaterRunFindsTheNumbersInUse) {
    const char* const udid = "UDID##acme##disk##ARR01##d1";
    tstring key;
    ASSERT_EQ(CFiConfigurationPathTool::getLunKey(udid, key), -1);
    EXPECT_EQ(pblm.setKeyValue(key.c_str(), {"12"}, "ARR01"), 0);
    EXPECT_EQ(freeOf("ARR01"), without(numbers(0, 255), "12"));

    CFiPblmOps later;
    EXPECT_EQ(freeOf(later, "ARR01"), without(numbers(0, 255), "12"));
    int number = -1;
    EXPECT_EQ(later.getKeyValue(key.c_str(), number), 0);
    EXPECT_EQ(number, 12);
    EXPECT_EQ(later.rmLunCacheRecord("ARR01", 12), 0);
    EXPECT_EQ(freeOf(later, "ARR01"), numbers(0, 255));

    CFiPblmOps last;
    EXPECT_EQ(freeOf(last, "ARR01"), numbers(0, 255));
}

TEST_F(PblmTest, ALaterRunDoesNotScanTheRecordsOfDevices) {
    const char* const udid = "UDID##acme##disk##ARR01##d1";
    EXPECT_EQ(pblm.setKeyValue(std::string(), udid, std::string("ARR01"), 12), 0);
    EXPECT_EQ(freeOf("ARR01"), without(numbers(0, 255), "12"));

    CFiPblmOps later;
    EXPECT_EQ(freeOf(later, "ARR01"), numbers(0, 255));
    tstring key;
    EXPECT_EQ(CFiConfigurationPathTool::getDevKey(udid, key), 0);
    int number = -1;
    EXPECT_EQ(later.getKeyValue(key.c_str(), number), 0);
    EXPECT_EQ(number, 12);
}

} // namespace
