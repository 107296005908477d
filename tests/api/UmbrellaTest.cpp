// A program that includes only the umbrella header compiles and links
// against the library.
#include <webstep/webstep.h>

#include <gtest/gtest.h>

TEST(Umbrella, IncludesTheWholeLibrary) {
    EXPECT_NE(webstep::GetVersion(), nullptr);
}
