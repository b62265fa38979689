#include "adapter/skylark_io_adapter_filter.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <vector>

using namespace KORVA::DTC;

namespace {

std::string decided(std::string const& filter, std::string const& address)
{
    return find_admitting_pattern(filter, address).value_or("refused");
}

TEST(FilterTest, ComparesAddressesWithPatterns)
{
    char const* const cases[][3] = {{"none", "10.0.0.5", "none"},
                                    {"", "10.0.0.5", "refused"},
                                    {"10.0.0.5,192.168.1", "10.0.0.6", "refused"},
                                    {"10.0.0.5,192.168.1", "192.168.1.77", "192.168.1"},
                                    {"10..0.5", "10.7.0.5", "10..0.5"},
                                    {"192.168..", "192.169.3.4", "refused"},
                                    {"192.168", "10.0.0.5", "192.168"},
                                    {"192.168.001.5", "192.168.1.5", "refused"},
                                    {"10.0.0.5,none", "10.0.0.6", "none"},
                                    {"10.0.0.5,", "10.0.0.6", "refused"},
                                    {"10.0.0.5,,10.0.0.6", "10.0.0.6", ""}};
    for (auto const& [filter, address, pattern] : cases)
        EXPECT_EQ(decided(filter, address), pattern) << filter << " for " << address;
    EXPECT_TRUE(is_address_pattern("192.168.1") && !is_address_pattern("192.168"));
}

std::vector<std::string> pieces(std::string const& text, char delimiter)
{
    std::istringstream stream(text);
    std::vector<std::string> result;
    for (std::string piece; std::getline(stream, piece, delimiter);)
        result.push_back(piece);
    return result;
}

std::string decidedPlainly(std::string const& filter, std::string const& address)
{
    auto const given = pieces(address, '.');
    for (std::string const& pattern : pieces(filter, ',')) {
        auto const wanted = pieces(pattern, '.');
        bool differs = given.size() == 4 && (wanted.size() == 3 || wanted.size() == 4);
        if (differs)
            differs = !std::equal(wanted.begin(), wanted.end(), given.begin(),
                                  [](auto const& w, auto const& g) { return w.empty() || w == g; });
        if (!differs)
            return pattern;
    }
    return "refused";
}

TEST(FilterTest, DecidesManyListsAsTheRuleSays)
{
    constexpr int lists = 20'000;
    std::minstd_rand random(1);
    int refusals = 0;
    for (int i = 0; i < lists; ++i) {
        std::string filter;
        for (auto count = random() % 16; count > 0; --count)
            filter += std::vector<char const*>{"1", "2", ".", ".", ".1.", ".2", ","}[random() % 7];
        char const* const address =
            std::vector<char const*>{"1.1.1.2", "1.2.1.2", "1.2.1"}[random() % 31 % 3];
        ASSERT_EQ(decided(filter, address), decidedPlainly(filter, address))
            << filter << " for " << address;
        refusals += decided(filter, address) == "refused" ? 1 : 0;
    }
    EXPECT_TRUE(refusals > lists / 20 && refusals < lists - lists / 20) << refusals;
}

} // namespace
