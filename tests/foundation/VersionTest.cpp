#include "webstep/foundation/Version.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(Version, IsTheProjectVersion) {
    EXPECT_STREQ(webstep::GetVersion(), WEBSTEP_EXPECTED_VERSION);
}
