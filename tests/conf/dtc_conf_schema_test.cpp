#include "conf/dtc_conf_schema.h"
#include "util/build_info.h"

#include <algorithm>
#include <gmock/gmock.h>

using namespace KORVA::DTC::CONF;
using testing::ElementsAre;
using testing::Pair;

namespace {

std::vector<std::pair<std::string, std::string>> const madeByAStaticConstructor = [] {
    std::vector<std::pair<std::string, std::string>> vars{{"addrConf", "kept"}};
    getDefaultVars(vars);
    return vars;
}();

std::vector<std::string> namesWhere(bool SchemaEntry::*flag)
{
    std::vector<std::string> names;
    SchemaEntry* row = nullptr;
    for (getSchema(row); row->name != nullptr; ++row) {
        if (row->*flag)
            names.emplace_back(row->name);
    }
    EXPECT_EQ(row->defaultValue, nullptr);
    return names;
}

TEST(SchemaTest, KnowsThirtyFourVariables)
{
    auto vars = madeByAStaticConstructor;
    ASSERT_EQ(vars.size(), 35U);
    EXPECT_EQ(vars[0].second, "kept");
    EXPECT_THAT(vars[1], Pair("addrConf", ":55756"));
    EXPECT_THAT(vars[5], Pair("epkRev", KORVA::buildVersion));
    EXPECT_THAT(vars[10], Pair("ipConfig", "dhcp"));
    EXPECT_THAT(vars[23], Pair("swBuildTime", KORVA::buildTime));
    EXPECT_THAT(vars[34], Pair("_fpgaImageName", "skylarkmax.xsvf"));
    EXPECT_FALSE(std::any_of(vars.begin(), vars.end(),
                             [](auto const& pair) { return pair.first == NAME::standbyMinutes; }));
    EXPECT_EQ(namesWhere(&SchemaEntry::readable).size(), 34U);
    EXPECT_THAT(namesWhere(&SchemaEntry::stored),
                ElementsAre("addrConf", "addrIo", "dtcName", "ipBroadcast", "ipConfig", "ipGateway",
                            "ipHwaddress", "ipLeasehours", "ipLeasetime", "ipMtu", "ipNetmask",
                            "ipNetwork", "ipPointopoint", "_ipFilter", "_logEnable", "_logMask",
                            "_state", "_fpgaImageName"));
    auto const writable = namesWhere(&SchemaEntry::writable);
    EXPECT_EQ(writable.size(), 21U) << "the stored ones, safeMode, time and _control";
    EXPECT_THAT(writable, testing::IsSupersetOf({"safeMode", "time", "_control"}));
}

} // namespace
