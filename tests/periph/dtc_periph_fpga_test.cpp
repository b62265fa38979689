#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_fpga.h"
#include "periph/dtc_periph_pmx.h"
#include "platform/platform.h"
#include "platform/simulated/faults.h"
#include "tests/support/descriptors.h"

#include <atomic>
#include <csignal>
#include <future>
#include <gmock/gmock.h>
#include <sys/mman.h>

using namespace KORVA::DTC;
using namespace KORVA::DTC::PERIPH;
using namespace std::chrono_literals;
using namespace testing;
using testing_support::openDescriptors;

namespace {

TEST(FpgaTest, ReachesItsRegistersAtBothEndsOfBothRanges)
{
    FPGA& fpga = getFPGA();
    EXPECT_EQ(fpga.read(0), 0x0211) << "the revision of a new box";
    // What the library is asked for, and where that lies in the memory.
    std::pair<unsigned int, unsigned int> const places[] = {
        {0, 0x06000000},          {0xFFFE, 0x0600FFFE},     {0x06001001, 0x06001000},
        {0x0600FFFE, 0x0600FFFE}, {0x08000001, 0x08000000}, {0x0800FFFE, 0x0800FFFE}};
    unsigned short value = 0xA000;
    for (auto const& [address, physical] : places) {
        MMD page;
        page.map(physical & ~0xFFFU);
        fpga.write(address, ++value);
        EXPECT_EQ(static_cast<unsigned short*>(page.get_base_address())[physical % 0x1000 / 2],
                  value);
    }
    fpga.write(0, 0xFFFF);
    MMD other;
    other.map(0x06000000);
    EXPECT_EQ(fpga.read(0), 0x0211) << "nobody writes the revision";
    for (unsigned int const outside :
         {0x02000000U, 0x0600FFFFU, 0x06010000U, 0x05FFFFFEU, 0x07000000U, 0x0800FFFFU, 0x08010000U,
          0x0A000000U, 0x0E000000U, 0x10000U, 0xFFFFFFFFU}) {
        EXPECT_THAT([&] { fpga.read(outside); },
                    ThrowsMessage<Exception>(EndsWith(" : operation failed : invalid address")));
        EXPECT_THROW(fpga.write(outside, 1), Exception);
    }
    EXPECT_FALSE(fpga.is_illegal_fpga_address_range(0x0600FFFC, 2));
    EXPECT_TRUE(fpga.is_illegal_fpga_address_range(0x0600FFFC, 3));
    EXPECT_FALSE(fpga.is_illegal_fpga_address_range(0x08000000, 0x8000));
    EXPECT_TRUE(fpga.is_illegal_fpga_address_range(0x08000000, 0x8001));
    EXPECT_TRUE(fpga.is_illegal_fpga_address_range(0, 1)) << "no offsets here";
    EXPECT_EQ(get_mmd_index(0x07000000), 16U) << "of any address behind the first range";
}

TEST(MmdTest, MapsOnceAndGivesEverythingBack)
{
    std::size_t const before = openDescriptors();
    {
        MMD page;
        page.unmap();
        page.map(0x06000000);
        void* const base = page.get_base_address();
        page.map(0x08000000);
        EXPECT_EQ(page.get_base_address(), base);
        page.unmap();
        EXPECT_EQ(openDescriptors(), before);
        page.map(0x08000000);
    }
    std::pair<void (*)(), char const*> const faults[] = {
        {PLATFORM::FAULTS::refuseMapping, "address space : call to mmap() failed"},
        {[] { PLATFORM::FAULTS::hideNode("/dev/mem"); }, ": /dev/mem could not be opened"}};
    for (auto const& [make, text] : faults) {
        make();
        EXPECT_THAT([] { FPGA(); }, ThrowsMessage<Exception>(EndsWith(text)));
        PLATFORM::FAULTS::clear();
    }
    EXPECT_EQ(openDescriptors(), before);
}

auto* const registers = static_cast<unsigned int*>(getPMX().get_base_address());
std::atomic<long> firstWritten{-1};

void allowWriting(int /*signal*/, siginfo_t* fault, void* /*context*/)
{
    firstWritten = static_cast<unsigned int*>(fault->si_addr) - registers;
    mprotect(registers, PLATFORM::PageSize, PROT_READ | PROT_WRITE);
}

/// Has firstWritten say which register is written next.
void awaitWriting()
{
    firstWritten = -1;
    struct sigaction once = {};
    once.sa_sigaction = allowWriting;
    once.sa_flags = SA_SIGINFO | static_cast<int>(SA_RESETHAND);
    sigaction(SIGSEGV, &once, nullptr);
    mprotect(registers, PLATFORM::PageSize, PROT_READ);
}

TEST(PmxTest, SwitchesItsPinsInOrderAndLetsThemSettle)
{
    MMD page;
    page.map(0x01C40000);
    auto* const pins = static_cast<unsigned int volatile*>(page.get_base_address());
    bool hasSettled = false;
    for (int attempt = 0; attempt < 20 && !hasSettled; ++attempt) { // a busy machine may miss it
        pins[0] = 0x00030001;
        pins[1] = 0x00000141;
        awaitWriting();
        auto const start = std::chrono::steady_clock::now();
        auto end = std::async(std::launch::async, [] { getPMX().init(); });
        while (pins[1] == 0x00000141 && end.wait_for(0s) != std::future_status::ready) {
        }
        EXPECT_EQ(firstWritten, 0);
        awaitWriting();
        hasSettled = pins[0] == 0x00030801 && pins[1] == 0x000001C1;
        end.get();
        EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
        EXPECT_TRUE(!hasSettled || firstWritten == 0);
        EXPECT_TRUE(pins[0] == 0x00000801 && pins[1] == 0x00000081);
    }
    EXPECT_TRUE(hasSettled);
}

} // namespace
