#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_pmx.h"
#include "periph/load_time_instance.h"
#include "platform/simulated/faults.h"
#include "tests/support/descriptors.h"

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>
#include <utility>
#include <vector>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;
using testing_support::openDescriptors;

namespace {

template <typename Call>
std::string failureOf(Call call)
{
    try {
        call();
    } catch (Exception const& error) {
        std::string const text = error.what();
        return text.substr(text.find(" : ") + 3);
    }
    return "none";
}

TEST(FpgaTest, ReachesItsRegistersAtBothEndsOfBothRanges)
{
    FPGA& fpga = getFPGA();
    EXPECT_EQ(fpga.read(0), 0x0211) << "the revision of a new box";
    struct
    {
        unsigned int written, read;
    } const same[] = {{0, 0x06000000},          {0x0600FFFE, 0xFFFE},
                      {0x06001001, 0x06001000}, {0x08000000, 0x08000001},
                      {0x0800FFFE, 0x0800FFFE}, {0x08001234, 0x08001235 - 1}};
    unsigned short value = 0xA000;
    for (auto const& c : same) {
        fpga.write(c.written, ++value);
        EXPECT_EQ(fpga.read(c.read), value) << std::hex << c.written;
    }
    EXPECT_NE(fpga.read(0x06001234), fpga.read(0x08001234)) << "the ranges are apart";
    for (unsigned int const outside :
         {0x0600FFFFU, 0x06010000U, 0x05FFFFFEU, 0x07000000U, 0x0800FFFFU, 0x08010000U, 0x0A000000U,
          0x0E000000U, 0x10000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(failureOf([&] { fpga.read(outside); }), "operation failed : invalid address");
        EXPECT_EQ(failureOf([&] { fpga.write(outside, 1); }), "operation failed : invalid address");
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

    PLATFORM::FAULTS::refuseMapping();
    constexpr char const* refused =
        "unable to map physical address into virtual address space : call "
        "to mmap() failed";
    EXPECT_EQ(failureOf([] { FPGA(); }), refused);
    PLATFORM::FAULTS::clear();
    PLATFORM::FAULTS::hideNode("/dev/mem");
    EXPECT_EQ(failureOf([] { PMX(); }),
              "unable to map physical address into virtual address space : "
              "/dev/mem could not be opened");
    PLATFORM::FAULTS::clear();
    EXPECT_EQ(openDescriptors(), before);
}

// What the load met is thrown at the first use; then each use tries for itself.
TEST(LoadTimeInstanceTest, KeepsAFailureForTheFirstUse)
{
    PLATFORM::FAULTS::hideNode("/dev/mem");
    LoadTimeInstance<PMX> instance;
    PLATFORM::FAULTS::clear();
    EXPECT_THAT(failureOf([&] { instance.get(); }),
                testing::HasSubstr("/dev/mem could not be opened"));
    PLATFORM::FAULTS::refuseMapping();
    EXPECT_THAT(failureOf([&] { instance.get(); }), testing::HasSubstr("call to mmap() failed"));
    PLATFORM::FAULTS::clear();
    EXPECT_EQ(&instance.get(), &instance.get());
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
            bool const together = registers[1] == second; // not read while they changed
            if (together && (seen.empty() || now != seen.back()))
                seen.push_back(now);
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
    std::vector<RegisterPair> const steps{{0x00030001, 0x00000141},
                                          {0x00030801, 0x00000141},
                                          {0x00030801, 0x000001C1}, // and settles
                                          {0x00000801, 0x000001C1},
                                          {0x00000801, 0x00000081}};
    bool settled = false;
    for (int attempt = 0; attempt < 20 && !settled; ++attempt) { // a busy machine may miss a moment
        std::size_t step = 0;
        for (RegisterPair const& pair : watchPinsBeingSwitched()) {
            while (step < steps.size() && steps[step] != pair)
                ++step;
            settled = settled || pair == steps[2];
        }
        ASSERT_LT(step, steps.size()) << "out of order";
    }
    EXPECT_TRUE(settled);
}

} // namespace
