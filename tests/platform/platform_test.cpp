// The stand-in for the host's library and its knobs.
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "kzfi_platform_control.h"
#include "support/failing_memory.h"

namespace {

using testing::ElementsAre;

struct WrongSize {
    const void* buffer;
    size_t taken;
    size_t givenBack;
    bool operator==(const WrongSize& other) const {
        return buffer == other.buffer && taken == other.taken && givenBack == other.givenBack;
    }
};

void remember(const void* buffer, size_t taken, size_t givenBack, void* context) {
    static_cast<std::vector<WrongSize>*>(context)->push_back({buffer, taken, givenBack});
}

char* hostText(const std::string& text) {
    char* const buffer = static_cast<char*>(kzfi_alloc_buf(text.size()));
    text.copy(buffer, text.size());
    return buffer;
}

// Answers a command with "ran " and the command, and keeps the command in a std::string.
int echo(const char* command, char** text, size_t* length, void* context) {
    *static_cast<std::string*>(context) = command;
    const std::string output = std::string("ran ") + command;
    *text = hostText(output);
    *length = output.size();
    return 7;
}

class Platform : public testing::Test {
  protected:
    Platform() { kzfi_platform_reset(); }
    ~Platform() override { kzfi_platform_reset(); }

    static kzfi_platform_counts counts() { return kzfi_platform_get_counts(); }

    // The install root as a caller takes it; "(none)" when it is left alone.
    static std::string installRoot() {
        char* root = untouched;
        EXPECT_EQ(0, kzfi_get_install_root(&root));
        if (root == untouched) {
            return "(none)";
        }
        const std::string result = root;
        kzfi_free_buf(root, result.size() + 1);
        return result;
    }

    static std::string credentials() {
        char* text = untouched;
        size_t length = 77;
        EXPECT_EQ(0, kzfi_get_credential_blob(&text, &length));
        if (text == untouched) {
            EXPECT_EQ(77u, length);
            return "(none)";
        }
        const std::string result(text, length);
        kzfi_free_buf(text, length);
        return result;
    }

    static kzfi_objid* objid(const char* name) {
        return kzfi_get_objid(name, std::strlen(name) + 1, 3);
    }

    static char untouched[];
};

char Platform::untouched[] = "untouched";

// ---- Buffers ----

TEST_F(Platform, CountsBuffersTakenAndGivenBack) {
    void* const first = kzfi_alloc_buf(10);
    void* const second = kzfi_alloc_buf(20);
    kzfi_free_buf(first, 10);
    EXPECT_EQ(2u, counts().taken);
    EXPECT_EQ(1u, counts().given_back);
    kzfi_free_buf(second, 20);
    EXPECT_EQ(2u, counts().given_back);
    EXPECT_EQ(0u, counts().wrong_size);
    EXPECT_EQ(0u, counts().unknown);
}

TEST_F(Platform, HandsOutWritableMemory) {
    char* const buffer = static_cast<char*>(kzfi_alloc_buf(1000));
    std::memset(buffer, 'x', 1000);
    EXPECT_EQ('x', buffer[999]);
    kzfi_free_buf(buffer, 1000);
}

TEST_F(Platform, IgnoresNullGivenBack) {
    kzfi_free_buf(nullptr, 5);
    EXPECT_EQ(0u, counts().given_back);
}

TEST_F(Platform, HandsOutMemoryThatFreeAccepts) {
    std::free(kzfi_alloc_buf(100));
    EXPECT_EQ(1u, counts().taken);
    EXPECT_EQ(0u, counts().given_back);
}

TEST_F(Platform, ForgetsAFreedBufferWhenItsAddressComesAgain) {
    std::vector<WrongSize> reports;
    kzfi_platform_set_size_reporter(remember, &reports);
    // malloc hands the same address out again at once; where a sanitizer keeps it back this test
    // holds, too.
    for (size_t size = 20; size < 24; ++size) {
        std::free(kzfi_alloc_buf(size));
    }
    kzfi_free_buf(kzfi_alloc_buf(24), 24);
    EXPECT_EQ(0u, counts().wrong_size);
    EXPECT_TRUE(reports.empty());
}

TEST_F(Platform, ReportsABufferGivenBackWithTheWrongSize) {
    std::vector<WrongSize> reports;
    kzfi_platform_set_size_reporter(remember, &reports);
    void* const buffer = kzfi_alloc_buf(10);
    kzfi_free_buf(buffer, 11);
    EXPECT_THAT(reports, ElementsAre(WrongSize{buffer, 10, 11}));
    EXPECT_EQ(1u, counts().given_back);
    EXPECT_EQ(1u, counts().wrong_size);
}

TEST_F(Platform, ReportsWrongSizesOnStandardErrorByDefault) {
    testing::internal::CaptureStderr();
    kzfi_free_buf(kzfi_alloc_buf(10), 11);
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, testing::HasSubstr("of 10 bytes given back as 11 bytes\n"));
}

TEST_F(Platform, CountsABufferGivenBackTwiceAndLeavesItAlone) {
    void* const buffer = kzfi_alloc_buf(10);
    kzfi_free_buf(buffer, 10);
    kzfi_free_buf(buffer, 10);
    EXPECT_EQ(2u, counts().given_back);
    EXPECT_EQ(1u, counts().unknown);
    EXPECT_EQ(0u, counts().wrong_size);
}

TEST_F(Platform, CountsAForeignBufferAndLeavesItAlone) {
    char local[4] = {};
    kzfi_free_buf(local, sizeof(local));
    EXPECT_EQ(1u, counts().given_back);
    EXPECT_EQ(1u, counts().unknown);
}

TEST_F(Platform, FailsTheChosenAllocationOnce) {
    kzfi_platform_fail_alloc(2);
    void* const first = kzfi_alloc_buf(1);
    void* const second = kzfi_alloc_buf(1);
    void* const third = kzfi_alloc_buf(1);
    EXPECT_NE(nullptr, first);
    EXPECT_EQ(nullptr, second);
    EXPECT_NE(nullptr, third);
    EXPECT_EQ(2u, counts().taken);
    kzfi_free_buf(first, 1);
    kzfi_free_buf(third, 1);
}

TEST_F(Platform, FailsTheNextAllocationForOneAndNoneForZero) {
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ(nullptr, kzfi_alloc_buf(1));
    kzfi_platform_fail_alloc(1);
    kzfi_platform_fail_alloc(0);
    void* const buffer = kzfi_alloc_buf(1);
    EXPECT_NE(nullptr, buffer);
    kzfi_free_buf(buffer, 1);
}

TEST_F(Platform, KeepsCountInSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (size_t size = 1; size <= 500; ++size) {
                kzfi_free_buf(kzfi_alloc_buf(size), size);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(2000u, counts().taken);
    EXPECT_EQ(2000u, counts().given_back);
    EXPECT_EQ(0u, counts().wrong_size);
    EXPECT_EQ(0u, counts().unknown);
}

// ---- Object ids ----

TEST_F(Platform, CopiesTheNameOfAnObjectId) {
    char name[] = "copied";
    const kzfi_objid* const id = objid(name);
    name[0] = 'X';
    EXPECT_STREQ("copied", id->name);
    EXPECT_EQ(7u, id->length);
    EXPECT_EQ(3, id->kind);
}

TEST_F(Platform, GivesOneObjectIdForAName) {
    kzfi_objid* const id = objid("one");
    EXPECT_EQ(id, objid("one"));
    EXPECT_NE(id, objid("two"));
}

TEST_F(Platform, KeepsObjectIdsOverAReset) {
    kzfi_objid* const id = objid("kept");
    kzfi_platform_reset();
    EXPECT_EQ(id, objid("kept"));
}

TEST_F(Platform, HasNoObjectIdForNoName) {
    EXPECT_EQ(nullptr, kzfi_get_objid(nullptr, 0, 3));
}

TEST_F(Platform, ReadsNoNameBeyondItsLength) {
    const char name[] = {'a', 'b', 'c'};
    EXPECT_STREQ("abc", kzfi_get_objid(name, sizeof(name), 3)->name);
}

TEST_F(Platform, FailsTheChosenObjectIdOnce) {
    kzfi_platform_fail_objid(2);
    EXPECT_NE(nullptr, objid("first"));
    EXPECT_EQ(nullptr, objid("second"));
    EXPECT_NE(nullptr, objid("second"));
}

TEST_F(Platform, ComparesObjectIdsByName) {
    char same[] = "device";
    const kzfi_objid byHand = {same, 99, 1};
    EXPECT_EQ(0, kzfi_objidcmp(&byHand, objid("device")));
    EXPECT_NE(0, kzfi_objidcmp(&byHand, objid("devicf")));
}

TEST_F(Platform, ComparesMissingObjectIds) {
    const kzfi_objid nameless = {nullptr, 0, 3};
    const kzfi_objid* const id = objid("device");
    EXPECT_EQ(0, kzfi_objidcmp(nullptr, nullptr));
    EXPECT_NE(0, kzfi_objidcmp(id, nullptr));
    EXPECT_NE(0, kzfi_objidcmp(nullptr, id));
    EXPECT_NE(0, kzfi_objidcmp(id, &nameless));
    EXPECT_NE(0, kzfi_objidcmp(&nameless, id));
}

// ---- Install root and credentials ----

TEST_F(Platform, LeavesTheArgumentsAloneByDefault) {
    EXPECT_EQ("(none)", installRoot());
    EXPECT_EQ("(none)", credentials());
}

TEST_F(Platform, HandsOutACopyOfTheInstallRoot) {
    std::string root = "/opt/root/";
    kzfi_platform_set_install_root(root.c_str());
    root = "changed";
    EXPECT_EQ("/opt/root/", installRoot());
    EXPECT_EQ("/opt/root/", installRoot());
    EXPECT_EQ(0u, counts().wrong_size);
}

TEST_F(Platform, HandsOutAnEmptyInstallRoot) {
    kzfi_platform_set_install_root("");
    EXPECT_EQ("", installRoot());
}

TEST_F(Platform, ForgetsTheInstallRoot) {
    kzfi_platform_set_install_root("/opt");
    kzfi_platform_set_install_root(nullptr);
    EXPECT_EQ("(none)", installRoot());
}

TEST_F(Platform, HandsOutTheCredentialsByLength) {
    const std::string text("user\0secret", 11);
    kzfi_platform_set_credentials(text.data(), text.size());
    EXPECT_EQ(text, credentials());
    EXPECT_EQ(0u, counts().wrong_size);
    kzfi_platform_set_credentials(nullptr, 0);
    EXPECT_EQ("(none)", credentials());
}

TEST_F(Platform, LeavesTheArgumentsAloneWithoutMemory) {
    kzfi_platform_set_install_root("/opt");
    kzfi_platform_set_credentials("text", 4);
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ("(none)", installRoot());
    kzfi_platform_fail_alloc(1);
    EXPECT_EQ("(none)", credentials());
}

// ---- No memory for the stand-in itself ----

const std::string LONG_TEXT(100, 'x');

class PlatformWithoutMemory : public Platform {
  protected:
    void SetUp() override {
        if (!kzfi_tests::controlsAllocations()) {
            GTEST_SKIP() << "the sanitizer has the allocator to itself";
        }
    }
    ~PlatformWithoutMemory() override { kzfi_tests::allocationFailed(); }
};

TEST_F(PlatformWithoutMemory, ForgetsTheTextThatItCannotKeep) {
    kzfi_platform_set_install_root("/opt");
    kzfi_platform_set_credentials("text", 4);
    kzfi_tests::failAllocation(1);
    kzfi_platform_set_install_root(LONG_TEXT.c_str());
    EXPECT_TRUE(kzfi_tests::allocationFailed());
    kzfi_tests::failAllocation(1);
    kzfi_platform_set_credentials(LONG_TEXT.data(), LONG_TEXT.size());
    EXPECT_TRUE(kzfi_tests::allocationFailed());
    EXPECT_EQ("(none)", installRoot());
    EXPECT_EQ("(none)", credentials());
}

TEST_F(PlatformWithoutMemory, LeavesTheArgumentsAlone) {
    kzfi_platform_set_install_root(LONG_TEXT.c_str());
    kzfi_platform_set_credentials(LONG_TEXT.data(), LONG_TEXT.size());
    for (const int nth : {1, 2}) { // its copy, its ledger
        char* root = untouched;
        kzfi_tests::failAllocation(nth);
        EXPECT_EQ(0, kzfi_get_install_root(&root));
        EXPECT_TRUE(kzfi_tests::allocationFailed());
        EXPECT_EQ(untouched, root);

        char* text = untouched;
        size_t length = 77;
        kzfi_tests::failAllocation(nth);
        EXPECT_EQ(0, kzfi_get_credential_blob(&text, &length));
        EXPECT_TRUE(kzfi_tests::allocationFailed());
        EXPECT_EQ(untouched, text);
        EXPECT_EQ(77u, length);
    }
    EXPECT_EQ(LONG_TEXT, installRoot());
    EXPECT_EQ(LONG_TEXT, credentials());
}

TEST_F(PlatformWithoutMemory, HasNoObjectIdUntilThereIsMemory) {
    for (int nth = 1;; ++nth) {
        kzfi_tests::failAllocation(nth);
        const kzfi_objid* const id = objid(LONG_TEXT.c_str());
        if (!kzfi_tests::allocationFailed()) {
            EXPECT_GT(nth, 2);
            ASSERT_NE(nullptr, id);
            EXPECT_EQ(LONG_TEXT, id->name);
            EXPECT_EQ(LONG_TEXT.size() + 1, id->length);
            break;
        }
        EXPECT_EQ(nullptr, id);
    }
}

// ---- Child context ----

TEST_F(Platform, IsAChildContextOnDemand) {
    EXPECT_EQ(0, kzfi_is_child_context());
    kzfi_platform_set_child_context(1);
    EXPECT_NE(0, kzfi_is_child_context());
}

TEST_F(Platform, RunsNothingWithoutARunner) {
    char initial[] = "overwritten";
    char* text = initial;
    size_t length = 9;
    EXPECT_EQ(0, kzfi_exec_cmd_in_child_context("true", &text, &length));
    EXPECT_EQ(nullptr, text);
    EXPECT_EQ(0u, length);
}

TEST_F(Platform, RunsCommandsThroughTheRunner) {
    std::string seen;
    kzfi_platform_set_command_runner(echo, &seen);
    char* text = nullptr;
    size_t length = 0;
    EXPECT_EQ(7, kzfi_exec_cmd_in_child_context("list all", &text, &length));
    EXPECT_EQ("list all", seen);
    ASSERT_NE(nullptr, text);
    EXPECT_EQ("ran list all", std::string(text, length));
    kzfi_free_buf(text, length);
}

// ---- Reset ----

TEST_F(Platform, ForgetsEverySettingAtAReset) {
    std::string seen;
    std::vector<WrongSize> reports;
    kzfi_platform_set_install_root("/opt");
    kzfi_platform_set_credentials("text", 4);
    kzfi_platform_set_child_context(1);
    kzfi_platform_set_command_runner(echo, &seen);
    kzfi_platform_set_size_reporter(remember, &reports);
    kzfi_platform_fail_alloc(1);
    kzfi_platform_fail_objid(1);
    kzfi_free_buf(seen.data(), 1);
    kzfi_platform_reset();

    EXPECT_EQ(0u, counts().taken + counts().given_back + counts().wrong_size + counts().unknown);
    EXPECT_EQ("(none)", installRoot());
    EXPECT_EQ("(none)", credentials());
    EXPECT_EQ(0, kzfi_is_child_context());
    EXPECT_NE(nullptr, objid("after"));
    char* text = nullptr;
    size_t length = 0;
    EXPECT_EQ(0, kzfi_exec_cmd_in_child_context("ls", &text, &length));
    testing::internal::CaptureStderr();
    kzfi_free_buf(kzfi_alloc_buf(1), 2);
    EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
    EXPECT_TRUE(reports.empty());
}

TEST_F(Platform, StillKnowsBuffersTakenBeforeAReset) {
    void* const buffer = kzfi_alloc_buf(8);
    kzfi_platform_reset();
    kzfi_free_buf(buffer, 8);
    EXPECT_EQ(0u, counts().taken);
    EXPECT_EQ(1u, counts().given_back);
    EXPECT_EQ(0u, counts().unknown);
}

} // namespace
