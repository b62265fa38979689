#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"

#include <gmock/gmock.h>

using namespace KORVA::DTC::CONF;
using testing::ElementsAre;
using testing::Pair;

namespace {

TEST(VarsTest, FindsSetsAndMerges)
{
    Vars vars("");
    EXPECT_THROW(vars.getVar("a"), Exception) << "empty until it is filled";
    vars.assign({{"a", "1"}, {"b", "2"}, {"b", "3"}});
    updateVars(vars, {{"b", "9"}, {"c", "3"}, {"c", ""}});
    EXPECT_THAT(vars, ElementsAre(Pair("a", "1"), Pair("b", "9"), Pair("b", "3"), Pair("c", "")));
    vars.getVar("c") = "5";
    EXPECT_EQ(vars[3].second, "5");
    EXPECT_THAT([&] { vars.getVar("A"); },
                testing::ThrowsMessage<Exception>("invalid variable name : A"));
    EXPECT_THAT([&] { vars.getVar(nullptr); }, testing::ThrowsMessage<Exception>("null parameter"));
    EXPECT_THAT([&] { setValue("a", nullptr, vars); },
                testing::ThrowsMessage<Exception>("null parameter"));
    EXPECT_THAT([&] { setValue(nullptr, "x", vars); },
                testing::ThrowsMessage<Exception>("null parameter"));
    EXPECT_EQ(vars[0].second, "1");
}

TEST(VarsTest, CleansTextInPlace)
{
    struct
    {
        std::string before;
        unsigned int size;
        std::string after;
    } const cases[] = {{std::string("a\tb\r\nc\0d", 8), 8, std::string("a b\nc\0\0d", 8)},
                       {std::string("a\1b"), 3, "abb"},
                       {std::string("ab\1cd"), 0, "ab\1cd"},
                       {std::string("\x7F\x80\xFF~ \x1F"), 6, std::string("~ \xFF~ \x1F")}};
    for (auto const& c : cases) {
        std::string text = c.before;
        filterChars(text.data(), c.size);
        EXPECT_EQ(text, c.after);
    }
}

} // namespace
