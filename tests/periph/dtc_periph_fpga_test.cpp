#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_pmx.h"
#include "platform/simulated/faults.h"
#include "tests/support/descriptors.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>
#include <utility>
#include <vector>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;
using testing::EndsWith;
using testing::HasSubstr;
using testing::ThrowsMessage;
using testing_support::openDescriptors;
using namespace std::string_literals;

namespace {

TEST(FpgaTest, ReachesItsRegistersAtBothEndsOfBothRanges)
{
    FPGA& fpga = getFPGA();
    EXPECT_EQ(fpga.read(0), 0x0211) << "the revision of a new box";
    std::pair<unsigned int, unsigned int> const same[] = {
        {0, 0x06000000},          {0x0600FFFE, 0xFFFE},     {0x06001001, 0x06001000},
        {0x08000000, 0x08000001}, {0x0800FFFE, 0x0800FFFE}, {0x08001234, 0x08001235 - 1}};
    unsigned short value = 0xA000;
    for (auto const& [written, read] : same) {
        fpga.write(written, ++value);
        EXPECT_EQ(fpga.read(read), value) << std::hex << written;
    }
    EXPECT_NE(fpga.read(0x06001234), fpga.read(0x08001234)) << "the ranges are apart";
    for (unsigned int const outside :
         {0x0600FFFFU, 0x06010000U, 0x05FFFFFEU, 0x07000000U, 0x0800FFFFU, 0x08010000U, 0x0A000000U,
          0x0E000000U, 0x10000U, 0xFFFFFFFFU}) {
        auto const fails =
            ThrowsMessage<Exception>(HasSubstr(" : operation failed : invalid address"));
        EXPECT_THAT([&] { fpga.read(outside); }, fails);
        EXPECT_THAT([&] { fpga.write(outside, 1); }, fails);
    }
}

TEST(FpgaTest, KnowsItsRanges)
{
    FPGA& fpga = getFPGA();
    EXPECT_FALSE(fpga.is_illegal_fpga_address_range(0x0600FFFC, 2));
    EXPECT_TRUE(fpga.is_illegal_fpga_address_range(0x0600FFFC, 3));
    EXPECT_FALSE(fpga.is_illegal_fpga_address_range(0x08000000, 0x8000));
    EXPECT_TRUE(fpga.is_illegal_fpga_address_range(0x08000000, 0x8001));
    EXPECT_TRUE(fpga.is_illegal_fpga_address_range(0, 1)) << "no offsets here";
    EXPECT_EQ(get_mmd_index(0x0600F000), 15U);
    EXPECT_EQ(get_mmd_index(0x08000000), 16U);
    EXPECT_EQ(get_mmd_index(0x08001234), 17U);
}

TEST(MmdTest, MapsOnceAndGivesEverythingBack)
{
    std::size_t const before = openDescriptors();
    {
        MMD page;
        EXPECT_EQ(page.get_base_address(), reinterpret_cast<void*>(-1));
        page.unmap();
        page.map(0x06000000);
        void* const base = page.get_base_address();
        page.map(0x08000000);
        EXPECT_EQ(page.get_base_address(), base);
        page.unmap();
        EXPECT_EQ(openDescriptors(), before);
        page.map(0x08000000);
    }
    EXPECT_EQ(openDescriptors(), before);

    constexpr char const* mapFailed =
        "unable to map physical address into virtual address space : ";
    PLATFORM::FAULTS::refuseMapping();
    EXPECT_THAT([] { FPGA(); },
                ThrowsMessage<Exception>(EndsWith(mapFailed + "call to mmap() failed"s)));
    PLATFORM::FAULTS::clear();
    PLATFORM::FAULTS::hideNode("/dev/mem");
    EXPECT_THAT([] { PMX(); },
                ThrowsMessage<Exception>(EndsWith(mapFailed + "/dev/mem could not be opened"s)));
    PLATFORM::FAULTS::clear();
    EXPECT_EQ(openDescriptors(), before);
}

using RegisterPair = std::pair<unsigned int, unsigned int>;

/// The values that the two registers go through while the pins are switched, as a second mapping of
/// their page sees them.
std::vector<RegisterPair> watchPinsBeingSwitched()
{
    MMD page;
    page.map(0x01C40000);
    auto* const registers = static_cast<unsigned int volatile*>(page.get_base_address());
    registers[0] = 0x00030001;
    registers[1] = 0x00000141;
    std::vector<RegisterPair> seen;
    std::atomic<bool> stop{false};
    std::thread watcher([&] {
        while (!stop) {
            unsigned int const second = registers[1];
            RegisterPair const now{registers[0], second};
            if (registers[1] == second && (seen.empty() || now != seen.back()))
                seen.push_back(now); // what was there at one moment
        }
    });
    auto const start = std::chrono::steady_clock::now();
    getPMX().init();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    stop = true;
    watcher.join();
    return seen;
}

TEST(PmxTest, SwitchesItsPinsInOrderAndLetsThemSettle)
{
    RegisterPair const settled{0x00030801, 0x000001C1};
    RegisterPair const steps[] = {{0x00030001, 0x00000141},
                                  {0x00030801, 0x00000141},
                                  settled,
                                  {0x00000801, 0x000001C1},
                                  {0x00000801, 0x00000081}};
    bool hasSettled = false;
    for (int attempt = 0; attempt < 20 && !hasSettled; ++attempt) { // a busy machine may miss it
        auto const* step = std::begin(steps);
        for (RegisterPair const& pair : watchPinsBeingSwitched()) {
            step = std::find(step, std::end(steps), pair);
            ASSERT_NE(step, std::end(steps)) << "out of order";
            hasSettled = hasSettled || pair == settled;
        }
    }
    EXPECT_TRUE(hasSettled);
}

} // namespace
