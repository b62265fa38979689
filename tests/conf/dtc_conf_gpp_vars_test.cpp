#include "conf/dtc_conf_gpp_control.h"
#include "conf/dtc_conf_gpp_eeprom.h"
#include "periph/dtc_periph_exception.h"
#include "tests/conf/box_vars.h"
#include "tests/support/child.h"

#include <filesystem>
#include <future>
#include <list>
#include <sys/stat.h>

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Pair;
using testing::StartsWith;

namespace {

TEST_F(BoxVarsTest, ReadsLiveValuesOverStoredOnesOverDefaults)
{
    std::string const client(1000, '6');
    setBoxFile("/tmp/ip_client", " \n" + client + "\tmore\n");
    setBoxFile("/run/network", "up\n");
    setBoxFile("/run/address", "10.0.0.5\n");
    writeVarsToEeprom({{"_state", "stored"}, {"ipConfig", "10.0.0.5"}});
    VariableList expected{{"_state", "stored"},  {"ipConfig", "10.0.0.5"},
                          {"fpgaRev", "2.17"},   {"serialNum", "00:1B:C5:07:90:01"},
                          {"boardRev", "2"},     {"ipAddress", "10.0.0.5"},
                          {"safeMode", "false"}, {"ipClient", client},
                          {"addrConf", ":55756"}};
    vars.read();
    EXPECT_EQ(vars.size(), 34U);
    EXPECT_THAT(vars, IsSupersetOf(expected));
    EXPECT_THAT(vars.getVar("time"), StartsWith("20"));
    setBoxFile("/tmp/ip_client", "");
    setenv("SAFEMODE", "True", 1);
    setenv("IPCONFIG", "off", 1);
    vars.read();
    expected = {{"ipClient", "none"}, {"safeMode", "true"}, {"ipConfig", "off"}};
    EXPECT_THAT(vars, IsSupersetOf(expected));
}

TEST_F(BoxVarsTest, WritesARequest)
{
    char const* const ledChanges = "write bit_io 0x1a 2: 01";
    newTransfers();
    request({});
    EXPECT_THAT(newTransfers(), Contains(StartsWith(ledChanges)).Times(4)) << "two blinks";
    EXPECT_THAT(newCommands(), ElementsAre(StartsWith("date '+"), StartsWith("date -s 20")));
    EXPECT_EQ(boxFile("/dev/i2c/eeprom").find('\0'), 287U) << "the defaults";
    request({{"ipConfig", "192.168.0.10"},
             {"foo", "bar"},
             {"swRev", "9"},
             {"_error", "x"},
             {"_control", "ReadFpga"},
             {"safeMode", "False"},
             {"time", "2013/05/14 09:30:00"}});
    setenv("IPCONFIG", "off", 1);
    request({{"ipConfig", "dhcp"}, {"_control", "EnableInetd"}});
    unsetenv("IPCONFIG");
    std::string const service = "telnet stream tcp nowait root /usr/sbin/telnetd telnetd\" > ";
    EXPECT_EQ(newCommands().back(),
              "mount / -o remount,rw;echo \"" + service +
                  "/etc/inetd.conf;/etc/init.d/inetd restart;sleep 5;echo \"#" + service +
                  "/etc/inetd.conf;mount / -o remount,ro;");
    newTransfers();
    vars.read();
    EXPECT_THAT(newTransfers(), Contains(StartsWith(ledChanges)).Times(2)) << "one blink";
    VariableList const expected{
        {"ipConfig", "192.168.0.10"}, {"_error", "x"}, {"_control", "ReadFpga"}};
    EXPECT_THAT(vars, IsSupersetOf(expected)) << "but for the network that is off";
    EXPECT_NE(vars.getVar("swRev"), "9");
    EXPECT_THAT(vars.getVar("time"), StartsWith("2013/05/14 09:30:"));
    EXPECT_EQ(vars.size(), 34U) << "foo is none";
    EXPECT_EQ(bootRecord(), std::string(64, '\0'));
    setenv("IPCONFIG", "off", 1);
    request({{"ipConfig", "dhcp"}, {"ipConfig", "10.0.0.7"}});
    EXPECT_THAT(vars, ElementsAre(Pair("ipConfig", "10.0.0.7"))) << "only the first goes";
}

TEST_F(BoxVarsTest, TakesTheHolderFromARegularFileAndNotWithoutEnd)
{
    std::string const record = PLATFORM::boxRoot() + "/tmp/ip_client";
    setBoxFile("/tmp/bystander", "10.0.0.5\n");
    std::filesystem::create_symlink("bystander", record);
    vars.read();
    EXPECT_EQ(vars.getVar("ipClient"), "none");
    std::filesystem::remove(record);
    mkfifo(record.c_str(), 0600);
    vars.read();
    EXPECT_EQ(vars.getVar("ipClient"), "none");
    std::filesystem::remove(record);
    setBoxFile("/tmp/ip_client", "x");
    std::filesystem::resize_file(record, std::uintmax_t{1} << 40U);
    vars.read();
    EXPECT_EQ(vars.getVar("ipClient").size(), 1U << 16U);
}

// In a process of its own, because nothing leads back to the first value.
TEST_F(BoxVarsTest, SetsStandbyMinutesAboveTwenty)
{
    Fork child([this] {
        EXPECT_EQ(g_standbyMinutes.get(), "20");
        request({{"standbyMinutes", " 045x"}});
        for (char const* refused : {"20", "-30", "abc", ""})
            setStandbyMinutes(refused);
        EXPECT_EQ(g_standbyMinutes.get(), "45");
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST_F(BoxVarsTest, RestoresTheDefaultsUnlessInSafeMode)
{
    request({{"dtcName", "probe"}, {"_control", "none"}});
    setenv("SAFEMODE", "true", 1);
    vars.restore();
    EXPECT_EQ(vars.getVar("dtcName"), "probe") << "refused, and read";
    request({{"_control", "AllowUnsafeRestore"}});
    vars.restore();
    EXPECT_EQ(vars.getVar("safeMode"), "false") << "the list holds the defaults";
    vars.read();
    EXPECT_EQ(vars.getVar("dtcName") + vars.getVar("_control"), "nonenone");
}

VariableList imageOf(char letter)
{
    return {{"dtcName", std::string(100, letter)},
            {"_state", std::string(letter == 'a' ? 200 : 300, letter)}};
}

/// One of the two images each time, or no turn on the bus.
void readAgainAndAgain()
{
    int succeeded = 0;
    for (int i = 0; i < 8; ++i) {
        Vars vars("");
        std::string const failure = failureOf<PERIPH::Exception>([&] { vars.read(); });
        EXPECT_THAT(failure, AnyOf("none", HasSubstr("timeout : /var/lock/i2c")));
        if (failure != "none")
            continue;
        ++succeeded;
        EXPECT_THAT(vars, IsSupersetOf(imageOf(vars.getVar("dtcName")[0]))) << "a mixture";
        EXPECT_EQ(vars.getVar("boardRev"), "2");
    }
    EXPECT_GT(succeeded, 0);
}

TEST_F(BoxVarsTest, ThreadsReadWhileOneWrites)
{
    writeVarsToEeprom(imageOf('a'));
    auto const start = [] { return std::async(std::launch::async, readAgainAndAgain); };
    std::future<void> const readers[] = {start(), start()}; // which wait at the end
    for (char const letter : {'b', 'a', 'b'}) {
        request(imageOf(letter));
        for (char const other : {'a', 'b', 'a', 'b'}) {
            writeVarsToEeprom(imageOf(other));
            setError("x");
            setControl("y");
        }
    }
}

TEST_F(BoxVarsTest, ReadersInOtherProcessesSeeWholeImages)
{
    writeVarsToEeprom(imageOf('a'));
    std::list<Fork> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back(readAgainAndAgain);
    for (char const letter : {'b', 'a', 'b', 'a', 'b'})
        writeVarsToEeprom(imageOf(letter));
    for (Fork& reader : readers)
        EXPECT_EQ(reader.wait(), 0);
}

} // namespace
