#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"

#include <fstream>
#include <gmock/gmock.h>

using namespace KORVA::DTC::CONF;
using testing::ElementsAre;
using testing::Pair;
using testing::ThrowsMessage;

namespace {

using VariableList = std::vector<std::pair<std::string, std::string>>;

VariableList parsed(std::string const& image)
{
    VariableList vars;
    bufToVars(vars, image.c_str(), 0);
    return vars;
}

TEST(ImageTest, ReadsLinesUpToTheFirstThatIsNone)
{
    EXPECT_THAT(parsed("a=1\njunk\nb=2\n"), ElementsAre(Pair("a", "1")));
    EXPECT_THAT(parsed("a=1\n\nb=2\n"), ElementsAre(Pair("a", "1")));
    EXPECT_THAT(parsed("x==y\n=v\na=\nlast=1"),
                ElementsAre(Pair("x", "=y"), Pair("", "v"), Pair("a", ""), Pair("last", "1")));
    EXPECT_THAT(parsed(""), ElementsAre());
    EXPECT_THAT(parsed("\n"), ElementsAre());
    VariableList vars;
    EXPECT_THAT([&] { bufToVars(vars, nullptr, 0); }, ThrowsMessage<Exception>("null parameter"));
}

TEST(ImageTest, RendersWhatFits)
{
    char buf[10];
    unsigned int index = 0;
    VariableList const vars{{"a", "1"}, {"", "x"}, {"b", ""}, {"c", "23"}, {"d", "4"}};
    varsToBuf(vars, buf, sizeof buf, index);
    EXPECT_EQ(index, 4U) << "a=1, c=23 and their line feeds leave no room for d=4";
    EXPECT_STREQ(buf, "a=1\nc=23\n");
    varsToBuf(vars, buf, sizeof buf, index);
    EXPECT_EQ(index, 0U);
    EXPECT_STREQ(buf, "d=4\n");
    EXPECT_THAT(
        [&] {
            varsToBuf({{"long", "12345"}}, buf, sizeof buf, index);
        },
        ThrowsMessage<Exception>("operation failed"));
    EXPECT_THAT([&] { varsToBuf(vars, nullptr, 0, index); },
                ThrowsMessage<Exception>("null parameter"));
    index = 0;
    varsToBuf({{"a", "\t\r\x80z"}}, buf, sizeof buf, index);
    EXPECT_STREQ(buf, "a= z\n");
}

TEST(ImageTest, KeepsOnlyStoredVariables)
{
    VariableList vars{{"ipAddress", "x"}, {"time", "y"}, {"dtcName", "z"}, {"foo", "w"}, {"", "v"}};
    removeNonEepromVars(vars);
    EXPECT_THAT(vars, ElementsAre(Pair("dtcName", "z")));
}

TEST(ChecksumTest, IsTheComplementOfTheCommonCrc)
{
    std::string const path = testing::TempDir() + "checksum_test";
    std::ofstream(path, std::ios::binary) << "";
    EXPECT_EQ(checksum(path.c_str()), 0xFFFFFFFFU);
    std::ofstream(path, std::ios::binary) << "123456789";
    EXPECT_EQ(checksum(path.c_str()), 0x340BC6D9U);
    std::ofstream(path, std::ios::binary) << std::string(4096, 'a') << "123456789";
    EXPECT_EQ(checksum(path.c_str()), 0xFFFFFFFFU ^ 0x439C40B2U) << "more than one block";
    EXPECT_THAT([] { checksum("/nonexistent"); },
                ThrowsMessage<Exception>(
                    "invalid file : failed to open /nonexistent for computing checksum"));
}

} // namespace
