#include "util/build_info.h"
#include "util/uengineering_units.h"
#include "util/ustring.h"

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <locale>

using KORVA::uString;

namespace {

TEST(StringTest, ReplacesAndStrips)
{
    std::tuple<std::string, char const*, char const*, char const*> const cases[] = {
        {"a\r\r\nb", "\r", "", "a\nb"},
        {"abab", "ab", "b", "bb"},
        {"aabb", "ab", "", "ab"},
        {"abc", "", "x", "abc"}};
    for (auto [text, from, to, result] : cases)
        EXPECT_EQ(uString::Replace(text, from, to), result);
    std::string text = "aXa";
    EXPECT_EQ(uString::Replace(text, text.c_str() + 2, text.c_str()), "aXaXaXa");
    text = " \t abc \t ";
    EXPECT_EQ(uString::StripTrailing(text, " \t"), " \t abc");
    EXPECT_EQ(uString::StripLeading(text, "\t "), "abc");
    EXPECT_EQ(uString::StripLeading(uString::StripTrailing(text, ""), nullptr), "abc");
    EXPECT_EQ(uString::StripLeading(text, "abc"), "");
}

TEST(StringTest, SplitsAtTheFirstDelimiterOrAtAll)
{
    std::tuple<char const*, char const*, int, char const*, char const*> const cases[] = {
        {"key=value=x", "=", 2, "key", "value=x"},
        {"", "=", 0, "", ""},
        {"a:b::", "::", 2, "a:b", ""},
        {"a:b", "::", 1, "a:b", ""}};
    for (auto const& [text, delimiter, result, expectedLeft, expectedRight] : cases) {
        std::string left = "old";
        std::string right = "old";
        EXPECT_EQ(uString::Split(text, left, right, delimiter), result) << text;
        EXPECT_EQ(left + ">" + right, std::string(expectedLeft) + ">" + expectedRight);
    }
    std::string rest = "a,b";
    std::string piece;
    EXPECT_EQ(uString::Split(rest.c_str(), piece, rest, ","), 2) << "into its own source";
    EXPECT_EQ(rest, "b");
    std::pair<char const*, std::vector<std::string>> const lists[] = {
        {"a,,b", {"kept", "a", "", "b"}}, {",a,", {"kept", "", "a"}}, {"", {"kept"}}};
    for (auto const& [text, expected] : lists) {
        std::vector<std::string> parts{"kept"};
        EXPECT_EQ(uString::Split(parts, text, ","), expected.size());
        EXPECT_EQ(parts, expected);
    }
}

TEST(StringTest, FormatsNumbersAndScalesThem)
{
    std::string out = "x";
    EXPECT_EQ(uString::FromDouble(1.5, out, true, nullptr), "x1.500000");
    EXPECT_EQ(uString::FromDouble(1.5, out, false, "%.1f"), "1.5");
    EXPECT_EQ(uString::FromLong(out, -7, nullptr), "1.5-7");
    EXPECT_EQ(uString::FromLong(255, out, false, "0x%04lX"), "0x00FF");
    EXPECT_EQ(uString::FromBool(out, false), "0x00FFfalse");
    EXPECT_EQ(uString::FromDouble(1, out, false, "%2000f").size(), 1023U);
    std::tuple<double, bool, char const*> const cases[] = {
        {1500, false, "1.5kilo"}, {1500, true, "1.5k"},     {1000, false, "1kilo"},
        {999, false, "999"},      {0.002, false, "2milli"}, {1e-6, true, "1u"},
        {2e27, true, "2000Y"},    {0, true, "0y"},          {-5, false, "-5e+24yocto"}};
    for (auto const& [value, symbol, text] : cases)
        EXPECT_EQ(uString::FromDoubleInEngrUnits(out = "", value, "%.6g", symbol), text);
    EXPECT_EQ(KORVA::uEngineeringUnits::yobi, KORVA::uEngineeringUnits::zebi * 1024);
    out.clear();
    for (int exponent = 24; exponent >= -24; exponent -= 3)
        for (bool const symbol : {true, false})
            uString::FromDoubleInEngrUnits(out, 2 * std::pow(10, exponent), "%.0f", symbol);
    EXPECT_EQ(out, "2Y2yotta2Z2zetta2E2exa2P2peta2T2tera2G2giga2M2mega2k2kilo222m2milli2u2micro"
                   "2n2nano2p2pico2f2femto2a2atto2z2zepto2y2yocto");
}

TEST(BuildInfoTest, ReadsAsHostToolsParseIt)
{
    EXPECT_THAT(std::string(KORVA::buildVersion) + "|" + KORVA::buildTime,
                testing::MatchesRegex("([0-9]+\\.){3}[0-9]+\\|[A-Z][a-z][a-z] [ 1-3][0-9] [0-9]{4} "
                                      "[0-9]{2}:[0-9]{2}:[0-9]{2}"));
}

TEST(StringTest, ReadsNumbers)
{
    std::tuple<char const*, long, double> const cases[] = {
        {"0x1F", 31, 1},   {"0X1f", 31, 1},   {"017", 15, 17},    {"0", 0, 0},     {"0x", 0, 0},
        {"-12", -12, -12}, {"12abc", 12, 12}, {" 42", 42, 42},    {"abc", 0, 0},   {"09", 0, 9},
        {"0x-", 0, 0},     {"0.5", 0, 0.5},   {"2.5e3", 2, 2500}, {"0x10", 16, 10}};
    for (auto const& [text, integer, real] : cases) {
        EXPECT_EQ(uString::ToLong(text), integer) << text;
        EXPECT_EQ(uString::ToInt64(text), integer) << text;
        EXPECT_EQ(uString::ToDouble(text), real) << text;
    }
    EXPECT_EQ(uString::ToInt64("0x100000000"), 1LL << 32);
    EXPECT_EQ(uString::ToInt64("99999999999999999999"), std::numeric_limits<long long>::max());
    EXPECT_EQ(uString::ToLong("-99999999999999999999"), std::numeric_limits<long>::min());
    EXPECT_EQ(uString::ToDouble("1e999"), std::numeric_limits<double>::max());
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
    };
    std::locale const before = std::locale::global(std::locale(std::locale(), new Comma));
    EXPECT_EQ(uString::ToDouble("2.5"), 2.5) << "whatever the locale";
    std::locale::global(before);
}

TEST(StringTest, ReadsOnlyTheSixWordsAsBooleansAndSaysWhatWasMisused)
{
    EXPECT_TRUE(uString::ToBool("true") && uString::ToBool("TRUE") && uString::ToBool("True"));
    EXPECT_FALSE(uString::ToBool("false") || uString::ToBool("FALSE") || uString::ToBool("False"));
    std::string s = "kept";
    std::vector<std::string> parts;
    std::pair<std::function<void()>, char const*> const cases[] = {
        {[&] { uString::Replace(s, nullptr, nullptr); },
         "unable to perform string replacement from null original text"},
        {[&] { uString::Replace(s, "k", nullptr); },
         "unable to perform string replacement with null replacement text"},
        {[&] { uString::Split("a", s, s, nullptr); }, "unable to split with null delimeter"},
        {[&] { uString::Split(parts, nullptr, "="); }, "unable to split null string"},
        {[] { uString::ToBool(nullptr); }, "unable to convert null string to boolean"},
        {[] { uString::ToBool("tRUE"); }, "unable to convert \"tRUE\" to boolean"},
        {[] { uString::ToLong(nullptr); }, "unable to convert null string to numeric"},
        {[] { uString::ToDouble(""); }, "unable to convert empty string to numeric"}};
    for (auto const& [call, text] : cases)
        EXPECT_THAT(call, testing::ThrowsMessage<uString::error>(text));
    EXPECT_EQ(s, "kept");
}

} // namespace
