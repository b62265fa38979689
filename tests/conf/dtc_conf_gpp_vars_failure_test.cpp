// What a read, a write and a restore leave behind when one of their steps fails.
#include "conf/dtc_conf_gpp_eeprom.h"
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_schema.h"
#include "tests/conf/box_vars.h"

#include <cstring>
#include <functional>
#include <iostream>
#include <set>
#include <unistd.h>

using namespace KORVA::DTC;
using namespace KORVA::DTC::CONF;
using namespace testing_support;
using PLATFORM::FAULTS::Transfer;
using testing::HasSubstr;

namespace {

class BoxVarsFailureTest : public BoxVarsTest
{
protected:
    static std::string failureOf(std::function<void()> const& work)
    {
        std::string failure = "none";
        try {
            work();
        } catch (std::exception const& error) {
            failure = error.what();
        }
        PLATFORM::FAULTS::clear();
        return failure;
    }

    static std::size_t transfersOf(std::function<void()> const& work)
    {
        newTransfers();
        work();
        return newTransfers().size();
    }

    /// A command of the box that takes the bus's lock, and leaves it taken, before it does its
    /// work.
    static void takeLockIn(std::string const& command)
    {
        setBoxFile("/bin/" + command,
                   "#!/bin/sh\n: > \"$DTC_BOX/var/lock/i2c\"\n" + boxFile("/bin/" + command));
    }

    static bool isLocked()
    {
        return ::access((PLATFORM::boxRoot() + "/var/lock/i2c").c_str(), F_OK) == 0;
    }
    static void unlock() { ::unlink((PLATFORM::boxRoot() + "/var/lock/i2c").c_str()); }
};

constexpr std::size_t blinkTransfers = 2 * 3;

TEST_F(BoxVarsFailureTest, ReadKeepsWhatItHadWhenATransferFails)
{
    writeVarsToEeprom({{"dtcName", "probe"}});
    std::size_t const transfers = transfersOf([] { current(); });
    std::size_t const eepromTransfers = 2; // one page
    for (unsigned int n = 1; n <= transfers; ++n) {
        Vars vars("");
        PLATFORM::FAULTS::onTransfer(n, Transfer::Fails);
        std::string const failure = failureOf([&] { vars.read(); });
        bool const isEepromDone = n > eepromTransfers;
        std::string const expected =
            isEepromDone ? "none" : "peripheral access failed : unable to read EEPROM : ";
        EXPECT_EQ(failure.substr(0, expected.size()), expected) << n;
        EXPECT_EQ(vars.size(), 34U);
        EXPECT_EQ(vars.getVar("dtcName"), isEepromDone ? "probe" : "none") << n;
        EXPECT_EQ(vars.getVar("serialNum") != "none", isEepromDone) << n;
        bool const isBoardRead = n > transfers - blinkTransfers;
        EXPECT_EQ(vars.getVar("boardRev"), isBoardRead ? "2" : "none") << n;
        EXPECT_FALSE(isLocked());
    }
}

TEST_F(BoxVarsFailureTest, ReadKeepsWhatItHadWhenACommandOrTheEnvironmentFails)
{
    writeVarsToEeprom({{"dtcName", "probe"}});
    struct
    {
        std::function<void()> arm;
        char const* failure;
        char const *done, *notDone; // a variable that has its live value, and one that has not
    } const cases[] = {
        {[] { PLATFORM::FAULTS::refuseCommand(1); },
         "system call failed : date '+%Y/%m/%d %H:%M:%S': failed to open pipe for reading",
         "dtcName", "fpgaRev"},
        {[] { PLATFORM::FAULTS::refuseCommand(2); },
         "system call failed : ifconfig -a eth0: failed to open pipe for reading", "fpgaRev",
         "ipAddress"},
        {[] { setenv("ROVERKIT", "maybe", 1); }, "unable to convert \"maybe\" to boolean",
         "boardRev", "serialNum"},
        {[] {
             unsetenv("ROVERKIT");
             setenv("SAFEMODE", "", 1);
         },
         "unable to convert empty string to boolean", "ipAddress", "_error"},
        {[] {
             unsetenv("SAFEMODE");
             takeLockIn("ifconfig");
         },
         "i2c", "_error", "ipBroadcast"},
    };
    setBoxFile("/run/network", "up\n");
    setBoxFile("/run/address", "10.0.0.5\n");
    setError("wrong");
    for (auto const& c : cases) {
        Vars vars("");
        c.arm();
        EXPECT_THAT(failureOf([&] { vars.read(); }), HasSubstr(c.failure));
        EXPECT_NE(vars.getVar(c.done), "none") << c.failure;
        EXPECT_EQ(vars.getVar(c.notDone), "none") << c.failure;
        EXPECT_EQ(isLocked(), std::string(c.failure) == "i2c") << "only by the other one";
    }
}

// With the image, the boot record and the error text, in this order, new up to the failing step.
TEST_F(BoxVarsFailureTest, WriteStopsAtTheTransferThatFails)
{
    auto const save = [] {
        request({{"dtcName", "after"}, {"safeMode", "false"}, {"_error", "after"}});
    };
    // The one page of the old image, the board revision, the five of the new image, the boot
    // record.
    char const* const readFails = "peripheral access failed : unable to read EEPROM : ";
    char const* const pageFails = "operation failed : unable to write EEPROM : ";
    char const* const recordFails = "operation failed : unable to write bootProgress : ";
    struct
    {
        unsigned int transfers;
        char const* failure;
    } const steps[] = {{2, readFails}, {8, "none"}, {5, pageFails}, {1, recordFails}, {1, "none"}};
    unsigned int n = 0;
    for (auto const& step : steps) {
        for (unsigned int i = 0; i < step.transfers; ++i) {
            setBoxFile("/dev/i2c/eeprom", std::string(32768, '\xFF'));
            writeVarsToEeprom({{"dtcName", "before"}});
            setError("before");
            PLATFORM::FAULTS::onTransfer(++n, Transfer::Fails);
            std::string const failure = failureOf(save);
            EXPECT_EQ(failure.substr(0, std::strlen(step.failure)), step.failure) << n;
            bool const isDone = failure == "none";
            bool const isFirstPageDone =
                isDone || step.failure == recordFails || (step.failure == pageFails && i > 0);
            std::string const device = boxFile("/dev/i2c/eeprom");
            EXPECT_EQ(device.find("dtcName=after") != std::string::npos, isFirstPageDone) << n;
            EXPECT_EQ(bootRecord() == leavesSafeMode, isDone) << n;
            EXPECT_EQ(errorText(), isDone ? "after" : "before") << n;
            EXPECT_FALSE(isLocked());
        }
    }
}

TEST_F(BoxVarsFailureTest, WriteAndRestoreStopAtTheCommandOrLockThatFails)
{
    setBoxFile("/bin/sleep", "#!/bin/sh\n"); // not the five seconds
    VariableList const wanted{{"dtcName", "after"},
                              {"time", "2013/05/14 09:30:00"},
                              {"safeMode", "false"},
                              {"_error", "after"},
                              {"_control", "EnableInetd"}};
    struct
    {
        std::function<void()> arm;
        char const* failure;
        unsigned int stepsDone; // of: the image, the clock, the boot record, the error text, inetd
    } const cases[] = {
        {[] { PLATFORM::FAULTS::refuseCommand(1); }, "system call failed : date '+", 0},
        {[] { PLATFORM::FAULTS::refuseCommand(2); },
         "system call failed : date -s 2013.05.14-09:30:00: failed to open pipe", 1},
        {[] { PLATFORM::FAULTS::refuseCommand(3); }, "system call failed : mount / -o remount,rw;",
         4},
        {[] { takeLockIn("date"); }, "/var/lock/i2c", 0},
        {[] { takeLockIn("mount"); }, "/var/lock/i2c", 5},
    };
    for (auto const& c : cases) {
        PLATFORM::renewBox();
        setBoxFile("/bin/sleep", "#!/bin/sh\n");
        setError("before");
        c.arm();
        EXPECT_THAT(failureOf([&] { request(wanted); }), HasSubstr(c.failure));
        unlock();
        bool const done[] = {boxFile("/dev/i2c/eeprom").find("dtcName=after") != std::string::npos,
                             boxFile("/run/clock-offset") != "0\n", bootRecord() == leavesSafeMode,
                             errorText() == "after", !boxFile("/run/inetd.conf").empty()};
        for (unsigned int step = 0; step < std::size(done); ++step)
            EXPECT_EQ(done[step], step < c.stepsDone) << c.failure << " step " << step;
    }
    Vars vars("");
    PLATFORM::FAULTS::refuseCommand(2);
    EXPECT_THAT(failureOf([&] { vars.restore(); }), HasSubstr("ifconfig"));
    EXPECT_EQ(current().getVar("dtcName"), "after");
    PLATFORM::FAULTS::refuseCommand(3); // the write's first
    EXPECT_THAT(failureOf([&] { vars.restore(); }), HasSubstr("date"));
    EXPECT_EQ(vars.getVar("dtcName"), "none") << "the request that was not carried out";
    EXPECT_EQ(current().getVar("dtcName"), "after");
}

std::string imageText(VariableList const& vars)
{
    std::string text;
    for (auto const& [name, value] : vars)
        text.append(name).append("=").append(value).append("\n");
    return text;
}

/// How the variable reads after the cut, when neither as before nor as written; else empty.
std::string damage(std::string const& name, VariableList const& old, VariableList const& fresh,
                   VariableList const& after)
{
    auto const valueIn = [&](VariableList const& vars) {
        std::string value = "(default)";
        for (auto const& pair : vars)
            value = pair.first == name ? pair.second : value;
        return value;
    };
    std::string const value = valueIn(after);
    return value == valueIn(old) || value == valueIn(fresh) ? "" : name + " reads " + value;
}

// The pages of an image are written one after another, and it has no checksum.
TEST(PowerCutTest, LeavesNewPagesBeforeOldOnesAndOnlyStoredNames)
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
    std::set<std::string> damages;
    for (auto const& [old, fresh] : {std::pair(defaults, longer), std::pair(longer, defaults),
                                     std::pair(defaults, sameLength)}) {
        std::string const text = imageText(fresh);
        for (unsigned int pages = 0; pages <= text.size() / 64; ++pages) {
            setBoxFile("/dev/i2c/eeprom", std::string(32768, '\xFF'));
            writeVarsToEeprom(old);
            PLATFORM::FAULTS::onTransfer(pages + 1, Transfer::Fails, true);
            EXPECT_THROW(writeVarsToEeprom(fresh), Exception);
            PLATFORM::FAULTS::clear();
            EXPECT_EQ(boxFile("/dev/i2c/eeprom").substr(0, 64UL * pages),
                      text.substr(0, 64UL * pages));
            VariableList after;
            readVarsFromEeprom(after);
            for (auto const& [name, value] : after)
                EXPECT_NE(imageText(defaults).find(name + "="), std::string::npos) << name;
            for (auto const& [name, value] : defaults) {
                std::string const line = damage(name, old, fresh, after);
                EXPECT_TRUE(line.empty() || text.size() != imageText(old).size()) << line;
                if (!line.empty())
                    damages.insert(line);
            }
        }
    }
    std::cout << "a power cut while saving can leave:\n";
    for (std::string const& line : damages)
        std::cout << "  " << line << "\n";
}

} // namespace
