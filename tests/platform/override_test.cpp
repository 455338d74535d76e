// A program that defines helpers of the host itself takes the place of the stand-in's, for the kit
// and for the stand-in alike.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "cfistringtool.h"
#include "kzfi_platform_control.h"

namespace {

int allocations = 0;
size_t lastGivenBack = 0;

} // namespace

void* kzfi_alloc_buf(size_t size) {
    ++allocations;
    return std::malloc(size);
}

void kzfi_free_buf(void* buffer, size_t size) {
    lastGivenBack = size;
    std::free(buffer);
}

namespace {

TEST(OverriddenHost, ServesTheKit) {
    allocations = 0;
    EXPECT_EQ(L"abc", kzfi_pdk_4_4::CFiStringTool::str2wstr(std::string("abc")));
    EXPECT_EQ(1, allocations);
    EXPECT_EQ(4 * sizeof(wchar_t), lastGivenBack);
    EXPECT_EQ(0u, kzfi_platform_get_counts().taken);
}

TEST(OverriddenHost, ServesTheStandIn) {
    allocations = 0;
    kzfi_platform_set_install_root("/opt");
    char* root = nullptr;
    kzfi_get_install_root(&root);
    kzfi_platform_reset();
    ASSERT_STREQ("/opt", root);
    EXPECT_EQ(1, allocations);
    EXPECT_EQ(0u, kzfi_platform_get_counts().taken);
    kzfi_free_buf(root, 5);
}

} // namespace
