#include "util/uengineering_units.h"
#include "util/ustring.h"

#include <gmock/gmock.h>
#include <limits>
#include <tuple>

using KORVA::uString;
using testing::ElementsAre;
using testing::ThrowsMessage;

namespace {

std::string replaced(std::string text, char const* from, char const* to)
{
    return uString::Replace(text, from, to);
}

TEST(StringTest, ReplacesWithoutSearchingWhatItInserted)
{
    EXPECT_EQ(replaced("a\r\r\nb", "\r", ""), "a\nb");
    EXPECT_EQ(replaced("abab", "ab", "b"), "bb");
    EXPECT_EQ(replaced("abc", "", "x"), "abc");
    std::string self = "aXa";
    EXPECT_EQ(uString::Replace(self, self.c_str() + 2, self.c_str()), "aXaXaXa");
}

TEST(StringTest, StripsEitherEnd)
{
    std::string text = " \t abc \t ";
    EXPECT_EQ(uString::StripTrailing(text, " \t"), " \t abc");
    EXPECT_EQ(uString::StripLeading(text, "\t "), "abc");
    EXPECT_EQ(uString::StripTrailing(text, ""), "abc");
    EXPECT_EQ(uString::StripLeading(text, nullptr), "abc");
    EXPECT_EQ(uString::StripLeading(text, "abc"), "");
}

TEST(StringTest, SplitsAtTheFirstDelimiter)
{
    std::tuple<char const*, char const*, int, char const*, char const*> const cases[] = {
        {"key=value=x", "=", 2, "key", "value=x"},
        {"key=", "=", 2, "key", ""},
        {"", "=", 0, "", ""},
        {"a::b", "::", 2, "a", "b"},
        {"a:b", "::", 1, "a:b", ""}};
    for (auto const& [text, delimiter, result, expectedLeft, expectedRight] : cases) {
        std::string left = "old";
        std::string right = "old";
        EXPECT_EQ(uString::Split(text, left, right, delimiter), result) << text;
        EXPECT_EQ(left, expectedLeft);
        EXPECT_EQ(right, expectedRight);
    }
    std::string rest = "a,b";
    std::string piece;
    EXPECT_EQ(uString::Split(rest.c_str(), piece, rest, ","), 2) << "into its own source";
    EXPECT_EQ(rest, "b");
}

TEST(StringTest, SplitsIntoPieces)
{
    auto const pieces = [](char const* text, char const* delimiter) {
        std::vector<std::string> parts{"kept"};
        std::size_t const size = uString::Split(parts, text, delimiter);
        EXPECT_EQ(size, parts.size());
        EXPECT_EQ(parts.front(), "kept");
        parts.erase(parts.begin());
        return parts;
    };
    EXPECT_THAT(pieces("a,,b", ","), ElementsAre("a", "", "b"));
    EXPECT_THAT(pieces(",a,", ","), ElementsAre("", "a"));
    EXPECT_THAT(pieces(",", ","), ElementsAre(""));
    EXPECT_THAT(pieces("", ","), ElementsAre());
    EXPECT_THAT(pieces("ab", ""), ElementsAre("ab"));
}

TEST(StringTest, FormatsNumbersAndBooleans)
{
    std::string out = "x";
    EXPECT_EQ(uString::FromDouble(1.5, out, true, nullptr), "x1.500000");
    EXPECT_EQ(uString::FromDouble(1.5, out, false, "%.1f"), "1.5");
    EXPECT_EQ(uString::FromLong(out, -7, nullptr), "1.5-7");
    EXPECT_EQ(uString::FromLong(255, out, false, "0x%04lX"), "0x00FF");
    EXPECT_EQ(uString::FromBool(out, false), "0x00FFfalse");
    EXPECT_EQ(uString::FromDouble(1, out, false, "%2000f").size(), 1023U);
}

TEST(StringTest, ScalesToEngineeringUnits)
{
    std::tuple<double, bool, char const*> const cases[] = {
        {1500, false, "1.5kilo"}, {1500, true, "1.5k"},     {1000, false, "1kilo"},
        {999, false, "999"},      {0.002, false, "2milli"}, {1e-6, true, "1u"},
        {2e27, true, "2000Y"},    {0, true, "0y"},          {-5, false, "-5e+24yocto"}};
    for (auto const& [value, symbol, text] : cases) {
        std::string out;
        EXPECT_EQ(uString::FromDoubleInEngrUnits(out, value, "%.6g", symbol), text);
    }
    EXPECT_EQ(KORVA::uEngineeringUnits::yobi, KORVA::uEngineeringUnits::zebi * 1024);
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
}

TEST(StringTest, ReadsOnlyTheSixWordsAsBooleans)
{
    EXPECT_TRUE(uString::ToBool("true") && uString::ToBool("TRUE") && uString::ToBool("True"));
    EXPECT_FALSE(uString::ToBool("false") || uString::ToBool("FALSE") || uString::ToBool("False"));
    for (char const* word : {"1", " true", "tRUE"})
        EXPECT_THROW(uString::ToBool(word), uString::error) << word;
}

TEST(StringTest, SaysWhatWasMisused)
{
    std::string s = "kept";
    std::vector<std::string> parts;
    auto const says = [](auto call, char const* text) {
        EXPECT_THAT(call, ThrowsMessage<uString::error>(text));
    };
    says([&] { replaced(s, nullptr, nullptr); },
         "unable to perform string replacement from null original text");
    says([&] { uString::Replace(s, "k", nullptr); },
         "unable to perform string replacement with null replacement text");
    says([&] { uString::Split(nullptr, s, s, "="); }, "unable to split null string");
    says([&] { uString::Split("a", s, s, nullptr); }, "unable to split with null delimeter");
    says([&] { uString::Split(parts, nullptr, "="); }, "unable to split null string");
    says([] { uString::ToBool(nullptr); }, "unable to convert null string to boolean");
    says([] { uString::ToBool(""); }, "unable to convert empty string to boolean");
    says([] { uString::ToBool("yes"); }, "unable to convert \"yes\" to boolean");
    says([] { uString::ToLong(nullptr); }, "unable to convert null string to numeric");
    says([] { uString::ToDouble(""); }, "unable to convert empty string to numeric");
    EXPECT_EQ(s, "kept");
}

} // namespace
