#include "adapter/skylark_io_adapter_filter.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace KORVA::DTC;

namespace {

TEST(FilterTest, ComparesTheFourPartsOfEachPatternInTurn)
{
    std::tuple<char const*, char const*, std::optional<std::string>> const cases[] = {
        {"10.0.0.5,192.168.1", "192.168.1.77", "192.168.1"},
        {"10.0.0.5,192.168.1", "10.0.0.55", std::nullopt}, // the whole part counts
        {"192.168.001.5", "192.168.1.5", std::nullopt},    // as text
        {"10.0.0. 5", "10.0.0.5", std::nullopt},
        {"192.168.1.", "192.168.1.77", "192.168.1."}, // three parts or four with an empty one
        {"192.168.1.", "192.168.2.77", std::nullopt},
        {"192.168.1.5.", "192.168.1.5", "192.168.1.5."},
        {"192.168.1.5.", "192.168.1.6", std::nullopt},
        {"10..0.5", "10.7.0.5", "10..0.5"},
        {"..7.", "1.2.7.4", "..7."},
        {"", "1.2.3.4", std::nullopt}, // no pattern
        {"10.0.0.5,", "1.2.3.4", std::nullopt},
        {",", "1.2.3.4", ""}, // one that is no address pattern
        {"10.0.0.5,,10.0.0.6", "10.0.0.6", ""},
        {"10.0.0.5,none", "10.0.0.6", "none"},
        {"192.168", "1.2.3.4", "192.168"},
        {"1.2.3.4..", "5.6.7.8", "1.2.3.4.."},
        {"9.9.9.9", "1.2.3", "9.9.9.9"}, // nor such an address
        {"", "1.2.3", std::nullopt}};
    for (auto const& [filter, address, pattern] : cases)
        EXPECT_EQ(findAdmittingPattern(filter, address), pattern) << filter << " " << address;
    EXPECT_TRUE(isAddressPattern("192.168.1") && isAddressPattern("...."));
    EXPECT_FALSE(isAddressPattern("192.168") || isAddressPattern("1.2.3.4.5"));
}

} // namespace
