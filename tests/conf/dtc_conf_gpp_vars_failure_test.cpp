// What a read, a write and a restore leave behind when one of their steps fails.
#include "conf/dtc_conf_gpp_eeprom.h"
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_schema.h"
#include "tests/conf/box_vars.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <tuple>

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;
using namespace std::chrono_literals;
using PLATFORM::FAULTS::Transfer;

namespace {

constexpr char const* lockFile = "/var/lock/i2c";
constexpr char const* readFails = "peripheral access failed : unable to read EEPROM : ";
constexpr char const* pageFails = "operation failed : unable to write EEPROM : ";
constexpr char const* recordFails = "operation failed : unable to write bootProgress : ";

/// What lets a step fail, at its first to its last transfer or command; the failure; the effects;
/// how long it waits at least.
struct Step
{
    std::function<void(unsigned int)> arm;
    unsigned int first, last;
    std::string failure, effects;
    std::chrono::seconds wait{0};
};

constexpr auto command = PLATFORM::FAULTS::refuseCommand;

void transfer(unsigned int n)
{
    PLATFORM::FAULTS::onTransfer(n, Transfer::Fails);
}

/// A command of the box takes the bus's lock, and leaves it taken, before it does its work.
std::function<void(unsigned int)> lockTakenIn(std::string const& name)
{
    return [path = "/bin/" + name](unsigned int /*n*/) {
        setBoxFile(path, "#!/bin/sh\n: > \"$DTC_BOX/var/lock/i2c\"\n" + boxFile(path));
    };
}

class BoxVarsFailureTest : public BoxVarsTest
{
protected:
    /// Lets the work fail in each way, on a box with an image of one page.
    static void check(std::vector<Step> const& steps, std::function<void()> const& work,
                      std::function<std::string()> const& effects)
    {
        for (Step const& step : steps) {
            for (unsigned int n = step.first; n <= step.last; ++n) {
                SCOPED_TRACE(step.failure + std::to_string(n));
                renew();
                setBoxFile("/run/network", "up\n");
                setBoxFile("/run/address", "10.0.0.5\n");
                writeVarsToEeprom({{"dtcName", "before"}});
                setError("before");
                step.arm(n);
                auto const start = std::chrono::steady_clock::now();
                EXPECT_THAT(failureOf<std::exception>(work), testing::HasSubstr(step.failure));
                EXPECT_GE(std::chrono::steady_clock::now() - start, step.wait);
                PLATFORM::FAULTS::clear();
                EXPECT_EQ(std::filesystem::remove(PLATFORM::boxRoot() + lockFile),
                          step.failure == lockFile)
                    << "only another one's lock is left";
                EXPECT_EQ(effects(), step.effects);
            }
        }
    }

    static std::string changes()
    {
        std::string const telnet = "telnet stream tcp nowait root /usr/sbin/telnetd telnetd\n";
        EXPECT_EQ(boxFile("/etc/inetd.conf"), "#" + telnet);
        EXPECT_EQ(boxFile("/run/rootfs"), "ro\n");
        std::pair<char const*, bool> const changes[] = {
            {"image ", boxFile("/dev/i2c/eeprom").find("dtcName=before") == std::string::npos},
            {"clock ", boxFile("/run/clock-offset") != "0\n"},
            {"record ", bootRecord() == leavesSafeMode},
            {"error ", g_error.get() != "before"},
            {"inetd ", boxFile("/run/inetd.conf") == telnet}};
        std::string names;
        for (auto const& [name, isDone] : changes)
            names += isDone ? name : "";
        return names;
    }
};

TEST_F(BoxVarsFailureTest, ReadKeepsWhatItHadByThen)
{
    auto const missing = [this] {
        EXPECT_EQ(vars.size(), 34U);
        std::string names;
        for (char const* name : {"dtcName", "time", "boardRev", "ipAddress", "serialNum", "_error"})
            names += vars.getVar(name) == "none" ? std::string(name) + " " : "";
        return names;
    };
    check(
        {{transfer, 1, 2, readFails, "dtcName time boardRev ipAddress serialNum _error "},
         {command, 1, 1, "system call failed : date '+",
          "time boardRev ipAddress serialNum _error "},
         {lockTakenIn("date"), 1, 1, lockFile, "boardRev ipAddress serialNum _error ", 5s},
         {transfer, 3, 10, "none", "boardRev "},
         {command, 2, 2, "system call failed : ifconfig -a eth0", "ipAddress serialNum _error "},
         {[](auto) { setenv("ROVERKIT", "maybe", 1); }, 1, 1,
          "unable to convert \"maybe\" to boolean", "ipAddress serialNum _error "},
         {[](auto) { setenv("SAFEMODE", "", 1); }, 1, 1,
          "unable to convert empty string to boolean", "serialNum _error "},
         {lockTakenIn("ifconfig"), 1, 1, lockFile, ""},
         {transfer, 11, 16, "none", ""}}, // blinking
        [this] { vars.read(); }, missing);
}

TEST_F(BoxVarsFailureTest, WriteStopsAtTheStepThatFails)
{
    auto const write = [this] {
        request({{"dtcName", "after"},
                 {"time", "2013/05/14 09:30:00"},
                 {"safeMode", "false"},
                 {"_error", "after"},
                 {"_control", "EnableInetd"}});
    };
    std::string const all = "image clock record error inetd ";
    check({{[](auto) { setBoxFile(lockFile, ""); }, 1, 1, lockFile, "", 5s},
           {transfer, 1, 2, readFails, ""},
           {command, 1, 1, "system call failed : date '+", ""},
           {transfer, 3, 3, "none", all}, // the board revision
           {transfer, 11, 11, pageFails, ""},
           {transfer, 12, 15, pageFails, "image "},
           {command, 2, 2, "system call failed : date -s 2013.05.14-09:30:00: ", "image "},
           {transfer, 16, 16, recordFails, "image clock "},
           {command, 3, 3, "system call failed : mount / -o", "image clock record error "},
           {lockTakenIn("mount"), 1, 1, lockFile, all},
           {transfer, 17, 17, "none", all}},
          write, changes);
}

TEST_F(BoxVarsFailureTest, RestoreStopsAtTheStepThatFails)
{
    check(
        {{transfer, 1, 2, readFails, "none"},
         {command, 1, 1, "system call failed : date '+", "before"},
         {command, 2, 2, "system call failed : ifconfig", "before"},
         {transfer, 17, 18, readFails, "none"}, // now the list is the request
         {command, 3, 3, "system call failed : date '+", "none"},
         {transfer, 27, 27, pageFails, "none"},
         {transfer, 28, 31, pageFails, "image none"},
         {transfer, 32, 32, recordFails, "image none"},
         {transfer, 33, 33, "none", "image record error none"}},
        [this] { vars.restore(); }, [this] { return changes() + vars.getVar("dtcName"); });
}

/// The variables as they are read after a cut before the given page of the new image.
VariableList afterCut(unsigned int page, VariableList const& old, VariableList const& fresh)
{
    writeVarsToEeprom(fresh);
    std::string const image = boxFile("/dev/i2c/eeprom");
    setBoxFile("/dev/i2c/eeprom", std::string(32768, '\xFF'));
    writeVarsToEeprom(old);
    std::string const before = boxFile("/dev/i2c/eeprom");
    PLATFORM::FAULTS::onTransfer(page + 1, Transfer::Fails, true);
    EXPECT_THROW(writeVarsToEeprom(fresh), Exception);
    PLATFORM::FAULTS::clear();
    EXPECT_EQ(boxFile("/dev/i2c/eeprom"),
              image.substr(0, 64UL * page) + before.substr(64UL * page));
    VariableList stored;
    readVarsFromEeprom(stored);
    return stored;
}

VariableList storedDefaultsBut(VariableList const& changes)
{
    VariableList vars;
    getDefaultVars(vars);
    removeNonEepromVars(vars);
    updateVars(vars, changes);
    return vars;
}

/// Whether a value begins as the new one and goes on as the old one, which is as long.
bool isSplice(std::string const& value, std::string const& old, std::string const& fresh)
{
    auto const [at, inFresh] =
        std::mismatch(value.begin(), value.end(), fresh.begin(), fresh.end());
    return value.size() == old.size() &&
           std::equal(at, value.end(), old.begin() + (at - value.begin()));
}

// The pages of an image are written one after another, and it has no checksum.
TEST_F(BoxVarsFailureTest, PowerCutLeavesNewPagesBeforeOldOnesAndOnlyStoredNames)
{
    VariableList const defaults = storedDefaultsBut({});
    VariableList const longer = storedDefaultsBut({{"dtcName", "probe on the second floor"},
                                                   {"ipConfig", "192.168.0.10"},
                                                   {"_ipFilter", "192.168.0.,10.0.0.5"}});
    for (auto const& [old, fresh, pages] :
         {std::tuple(defaults, longer, 6U), std::tuple(longer, defaults, 5U)}) {
        for (unsigned int page = 0; page < pages; ++page) {
            VariableList after = defaults;
            updateVars(after, afterCut(page, old, fresh));
            EXPECT_EQ(after.size(), defaults.size()) << "a name that is not stored";
        }
    }
}

TEST_F(BoxVarsFailureTest, PowerCutMixesAtMostOneValueWhenAllKeepTheirLengths)
{
    VariableList const old =
        storedDefaultsBut({{"dtcName", "TRACE BOX DOWN IN THE CELLAR, rack 3"}});
    VariableList const fresh = storedDefaultsBut(
        {{"dtcName", "PROBE ON THE SECOND FLOOR, rack 1234"}, {"_state", "idle"}});
    int mixed = 0;
    for (unsigned int page = 0; page < 5; ++page) {
        VariableList const after = afterCut(page, old, fresh);
        ASSERT_EQ(after.size(), old.size());
        int mixedByThisCut = 0;
        for (std::size_t i = 0; i < after.size(); ++i) {
            EXPECT_EQ(after[i].first, old[i].first);
            EXPECT_TRUE(isSplice(after[i].second, old[i].second, fresh[i].second));
            mixedByThisCut += after[i] != old[i] && after[i] != fresh[i];
        }
        EXPECT_LE(mixedByThisCut, 1);
        mixed += mixedByThisCut;
    }
    EXPECT_EQ(mixed, 1) << "dtcName lies across the first cut";
}

TEST_F(BoxVarsFailureTest, PowerCutTearsLinesThatHaveMovedAlthoughTheTextIsAsLong)
{
    VariableList const after = afterCut(1, storedDefaultsBut({{"_state", "busy-late"}}),
                                        storedDefaultsBut({{"dtcName", "probe-one"}}));
    EXPECT_THAT(after, testing::Contains(testing::Pair("ipBroadcast", "nonenfig=dhcp")));
    EXPECT_THAT(after, testing::Contains(testing::Pair("_state", "busy-late")));
    EXPECT_THAT(after, testing::Not(testing::Contains(testing::Key("ipConfig"))));
}

} // namespace
