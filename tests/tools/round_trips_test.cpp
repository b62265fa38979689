#include "tools/dtcctl/support/round_trips.h"

#include <gtest/gtest.h>

namespace {

TEST(RoundTripsTest, SumsUp)
{
    dtcctl::RoundTrips times;
    for (double const milliseconds : {3.0, 1.0, 5.0, 7.0})
        times.add(milliseconds);
    EXPECT_EQ(times.minimum(), 1);
    EXPECT_EQ(times.maximum(), 7);
    EXPECT_DOUBLE_EQ(times.average(), 4);
    EXPECT_DOUBLE_EQ(times.deviation() * times.deviation(), 5);
}

} // namespace
