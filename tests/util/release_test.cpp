// The release text of the kit.
#include <gtest/gtest.h>

#include "kzfi_pdk.h"

namespace {

TEST(Release, IsTheTextThatTheHostReads) {
    EXPECT_STREQ("4.4", SL_STATIC_RELEASE_STR);
}

} // namespace
