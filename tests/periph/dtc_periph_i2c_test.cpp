#include "periph/dtc_periph_delay.h"
#include "periph/dtc_periph_eeprom.h"
#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_i2c.h"
#include "periph/dtc_periph_i2c_c.h"
#include "periph/dtc_periph_led.h"
#include "periph/dtc_periph_pmx.h"
#include "periph/dtc_periph_resets.h"
#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"
#include "tests/support/descriptors.h"

#include <gmock/gmock.h>
#include <numeric>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;
using namespace testing_support;
namespace FAULTS = PLATFORM::FAULTS;
using namespace testing;

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
        FAULTS::clear();
        PLATFORM::renewBox();
        getI2C().init();
    }
};

/// The new transfers with kind, address and bytes.
std::string moved()
{
    std::string all;
    for (std::string const& line : newTransfers())
        all += line[0] + line.substr(line.find("0x") + 2, 2) + line.substr(line.find(':')) + "; ";
    return all;
}

TEST_F(I2cTest, SwitchesPinsByReadingChangingAndWriting)
{
    getI2CLed0().init();
    getI2CLed2().init();
    EXPECT_EQ(boxFile("/dev/i2c/bit_io")[3], '\xFA') << "both pins drive";
    newTransfers();
    getI2CLed0().set();
    getI2CLed2().toggle();
    EXPECT_EQ(moved(), "w1a: 01; r1a: ff; w1a: 01 fe; w1a: 01; r1a: fe; w1a: 01 fa; ");
    getI2CLed2().toggle();
    getI2CLed0().clear();
    I2C_LED(9).set();
    EXPECT_EQ(boxFile("/dev/i2c/bit_io")[1], '\xFD') << "pin 9 is pin 1";
    newTransfers();
    getI2CDtcReset().assertReset();
    EXPECT_EQ(moved(), "w1b: 03; r1b: ff; w1b: 03 7f; w1b: 01; r1b: ff; w1b: 01 7f; "
                       "w1b: 03; r1b: 7f; w1b: 03 ff; ");
    getI2CFpgaReset().assertReset();
    EXPECT_GE(std::filesystem::file_time_type::clock::now() -
                  std::filesystem::last_write_time(PLATFORM::boxRoot() + "/log/transfers.log"),
              std::chrono::milliseconds(50))
        << "since the last transfer";
    EXPECT_EQ(moved(), "w1b: 01; r1b: 7f; w1b: 01 3f; w1b: 03; r1b: ff; w1b: 03 bf; "
                       "w1b: 01; r1b: 3f; w1b: 01 7f; w1b: 03; r1b: bf; w1b: 03 ff; ");
}

TEST_F(I2cTest, SaysThatItResetsTheBoxWhileItStillCan)
{
    auto const reset = [] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        getI2CDtcReset().assertReset();
        _exit(0); // as a program ends that the reset ends
    };
    EXPECT_EXIT(reset(), ExitedWithCode(0), Eq("Reseting the DTC\n"));
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
    newTransfers();
    getEEPROM().write(0, data.data(), 0, true);
    getEEPROM().write(16320, data.data(), 64, true);
    for (unsigned int const beyond : {16321U, 0xFFFFFFC0U})
        EXPECT_THAT([&] { getEEPROM().write(beyond, data.data(), 64, true); },
                    failsWith(" : access protected"));
    getEEPROM().write(16384, data.data(), 64, false);
    EXPECT_THAT(newTransfers(), ElementsAre(HasSubstr(": 3f c0 01"), HasSubstr(": 40 00 01 02")));
}

// Each transfer of each sequence fails once and is short once. The sequence stops there, and the
// next call is whole again.
TEST_F(I2cTest, StopsASequenceAtTheTransferThatFails)
{
    static unsigned char page[64];
    void (*const sequences[])() = {[] { getI2CLed1().init(); },
                                   [] { getI2CLed1().toggle(); },
                                   [] { getI2CFpgaReset().assertReset(); },
                                   [] { getI2CDtcReset().assertReset(); },
                                   [] { getEEPROM().write(64, page, 64, true); },
                                   [] { getEEPROM().read(64, page, 64); }};
    for (auto const& sequence : sequences) {
        newTransfers();
        sequence();
        std::vector<std::string> const whole = newTransfers();
        for (unsigned int i = 0; i < 2 * whole.size(); ++i) {
            FAULTS::onTransfer(i / 2 + 1,
                               i % 2 == 0 ? FAULTS::Transfer::Fails : FAULTS::Transfer::IsShort);
            EXPECT_THAT(sequence, failsWith(whole[i / 2][0] == 'r'
                                                ? ") : operation failed : I2C READ FAILURE"
                                                : ": operation failed : I2C WRITE FAILURE"));
            EXPECT_EQ(newTransfers().size(), i / 2 + 1) << "nothing is tried after it";
            FAULTS::clear();
            waitmsec(5); // what reached the EEPROM of a page is stored nevertheless
            sequence();
            EXPECT_EQ(newTransfers().size(), whole.size());
        }
    }
}

bool isOpen(std::string const& node)
{
    std::filesystem::directory_iterator const all("/proc/self/fd");
    std::error_code closed; // the directory's own descriptor
    return std::any_of(begin(all), end(all), [&](auto const& open) {
        return std::filesystem::equivalent(open, PLATFORM::boxRoot() + node, closed);
    });
}

TEST_F(I2cTest, OpensTheNodesOnceAndClosesThemAll)
{
    I2C_close(1);
    testing::internal::CaptureStdout();
    std::size_t const before = openDescriptors(); // with those of the capture
    FAULTS::hideNode("/dev/i2c/bit_io");
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT([] { getI2C().init(); }, failsWith("I2C DEVICE OPEN FAILURE"));
    EXPECT_TRUE(isOpen("/dev/i2c/version") && isOpen("/dev/i2c/eeprom")) << "all the same";
    EXPECT_EQ(I2C_close(1), 0);
    EXPECT_EQ(openDescriptors(), before);
    auto* const pins = static_cast<unsigned int*>(getPMX().get_base_address());
    *pins = 0;
    EXPECT_THROW(getEEPROM().init(), Exception);
    EXPECT_EQ(*pins, 0x800U) << "the bus's pins are switched first";
    FAULTS::hideNode("/dev/i2c/eeprom");
    EXPECT_EQ(I2C_init(1), -1);
    EXPECT_EQ(I2C_init(1), 0) << "the node of the LEDs is open, so the bus counts as open";
    EXPECT_EQ(I2C_close(1), 0);
    FAULTS::clear();
    FAULTS::refuseBinding();
    EXPECT_EQ(I2C_init(1), -1);
    EXPECT_EQ(I2C_close(1), 0);
    EXPECT_EQ(openDescriptors(), before);
    FAULTS::clear();
    EXPECT_EQ(I2C_init(1), 0);
    unsigned char byte = 0;
    EXPECT_EQ(I2C_write(0x42, &byte, 1, 1), -1) << "no such device";
    EXPECT_EQ(I2C_read(0x42, &byte, 1, 1), -1);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::AllOf(HasSubstr("I2C_init: Failed to open I2C devices\n"),
                               HasSubstr("I2C_init: Failed IOCTL on I2C devices\n"),
                               testing::EndsWith("I2C write Failure\nI2C read Failure\n")));
}

} // namespace
