#include "periph/dtc_periph_delay.h"
#include "platform/platform.h"
#include "platform/simulated/box_files.h"
#include "tests/support/box_state.h"
#include "tests/support/small_disk.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <list>

using namespace KORVA::DTC;
using namespace testing_support;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

constexpr char const* eeprom = "/dev/i2c/eeprom";

auto filesIn(std::filesystem::path const& directory)
{
    return std::distance(std::filesystem::directory_iterator(directory), {});
}

/// An I2C node of the box, bound to an address unless that is 0.
class Node
{
public:
    explicit Node(char const* path, unsigned int address)
        : m_descriptor(PLATFORM::openDevice(path, O_RDWR))
    {
        EXPECT_TRUE(address == 0 || PLATFORM::bindDevice(m_descriptor, address) == 0) << path;
    }
    ~Node() { PLATFORM::closeDevice(m_descriptor); }

    bool write(std::string const& bytes)
    {
        return PLATFORM::writeDevice(m_descriptor, bytes.data(), bytes.size()) >= 0;
    }

    /// Writes to the EEPROM and waits for the end of its write cycle.
    bool store(std::string const& bytes)
    {
        bool const isWritten = write(bytes);
        while (!write(""))
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        return isWritten;
    }

    /// Writes to an EEPROM that needs next to no write cycle.
    void storeAtOnce(std::string const& bytes)
    {
        while (!write(bytes))
            std::filesystem::remove(PLATFORM::path("/run/eeprom-write-cycle"));
    }

    /// The bytes read, or none when that failed.
    std::string read(std::size_t count)
    {
        std::string bytes(count, '\0');
        ssize_t const got = PLATFORM::readDevice(m_descriptor, bytes.data(), count);
        return got == static_cast<ssize_t>(count) ? bytes : "";
    }

private:
    int const m_descriptor;
};

/// What a program does whose box lies on a disk that has become full.
void useFullDisk(std::string const& disk)
{
    setenv("DTC_BOX_ROOT", (disk + "/box").c_str(), 1);
    int const memory = PLATFORM::openDevice("/dev/mem", O_RDWR);
    int const rest = open((disk + "/rest").c_str(), O_WRONLY | O_CREAT, 0600);
    char const block[4096] = {};
    while (write(rest, block, sizeof block) > 0) {
    }
    for (unsigned int const mapped :
         {0x01C40000U, 0x06000000U, 0x0600F000U, 0x08000000U, 0x0800F000U}) {
        void* const page = PLATFORM::mapPage(memory, mapped);
        ASSERT_NE(page, MAP_FAILED);
        ++static_cast<char volatile*>(page)[100];
    }
    EXPECT_EQ(PLATFORM::mapPage(memory, 0x03000000), MAP_FAILED)
        << "it would kill whoever touches it";
    EXPECT_EQ(errno, ENOSPC);
    setenv("DTC_BOX_ROOT", (disk + "/other").c_str(), 1);
    EXPECT_THAT(PLATFORM::boxRoot,
                testing::ThrowsMessage<std::runtime_error>(testing::AllOf(
                    HasSubstr(disk + "/other/"), testing::EndsWith("No space left on device"))));
    EXPECT_EQ(filesIn(disk), 2) << "nothing is left of the other box";
}

/// Each test has a new box, in the same place.
class SimulatedBoxTest : public testing::Test
{
protected:
    SimulatedBoxTest() { PLATFORM::renewBox(); }
    ~SimulatedBoxTest() override { setenv("DTC_BOX_ROOT", place.c_str(), 1); }

    std::string const place = std::getenv("DTC_BOX_ROOT");
};

TEST_F(SimulatedBoxTest, RefusesAPlaceThatCannotBeABox)
{
    std::filesystem::create_directories(place + "-other/files");
    std::ofstream(place + "-plain") << "a file";
    std::pair<std::string, char const*> const cases[] = {
        {place + "-other", "holds files but is no simulated box"},
        {place + "-plain", "not a directory"},
        {place + "-plain/box", "Not a directory"},
        {"/tmp/..//", "own root cannot be a box"},
        {place + "-line\nfeed", "a line feed in its name"}};
    for (auto const& [wrong, reason] : cases) {
        setenv("DTC_BOX_ROOT", wrong.c_str(), 1);
        EXPECT_THAT(PLATFORM::boxRoot,
                    testing::ThrowsMessage<std::runtime_error>(HasSubstr(reason)));
        EXPECT_EQ(PLATFORM::openDevice("/dev/mem", O_RDWR), -1);
        EXPECT_EQ(PLATFORM::openShell("echo"), nullptr);
    }
    EXPECT_TRUE(std::filesystem::is_empty(place + "-other/files"));
}

TEST_F(SimulatedBoxTest, EepromWrapsWritesInsideTheirPageAndRunsOnWhenRead)
{
    Node device(eeprom, 0x50);
    EXPECT_TRUE(device.store(std::string("\x00\x7E", 2) + "abcd")) << "two before its end";
    EXPECT_EQ(device.read(1), "\xFF") << "the address stands behind the last byte written";
    EXPECT_TRUE(device.write({"\x00\x40", 2}));
    EXPECT_EQ(device.read(3), "cd\xFF");
    EXPECT_TRUE(device.write({"\x00\x7D", 2}));
    EXPECT_EQ(device.read(2), "\xFF"
                              "a");
    EXPECT_EQ(Node(eeprom, 0x50).read(2), "b\xFF") << "on into the third page, by whichever node";
    EXPECT_TRUE(device.store("\x7F\xFFz"));
    EXPECT_TRUE(device.write("\xFF\xFF")) << "the part has 15 address lines";
    EXPECT_EQ(device.read(2), "z\xFF") << "on from the end to the beginning";
    for (unsigned int const wrong : {0U, 0x51U}) {
        EXPECT_FALSE(Node(eeprom, wrong).write("\x7F\xFFy"));
        EXPECT_EQ(errno, ENXIO);
        EXPECT_EQ(Node(eeprom, wrong).read(1), "");
    }
    EXPECT_EQ(boxFile(eeprom).back(), 'z') << "nothing of it reached the device";
}

// A busy machine may be too late to see it, in this process and in another.
TEST_F(SimulatedBoxTest, EepromDoesNotAnswerDuringItsWriteCycle)
{
    Node device(eeprom, 0x50);
    bool wasBusy = false;
    bool wasBusyForOthers = false;
    for (int attempt = 0; attempt < 200 && !(wasBusy && wasBusyForOthers); ++attempt) {
        auto const start = std::chrono::steady_clock::now();
        EXPECT_TRUE(device.write(std::string(2, '\0') + "ab"));
        wasBusy = !device.write(std::string(2, '\0')) && errno == ENXIO;
        Fork other([] { _exit(Node(eeprom, 0x50).read(1).empty() ? 1 : 0); });
        wasBusyForOthers = other.wait() == 1;
        EXPECT_NE(Node("/dev/i2c/bit_io", 0x1A).read(1), "") << "only the EEPROM is busy";
        while (device.read(1).empty()) {
        }
        EXPECT_TRUE(!wasBusy || std::chrono::steady_clock::now() - start >= 5ms);
        EXPECT_TRUE(device.write(std::string(2, '\0') + "ab"));
        PERIPH::waitmsec(5);
        EXPECT_TRUE(device.write(std::string(2, '\0'))) << "no longer than the driver waits";
    }
    ASSERT_TRUE(wasBusy && wasBusyForOthers);
    EXPECT_THAT(boxFile("/log/transfers.log"), HasSubstr("write eeprom 0x50 2: failed\n"));
    setBoxFile("/run/eeprom-write-cycle",
               std::string(8, '\x7F')); // left by another run of the machine
    EXPECT_EQ(device.read(1), "a");
}

TEST_F(SimulatedBoxTest, ExpanderPinsFollowTheConfiguration)
{
    Node device("/dev/i2c/bit_io", 0x1A);
    // What is written, and then the input, output, polarity and configuration registers.
    std::pair<std::string, std::string> const cases[] = {
        {"\x01\x5A", {"\xFF\x5A\x00\xFF", 4}}, {"\x03\xF0", {"\xFA\x5A\x00\xF0", 4}},
        {"\x02\x81", "\x7B\x5A\x81\xF0"},      {{"\x00\x00", 2}, "\x7B\x5A\x81\xF0"},
        {"\x03\xFF", "\x7E\x5A\x81\xFF"},      {"\x01\x11\xA5", "\x7E\xA5\x81\xFF"}};
    for (auto const& [written, registers] : cases) {
        EXPECT_TRUE(device.write(written));
        for (char number = 0; number < 4; ++number) {
            EXPECT_TRUE(device.write({number}));
            EXPECT_EQ(device.read(2), std::string(2, registers.at(std::size_t(number))));
        }
    }
}

TEST_F(SimulatedBoxTest, KillsNobodyOnAFullDisk)
{
    std::string const disk = place + "-disk";
    std::filesystem::create_directory(disk);
    onSmallDisk(disk, "1m", [&] { useFullDisk(disk); });
}

TEST_F(SimulatedBoxTest, LogsStayWithinBounds)
{
    Node device(eeprom, 0x50);
    for (int i = 0; i < 144; ++i) // three megabytes and a half
        ASSERT_EQ(device.read(8192).size(), 8192U);
    EXPECT_EQ(device.read(8193).size(), 0U) << "more than the driver moves in one transfer";
    EXPECT_TRUE(device.write("\x12\x34"));
    EXPECT_EQ(filesIn(PLATFORM::path("/log")), 2) << "the log and one that is full";
    EXPECT_THAT(boxFile("/log/transfers.log"), testing::EndsWith("write eeprom 0x50 2: 12 34\n"));
}

TEST_F(SimulatedBoxTest, LosesNothingWhenProcessesWriteAtOnceAndSomeAreKilled)
{
    std::list<Fork> workers;
    for (int first = 0; first < 4; ++first)
        workers.emplace_back([first] {
            Node memory(eeprom, 0x50);
            for (int i = first; i < 8192; i += 4)
                memory.storeAtOnce({static_cast<char>(i >> 8), static_cast<char>(i), 'x'});
        });
    std::atomic<int>& pages = newSharedNumber();
    for (int round = 1; round <= 40; ++round) {
        Fork victim([&] {
            Node memory(eeprom, 0x50);
            for (char c = 0;; ++c, ++pages)
                memory.storeAtOnce(std::string{0x40, 0} + std::string(64, c));
        });
        awaitAtLeast(pages, pages + 1);
        std::this_thread::sleep_for(std::chrono::microseconds(50 * round));
        victim.signal(SIGKILL);
        EXPECT_EQ(victim.wait(), -SIGKILL);
        std::string const page = boxFile(eeprom).substr(0x4000, 64);
        ASSERT_EQ(page, std::string(64, page.at(0)));
    }
    for (Fork& worker : workers)
        EXPECT_EQ(worker.wait(), 0);
    EXPECT_EQ(boxFile(eeprom).substr(0, 8192), std::string(8192, 'x'));
}

TEST_F(SimulatedBoxTest, IsMadeOnceWhenSeveralProcessesUseItFirst)
{
    for (int round = 0; round < 25; ++round) {
        std::string const first = place + "-first-" + std::to_string(round);
        setenv("DTC_BOX_ROOT", (first + "/box").c_str(), 1);
        std::atomic<int>& start = newSharedNumber();
        std::list<Fork> workers;
        for (int i = 0; i < 4; ++i)
            workers.emplace_back([&] {
                awaitAtLeast(start, 1);
                EXPECT_EQ(Node(eeprom, 0x50).read(64), std::string(64, '\xFF'));
                std::FILE* const shell = PLATFORM::openShell("ifconfig eth0 > /tmp/out");
                EXPECT_EQ(PLATFORM::closeShell(shell), 0);
            });
        start = 1;
        for (Fork& worker : workers)
            EXPECT_EQ(worker.wait(), 0) << "round " << round;
        EXPECT_EQ(filesIn(first), 1) << "only the box is left";
    }
}

} // namespace
