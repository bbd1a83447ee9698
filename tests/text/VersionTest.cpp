#include <gtest/gtest.h>
#include <string>

#include "Version.h"

using namespace OrynRti;

namespace {

TEST(VersionTest, TheLibraryThatIsLoadedIsTheOneTheHeadersDescribe) {
    EXPECT_STREQ(DT_VERSION_STRING, DtLibraryVersion());
    EXPECT_EQ(DT_VERSION, DtLibraryVersionNumber());
    EXPECT_EQ(std::to_string(DT_VERSION_MAJOR) + "." + std::to_string(DT_VERSION_MINOR) + "." +
                  std::to_string(DT_VERSION_PATCH),
              DtLibraryVersion());
}

}  // namespace
