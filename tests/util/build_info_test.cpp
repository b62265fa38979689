#include "util/build_info.h"

#include <gmock/gmock.h>

namespace {

// Both texts become configuration values that host tools parse.
TEST(BuildInfoTest, HasTheFormsThatConfigurationPromises)
{
    EXPECT_THAT(KORVA::buildVersion, testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+"));
    EXPECT_THAT(
        KORVA::buildTime,
        testing::MatchesRegex("[A-Z][a-z][a-z] [ 1-3][0-9] [0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
}

} // namespace
