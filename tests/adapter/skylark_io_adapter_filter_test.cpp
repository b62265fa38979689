#include "adapter/skylark_io_adapter_filter.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <vector>

using namespace KORVA::DTC;

namespace {

std::vector<std::string> pieces(std::string const& text, char delimiter)
{
    std::istringstream stream(text);
    std::vector<std::string> result;
    for (std::string piece; std::getline(stream, piece, delimiter);)
        result.push_back(piece);
    return result;
}

std::optional<std::string> decidedPlainly(std::string const& filter, std::string const& address)
{
    auto const given = pieces(address, '.');
    for (std::string const& pattern : pieces(filter, ',')) {
        auto const wanted = pieces(pattern, '.');
        bool const judges = given.size() == 4 && (wanted.size() == 3 || wanted.size() == 4);
        if (!judges || std::equal(wanted.begin(), wanted.end(), given.begin(),
                                  [](auto& w, auto& g) { return w.empty() || w == g; }))
            return pattern;
    }
    return std::nullopt;
}

TEST(FilterTest, DecidesManyListsAsTheRuleSays)
{
    EXPECT_EQ(find_admitting_pattern("10.0.0.5,192.168.1", "192.168.1.77"), "192.168.1");
    EXPECT_EQ(find_admitting_pattern("10..0.5", "10.7.0.5"), "10..0.5");
    EXPECT_EQ(find_admitting_pattern("192.168.001.5,", "192.168.1.5"), std::nullopt);
    EXPECT_EQ(find_admitting_pattern("10.0.0.5,none", "10.0.0.6"), "none");
    EXPECT_TRUE(is_address_pattern("192.168.1") && !is_address_pattern("192.168"));
    std::minstd_rand random(1);
    int refusals = 0;
    for (int i = 0; i < 20'000; ++i) {
        std::string filter;
        for (auto count = random() % 16; count > 0; --count)
            filter += std::vector<char const*>{"1", "2", ".", ".", ".1.", ".2", ","}[random() % 7];
        char const* const address =
            std::vector<char const*>{"1.1.1.2", "1.2.1.2", "1.2.1"}[random() % 31 % 3];
        auto const pattern = find_admitting_pattern(filter, address);
        ASSERT_EQ(pattern, decidedPlainly(filter, address)) << filter << " for " << address;
        refusals += pattern ? 0 : 1;
    }
    EXPECT_TRUE(refusals > 1000 && refusals < 19'000) << refusals;
}

} // namespace
