#include "conf/dtc_conf_gpp_control.h"
#include "conf/dtc_conf_gpp_fpga.h"
#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_shell_word.h"
#include "conf/dtc_conf_status.h"
#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_led.h"
#include "periph/dtc_periph_lock.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"

#include <chrono>
#include <cstdlib>
#include <gmock/gmock.h>

using namespace KORVA::DTC;
using namespace testing_support;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::ThrowsMessage;

namespace {

using VariableList = std::vector<std::pair<std::string, std::string>>;

class SystemTest : public testing::Test
{
protected:
    ~SystemTest() override
    {
        PLATFORM::FAULTS::clear();
        PLATFORM::renewBox();
        unsetenv("ROVERKIT");
        unsetenv("RNDISMODE");
    }

    std::string outputOf(char const* command, unsigned int size = 32)
    {
        std::string buffer(size + 4, '#');
        CONF::popenWithStdout(command, buffer.data(), size);
        EXPECT_EQ(buffer.substr(size), "####") << "written beyond the buffer";
        EXPECT_NE(buffer.find('\0'), std::string::npos) << "not terminated";
        return buffer.c_str();
    }
};

TEST_F(SystemTest, RunsCommandsAndKeepsTheBeginningOfTheirOutput)
{
    EXPECT_EQ(outputOf("echo abc"), "abc\n");
    EXPECT_EQ(outputOf("ec\r\nho ab\nc\r\n"), "abc\n") << "line ends are taken out";
    EXPECT_EQ(outputOf("echo 0123456789", 8), "0123456");
    EXPECT_EQ(outputOf("printf 'ab\\200cd'"), "ab");
    EXPECT_EQ(outputOf("echo x >&2 2>/dev/null; exit 3"), "");
    CONF::popenWithStdout("echo unread", nullptr, 0);
    CONF::logEnable();
    testing::internal::CaptureStdout();
    outputOf("echo\n abc");
    outputOf(":");
    CONF::logDisable();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[echo\n abc]: abc\n\n[:]: no output returned from pipe\n");
    EXPECT_THAT([] { CONF::popenWithStdout(nullptr, nullptr, 0); },
                ThrowsMessage<CONF::Exception>("null parameter"));
    PLATFORM::FAULTS::refuseShell();
    EXPECT_THAT(
        [] { CONF::popenWithStdout("a\nb", nullptr, 0); },
        ThrowsMessage<CONF::Exception>("system call failed : ab: failed to open pipe for reading"));
}

TEST_F(SystemTest, AsksTheInterfaceForItsAddresses)
{
    std::string mac;
    std::string ip;
    getMacAndIpAddr(mac, ip);
    EXPECT_EQ(mac, "00:1B:C5:07:90:01");
    EXPECT_EQ(ip, "none");
    setBoxFile("/run/network", "up\n");
    setBoxFile("/run/address", "10.0.0.5\n");
    getMacAndIpAddr(mac, ip);
    EXPECT_EQ(ip, "10.0.0.5");
    setBoxFile("/bin/ifconfig", "#!/bin/sh\n[ \"$2\" = usb0 ] || echo nothing known\n");
    getMacAndIpAddr(mac, ip);
    EXPECT_EQ(mac, "none");
    setenv("ROVERKIT", "true", 1);
    setenv("RNDISMODE", "True", 1);
    mac = "kept";
    getMacAndIpAddr(mac, ip);
    EXPECT_EQ(mac, "kept") << "the USB variant without its interface";
    setBoxFile("/bin/ifconfig", "#!/bin/sh\n");
    unsetenv("ROVERKIT");
    EXPECT_THAT(
        [&] { getMacAndIpAddr(mac, ip); },
        ThrowsMessage<CONF::Exception>("system call failed : failed to read mac/ip address"));
}

TEST_F(SystemTest, SetsAndReadsTheClock)
{
    writeVarsToSys({{"time", "2013/05/14 09:30:00"}, {"other", "1"}, {"time", "none"}});
    EXPECT_THAT(boxFile("/log/commands.log"), HasSubstr(" date -s 2013.05.14-09:30:00\n"));
    VariableList vars{{"time", "old"}, {"other", "1"}};
    readVarsFromSys(vars);
    EXPECT_THAT(vars, ElementsAre(Pair("time", testing::StartsWith("2013/05/14 09:30:0")),
                                  Pair("other", "1")));
    for (char const* text : {"1970/01/01 00:00:05", "1969/12/31 23:59:59", ""}) {
        setBoxFile("/bin/date", std::string("#!/bin/sh\necho '") + text + "'\n");
        readVarsFromSys(vars);
        EXPECT_EQ(vars[0].second, text == std::string("1970/01/01 00:00:05") ? text : "none");
    }
}

// Whatever the value, it reaches date as one word, and nothing else happens.
TEST_F(SystemTest, HandsHostileClockValuesToDateAsOneWord)
{
    setBoxFile("/bin/date", "#!/bin/sh\nprintf '%s|' \"$#\" \"$@\" > \"$DTC_BOX/tmp/arguments\"\n");
    struct
    {
        char const *value, *argument;
    } const cases[] = {{"a;touch x", "a;touch-x"},
                       {"$(touch x)", "$(touch-x)"},
                       {"`id`", "`id`"},
                       {"it's \"so\"", "it's-\"so\""},
                       {"a\nb", "ab"},
                       {"-u", "-u"}};
    for (auto const& c : cases) {
        writeVarsToSys({{"time", c.value}});
        EXPECT_EQ(boxFile("/tmp/arguments"), std::string("2|-s|") + c.argument + "|") << c.value;
    }
    writeVarsToSys({{"time", ""}});
    EXPECT_EQ(boxFile("/tmp/arguments"), "1|-s|") << "which date refuses";
    EXPECT_EQ(CONF::shellWord("az.AZ_09:/+-"), "az.AZ_09:/+-");
    EXPECT_EQ(CONF::shellWord("it's"), "'it'\\''s'");
}

TEST_F(SystemTest, RecordsControlWords)
{
    std::string word;
    getControl(word);
    EXPECT_EQ(word, "none");
    setControl("ReadFpga");
    setBoxFile("/bin/sleep", "#!/bin/sh\n"); // not the five seconds
    setControl("EnableInetd");
    getControl(word);
    EXPECT_EQ(word, "ReadFpga");
    EXPECT_EQ(boxFile("/run/inetd.conf"),
              "telnet stream tcp nowait root /usr/sbin/telnetd telnetd\n");
    EXPECT_EQ(boxFile("/etc/inetd.conf"),
              "#telnet stream tcp nowait root /usr/sbin/telnetd telnetd\n");
    EXPECT_EQ(boxFile("/run/rootfs"), "ro\n");
    setControl("");
    getControl(word);
    EXPECT_EQ(word, "");
}

TEST_F(SystemTest, ReadsTheRevisions)
{
    PERIPH::getFPGA().write(0, 0xFF03);
    setBoxFile("/dev/i2c/version", std::string("\xA5\xFF\x00\xFF\x00", 5));
    VariableList vars{{"fpgaRev", ""}, {"x", "1"}, {"boardRev", ""}};
    readVarsFromFpga(vars);
    writeVarsToFpga(vars);
    EXPECT_THAT(vars, ElementsAre(Pair("fpgaRev", "255.3"), Pair("x", "1"), Pair("boardRev", "5")));
    PLATFORM::FAULTS::onTransfer(1, PLATFORM::FAULTS::Transfer::Fails);
    testing::internal::CaptureStdout();
    readVarsFromFpga(vars);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                HasSubstr("Board Rev Read failed: dtc_periph_i2c("));
    EXPECT_EQ(vars[2].second, "5");
}

TEST_F(SystemTest, BlinksUnderTheLock)
{
    PERIPH::getI2CLed2().init();
    newTransfers();
    flashLED(PERIPH::getI2CLed2(), 0);
    EXPECT_EQ(newTransfers().size(), 0U);
    auto const start = std::chrono::steady_clock::now();
    flashLED(PERIPH::getI2CLed2(), 2);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_EQ(newTransfers().size(), 4U * 3);
    PLATFORM::FAULTS::onTransfer(4, PLATFORM::FAULTS::Transfer::Fails);
    flashLED(PERIPH::getI2CLed2(), 2); // silently ends
    EXPECT_EQ(newTransfers().size(), 4U);
    PLATFORM::FAULTS::clear();
    setBoxFile("/var/lock/i2c", "");
    EXPECT_THROW(flashLED(PERIPH::getI2CLed2(), 1), PERIPH::Exception);
    EXPECT_EQ(newTransfers().size(), 0U);
}

} // namespace
