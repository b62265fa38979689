#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_i2c.h"
#include "periph/dtc_periph_i2c_c.h"
#include "periph/dtc_periph_i2c_linux.h"
#include "periph/dtc_periph_led.h"
#include "periph/dtc_periph_resets.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"
#include "tests/support/descriptors.h"

#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <numeric>

using namespace KORVA::DTC::PERIPH;
using namespace testing_support;
namespace FAULTS = KORVA::DTC::PLATFORM::FAULTS;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

auto failsWith(char const* text)
{
    return testing::ThrowsMessage<Exception>(HasSubstr(text));
}

class I2cTest : public testing::Test
{
protected:
    I2cTest()
    {
        I2C_close(1);
        setBoxFile("/dev/i2c/bit_io", std::string("\xFF\xFF\x00\xFF\x00", 5));
        setBoxFile("/dev/i2c/version", std::string("\xF2\xFF\x00\xFF\x00", 5));
        getI2C().init();
        newTransfers();
    }
    ~I2cTest() override { FAULTS::clear(); }
};

TEST_F(I2cTest, DrivesLedsByReadingChangingAndWriting)
{
    getI2CLed0().init();
    getI2CLed2().init();
    EXPECT_EQ(boxFile("/dev/i2c/bit_io")[3], '\xFA') << "both pins drive";
    newTransfers();
    getI2CLed0().set();
    EXPECT_THAT(newTransfers(), ElementsAre("write bit_io 0x1a 1: 01", "read  bit_io 0x1a 1: ff",
                                            "write bit_io 0x1a 2: 01 fe"));
    getI2CLed2().toggle();
    EXPECT_THAT(newTransfers(), ElementsAre("write bit_io 0x1a 1: 01", "read  bit_io 0x1a 1: fe",
                                            "write bit_io 0x1a 2: 01 fa"));
    getI2CLed2().toggle();
    getI2CLed0().clear();
    EXPECT_EQ(boxFile("/dev/i2c/bit_io")[1], '\xFF');
    I2C_LED(9).set();
    EXPECT_EQ(boxFile("/dev/i2c/bit_io")[1], '\xFD') << "pin 9 is pin 1";
}

TEST_F(I2cTest, ResetsInThePrescribedOrder)
{
    auto const start = std::chrono::steady_clock::now();
    getI2CFpgaReset().assertReset();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_THAT(newTransfers(),
                ElementsAre("write version 0x1b 1: 01", "read  version 0x1b 1: ff",
                            "write version 0x1b 2: 01 bf", "write version 0x1b 1: 03",
                            "read  version 0x1b 1: ff", "write version 0x1b 2: 03 bf",
                            "write version 0x1b 1: 01", "read  version 0x1b 1: bf",
                            "write version 0x1b 2: 01 ff", "write version 0x1b 1: 03",
                            "read  version 0x1b 1: bf", "write version 0x1b 2: 03 ff"));
    testing::internal::CaptureStdout();
    getI2CDtcReset().assertReset();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Reseting the DTC\n");
    EXPECT_THAT(newTransfers(),
                ElementsAre("write version 0x1b 1: 03", "read  version 0x1b 1: ff",
                            "write version 0x1b 2: 03 7f", "write version 0x1b 1: 01",
                            "read  version 0x1b 1: ff", "write version 0x1b 2: 01 7f",
                            "write version 0x1b 1: 03", "read  version 0x1b 1: 7f",
                            "write version 0x1b 2: 03 ff"));
    EXPECT_EQ(getI2CBoardRev().readBoardRev() & 0x0F, 2U) << "the revision of a new box";
}

TEST_F(I2cTest, WritesTheEepromInWholePages)
{
    std::vector<unsigned char> data(128);
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(1));
    auto const start = std::chrono::steady_clock::now();
    getEEPROM().write(0x3F40, data.data(), 100, true);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
    EXPECT_THAT(newTransfers(), ElementsAre(HasSubstr("write eeprom 0x50 66: 3f 40 01 02"),
                                            HasSubstr("write eeprom 0x50 66: 3f 80 41 42")));
    std::vector<unsigned char> back(128);
    getEEPROM().read(0x3F40, back.data(), 128);
    EXPECT_EQ(back, data) << "the second page whole too";
    getEEPROM().write(0, data.data(), 0, true);
    getEEPROM().write(16320, data.data(), 64, true);
    for (unsigned int const beyond : {16321U, 0xFFFFFFC0U})
        EXPECT_THAT([&] { getEEPROM().write(beyond, data.data(), 64, true); },
                    failsWith(" : access protected"));
    newTransfers();
    getEEPROM().write(16384, data.data(), 64, false);
    EXPECT_EQ(newTransfers().size(), 1U);
    EXPECT_EQ(boxFile("/dev/i2c/eeprom").substr(16384, 2), "\x01\x02");
}

// Each transfer of each sequence fails once, is short once, and fails from then on. The sequence
// stops there, the registers stay as far as it got, and the next call is whole again.
TEST_F(I2cTest, StopsASequenceAtTheTransferThatFails)
{
    unsigned char page[64] = {};
    std::function<void()> const sequences[] = {
        [] { getI2CLed1().init(); },
        [] { getI2CLed1().set(); },
        [] { getI2CLed1().clear(); },
        [] { getI2CLed1().toggle(); },
        [] { getI2CFpgaReset().init(); },
        [] { getI2CFpgaReset().assertReset(); },
        [] { getI2CDtcReset().assertReset(); },
        [] { getI2CBoardRev().readBoardRev(); },
        [&] { getEEPROM().read(64, page, 64); },
        [&] { getEEPROM().write(64, page, 64, true); },
    };
    std::pair<FAULTS::Transfer, bool> const faults[] = {{FAULTS::Transfer::Fails, false},
                                                        {FAULTS::Transfer::IsShort, false},
                                                        {FAULTS::Transfer::Fails, true}};
    for (auto const& sequence : sequences) {
        newTransfers();
        sequence();
        std::vector<std::string> const whole = newTransfers();
        for (auto const& [kind, andAllAfter] : faults) {
            for (unsigned int n = 1; n <= whole.size(); ++n) {
                FAULTS::onTransfer(n, kind, andAllAfter);
                bool const isRead = whole[n - 1].rfind("read", 0) == 0;
                EXPECT_THAT(sequence,
                            failsWith(isRead ? ") : operation failed : I2C READ FAILURE"
                                             : ") : operation failed : I2C WRITE FAILURE"));
                EXPECT_EQ(FAULTS::transfers(), n) << "nothing is tried after it";
                EXPECT_EQ(newTransfers().size(), n);
                FAULTS::clear();
                sequence();
                EXPECT_EQ(newTransfers().size(), whole.size());
            }
        }
    }
}

TEST_F(I2cTest, OpensTheNodesOnceAndClosesThemAll)
{
    I2C_close(1);
    EXPECT_EQ(I2C_close(1), 0) << "nothing open";
    testing::internal::CaptureStdout();
    std::size_t const before = openDescriptors(); // with those of the capture
    FAULTS::hideNode("/dev/i2c/bit_io");
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT([] { getI2C().init(); }, failsWith("I2C DEVICE OPEN FAILURE"));
    EXPECT_THAT([] { getI2CLed0().set(); }, failsWith("I2C WRITE FAILURE"));
    FAULTS::hideNode("/dev/i2c/eeprom");
    EXPECT_EQ(I2C_init(1), -1);
    EXPECT_EQ(I2C_init(1), 0) << "the node of the LEDs is open, so the bus counts as open";
    unsigned char byte = 0;
    EXPECT_EQ(I2C_write(EEPROM_I2C_ADDR, &byte, 1, 1), -1);
    EXPECT_EQ(I2C_close(1), 0);
    FAULTS::clear();
    FAULTS::refuseBinding();
    EXPECT_EQ(I2C_init(1), -1);
    EXPECT_EQ(I2C_close(1), 0);
    FAULTS::clear();
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(I2C_init(1), 0);
    EXPECT_EQ(I2C_write(0x42, &byte, 1, 1), -1) << "no such device";
    EXPECT_EQ(I2C_read(0x42, &byte, 1, 1), -1);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::AllOf(HasSubstr("I2C_init: Failed to open I2C devices\n"),
                               HasSubstr("I2C_init: Failed IOCTL on I2C devices\n"),
                               testing::EndsWith("I2C write Failure\nI2C read Failure\n")));
}

} // namespace
