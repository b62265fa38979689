#include "conf/dtc_conf_gpp_system.h"

#include "conf/dtc_conf_gpp_bus.h"
#include "conf/dtc_conf_gpp_fpga.h"
#include "periph/dtc_periph_exception.h"
#include "tests/conf/box_vars.h"
#include "tests/support/signal_storm.h"

#include <chrono>

using namespace KORVA::DTC;
using namespace testing_support;

namespace {

using SystemTest = BoxVarsTest;

std::string outputOf(char const* command, unsigned int size = 32)
{
    std::string buffer(size + 4, '#');
    CONF::popenWithStdout(command, buffer.data(), size);
    EXPECT_EQ(buffer.substr(size), "####") << "written beyond the buffer";
    EXPECT_EQ(buffer.find('#'), size) << "not zero behind the output";
    return buffer.c_str();
}

TEST_F(SystemTest, RunsCommandsAndKeepsTheBeginningOfTheirOutput)
{
    EXPECT_EQ(outputOf("ec\r\nho ab\nc\r\n"), "abc\n") << "line ends are taken out";
    EXPECT_EQ(outputOf("echo 0123456789", 8), "0123456");
    EXPECT_EQ(outputOf("printf 'ab\\200cd'"), "ab");
    EXPECT_EQ(outputOf("echo x >&2 2>/dev/null; exit 3"), "");
    char const* const slow = "i=0; while [ $i -lt 9 ]; do echo $i; i=$((i+1)); sleep 0; done; "
                             "echo x >> /tmp/done";
    {
        SignalStorm const interrupting;
        EXPECT_EQ(outputOf(slow), "0\n1\n2\n3\n4\n5\n6\n7\n8\n");
    }
    CONF::popenWithStdout(slow, nullptr, 0);
    EXPECT_EQ(boxFile("/tmp/done"), "x\nx\n") << "also with nobody to read the output";
    CONF::logEnable();
    testing::internal::CaptureStdout();
    outputOf("echo\n abc");
    outputOf(":");
    CONF::logDisable();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[echo\n abc]: abc\n\n[:]: no output returned from pipe\n");
    EXPECT_EQ(failureOf([] { CONF::popenWithStdout(nullptr, nullptr, 0); }), "null parameter");
    PLATFORM::FAULTS::refuseShell();
    EXPECT_EQ(failureOf([] { CONF::popenWithStdout("a\nb", nullptr, 0); }),
              "system call failed : ab: failed to open pipe for reading");
}

TEST_F(SystemTest, AsksTheInterfaceForItsAddresses)
{
    std::string mac;
    std::string ip;
    setBoxFile("/bin/ifconfig", "#!/bin/sh\necho nothing known\n");
    getMacAndIpAddr(mac, ip);
    EXPECT_EQ(mac + ip, "nonenone");
    setBoxFile("/bin/ifconfig",
               "#!/bin/sh\necho \"HWaddr 00:11:22:33:44:55  inet addr:$2  Bcast\"\n");
    std::tuple<char const*, char const*, char const*> const variants[] = {
        {"false", "true", "eth0"}, {"true", "false", "eth0"}, {"true", "True", "usb0"}};
    for (auto const& [roverKit, rndisMode, interface] : variants) {
        setenv("ROVERKIT", roverKit, 1);
        setenv("RNDISMODE", rndisMode, 1);
        getMacAndIpAddr(mac, ip);
        EXPECT_EQ(mac + ip, std::string("00:11:22:33:44:55") + interface);
    }
    setBoxFile("/bin/ifconfig", "#!/bin/sh\n");
    getMacAndIpAddr(mac, ip);
    EXPECT_EQ(ip, "usb0") << "the USB variant without its interface";
    unsetenv("ROVERKIT");
    EXPECT_EQ(failureOf([&] { getMacAndIpAddr(mac, ip); }),
              "system call failed : failed to read mac/ip address");
}

// Whatever the value, it reaches date as one word, and nothing else happens.
TEST_F(SystemTest, ReadsTheClockAndHandsHostileValuesToDateAsOneWord)
{
    vars.assign({{"time", "old"}, {"other", "1"}});
    PLATFORM::FAULTS::refuseCommand(1);
    EXPECT_NE(failureOf([&] { readVarsFromSys(vars); }), "none");
    EXPECT_EQ(vars, (VariableList{{"time", "none"}, {"other", "1"}}));
    std::pair<std::string, char const*> const clocks[] = {
        {"1970/01/01\t00:00:05\x01", "1970/01/01 00:00:05"},
        {"1969/12/31 23:59:59", "none"},
        {"", "none"}};
    for (auto const& [text, clock] : clocks) {
        setBoxFile("/bin/date", "#!/bin/sh\necho '" + text + "'\n");
        readVarsFromSys(vars);
        EXPECT_EQ(vars[0].second, clock);
    }
    setBoxFile("/bin/date", "#!/bin/sh\nprintf '%s|' \"$#\" \"$@\" > \"$DTC_BOX/tmp/arguments\"\n");
    std::pair<char const*, char const*> const cases[] = {
        {"2013/05/14 09:30:00", "2|-s|2013.05.14-09:30:00|"},
        {"a;touch x", "2|-s|a;touch-x|"},
        {"$(touch x)", "2|-s|$(touch-x)|"},
        {"`id`", "2|-s|`id`|"},
        {"it's \"so\"", "2|-s|it's-\"so\"|"},
        {"a\nb", "2|-s|ab|"},
        {"-u", "2|-s|-u|"},
        {"~", "2|-s|~|"},
        {"", "1|-s|"}}; // which date refuses
    for (auto const& [value, arguments] : cases) {
        writeVarsToSys({{"time", value}, {"other", "1"}, {"time", "none"}});
        EXPECT_EQ(boxFile("/tmp/arguments"), arguments);
    }
}

TEST_F(SystemTest, ReadsTheRevisions)
{
    setBoxFile("/run/fpga-revision", "0xFF03");
    setBoxFile("/dev/i2c/version", std::string("\xA5\xFF\x00\xFF\x00", 5));
    vars.assign({{"boardRev", ""}, {"x", "1"}, {"fpgaRev", ""}});
    readVarsFromFpga(vars);
    writeVarsToFpga(vars);
    EXPECT_EQ(vars, (VariableList{{"boardRev", "5"}, {"x", "1"}, {"fpgaRev", "255.3"}}));
    PLATFORM::FAULTS::onTransfer(1, PLATFORM::FAULTS::Transfer::Fails);
    testing::internal::CaptureStdout();
    readVarsFromFpga(vars);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::HasSubstr("Board Rev Read failed: dtc_periph_i2c("));
    EXPECT_EQ(vars[0].second, "5");
}

TEST_F(SystemTest, BlinksSlowly)
{
    newTransfers();
    flashLED(PERIPH::getI2CLed2(), 0);
    auto const start = std::chrono::steady_clock::now();
    flashLED(PERIPH::getI2CLed2(), 2);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_EQ(newTransfers().size(), 4U * 3);
    setBoxFile("/var/lock/i2c", "");
    auto const taken = std::chrono::steady_clock::now();
    EXPECT_NE(failureOf<PERIPH::Exception>([] { flashLED(PERIPH::getI2CLed2(), 1); }), "none");
    auto const waited = std::chrono::steady_clock::now() - taken;
    EXPECT_TRUE(waited >= std::chrono::seconds(1) && waited < std::chrono::seconds(5));
}

} // namespace
