// What a read, a write and a restore leave behind when one of their steps fails.
#include "conf/dtc_conf_gpp_eeprom.h"
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_schema.h"
#include "tests/conf/box_vars.h"

#include <filesystem>
#include <functional>

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;
using PLATFORM::FAULTS::Transfer;

namespace {

constexpr char const* lockFile = "/var/lock/i2c";
constexpr char const* readFails = "peripheral access failed : unable to read EEPROM : ";
constexpr char const* pageFails = "operation failed : unable to write EEPROM : ";
constexpr char const* recordFails = "operation failed : unable to write bootProgress : ";

/// What lets a step fail, at its first to its last transfer or command; the failure; the effects.
struct Step
{
    std::function<void(unsigned int)> arm;
    unsigned int first, last;
    std::string failure, effects;
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
                EXPECT_THAT(failureOf<std::exception>(work), testing::HasSubstr(step.failure));
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
            {"error ", errorText() != "before"},
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
         {lockTakenIn("date"), 1, 1, lockFile, "boardRev ipAddress serialNum _error "},
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
    check({{[](auto) { setBoxFile(lockFile, ""); }, 1, 1, lockFile, ""},
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

// The pages of an image are written one after another, and it has no checksum.
TEST_F(BoxVarsFailureTest, PowerCutLeavesNewPagesBeforeOldOnesAndOnlyStoredNames)
{
    VariableList defaults;
    getDefaultVars(defaults);
    removeNonEepromVars(defaults);
    VariableList longer = defaults;
    updateVars(longer, {{"dtcName", "probe on the second floor"},
                        {"ipConfig", "192.168.0.10"},
                        {"_ipFilter", "192.168.0.,10.0.0.5"}});
    VariableList sameLength = defaults;
    updateVars(sameLength, {{"dtcName", "left"}, {"_state", "idle"}});
    for (auto const& [old, fresh] : {std::pair(defaults, sameLength), std::pair(defaults, longer),
                                     std::pair(longer, defaults)}) {
        writeVarsToEeprom(fresh);
        std::string const image = boxFile("/dev/i2c/eeprom");
        for (unsigned int pages = 0; pages <= image.find('\0') / 64; ++pages) {
            setBoxFile("/dev/i2c/eeprom", std::string(32768, '\xFF'));
            writeVarsToEeprom(old);
            std::string const before = boxFile("/dev/i2c/eeprom");
            PLATFORM::FAULTS::onTransfer(pages + 1, Transfer::Fails, true);
            EXPECT_THROW(writeVarsToEeprom(fresh), Exception);
            PLATFORM::FAULTS::clear();
            EXPECT_EQ(boxFile("/dev/i2c/eeprom"),
                      image.substr(0, 64UL * pages) + before.substr(64UL * pages));
            VariableList stored;
            readVarsFromEeprom(stored);
            VariableList after = defaults;
            updateVars(after, stored);
            ASSERT_EQ(after.size(), defaults.size()) << "a name that is not stored";
            bool const isShifted = image.find('\0') != before.find('\0');
            for (std::size_t i = 0; i < after.size() && !isShifted; ++i)
                EXPECT_TRUE(after[i] == old[i] || after[i] == fresh[i]) << after[i].first;
        }
    }
}

} // namespace
