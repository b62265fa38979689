#include "tests/platform/simulated_box.h"

#include "platform/simulated/box_files.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <random>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

using namespace KORVA::DTC;
using namespace testing_support;
using testing::Each;
using testing::Eq;
using testing::HasSubstr;

namespace {

constexpr char const* leds = "/dev/i2c/bit_io";
constexpr char const* version = "/dev/i2c/version";
constexpr char const* eeprom = "/dev/i2c/eeprom";

/// A forked process, which ends with its work or is killed.
class Worker
{
public:
    template <typename Work>
    explicit Worker(Work work) : m_process(fork())
    {
        if (m_process != 0)
            return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(work() ? 0 : 1);
    }
    ~Worker() { end(); }
    Worker(Worker const&) = delete;
    Worker& operator=(Worker const&) = delete;

    void end()
    {
        if (m_process > 0)
            kill(m_process, SIGKILL);
        wait();
    }

    bool wait()
    {
        int status = -1;
        if (m_process > 0)
            waitpid(m_process, &status, 0);
        m_process = -1;
        return status == 0;
    }

private:
    pid_t m_process;
};

class SimulatedBoxTest : public NewBox
{};

TEST_F(SimulatedBoxTest, IsCompleteWhenNew)
{
    EXPECT_THAT(Node(eeprom, 0x50).read(32768), Each('\xFF'));
    Node expander(version, 0x1B);
    EXPECT_TRUE(expander.write({"\0", 1}));
    EXPECT_EQ(expander.read(1), "\xF2") << "board revision 2";
    int const memory = PLATFORM::openDevice("/dev/mem", O_RDWR);
    void* const page = PLATFORM::mapPage(memory, 0x06000000);
    ASSERT_NE(page, MAP_FAILED);
    EXPECT_EQ(*static_cast<unsigned short*>(page), 0x0211);
    PLATFORM::unmapPage(page);
    void* const last = PLATFORM::mapPage(memory, 0x0800F000);
    ASSERT_NE(last, MAP_FAILED);
    static_cast<volatile unsigned char*>(last)[PLATFORM::PageSize - 1] = 1;
    PLATFORM::unmapPage(last);
    PLATFORM::closeDevice(memory);
    EXPECT_EQ(runInShell("cat /run/rootfs /run/network").output, "ro\ndown\n");
}

TEST_F(SimulatedBoxTest, RefusesAPlaceThatCannotBeABox)
{
    std::filesystem::create_directories(previous + "-other/files");
    std::ofstream(previous + "-plain") << "a file";
    struct
    {
        std::string place;
        char const* reason;
    } const cases[] = {{previous + "-other", "holds files but is no simulated box"},
                       {previous + "-plain", "not a directory"},
                       {previous + "-plain/box", "Not a directory"},
                       {"/", "own root cannot be a box"},
                       {"/tmp/..//", "own root cannot be a box"},
                       {previous + "-line\nfeed", "a line feed in its name"}};
    for (auto const& [place, reason] : cases) {
        setenv("DTC_BOX_ROOT", place.c_str(), 1);
        try {
            PLATFORM::boxRoot();
            ADD_FAILURE() << place << " served";
        } catch (std::runtime_error const& error) {
            EXPECT_THAT(error.what(), HasSubstr(reason)) << place;
        }
        EXPECT_EQ(PLATFORM::openDevice("/dev/mem", O_RDWR), -1);
        EXPECT_EQ(PLATFORM::openShell("echo"), nullptr);
    }
    EXPECT_TRUE(std::filesystem::is_empty(previous + "-other/files"));
}

TEST_F(SimulatedBoxTest, EepromWrapsWritesInsideTheirPageAndRunsOnWhenRead)
{
    Node device(eeprom, 0x50);
    EXPECT_TRUE(device.write(std::string("\x00\x7E"
                                         "abcd",
                                         6)))
        << "two bytes before the end of the second page";
    EXPECT_EQ(device.read(1), "\xFF") << "the address stands behind the last byte written";
    EXPECT_TRUE(device.write({"\x00\x40", 2}));
    EXPECT_EQ(device.read(3), "cd\xFF");
    EXPECT_TRUE(device.write({"\x00\x7D", 2}));
    EXPECT_EQ(device.read(2), "\xFF"
                              "a");
    EXPECT_EQ(Node(eeprom, 0x50).read(2), "b\xFF") << "on into the third page, by whichever node";
    EXPECT_TRUE(device.write({"\x7F\xFFz", 3}));
    EXPECT_TRUE(device.write({"\xFF\xFF", 2})) << "the part has 15 address lines";
    EXPECT_EQ(device.read(2), "z\xFF") << "on from the end to the beginning";
}

TEST_F(SimulatedBoxTest, ExpanderPinsFollowTheConfiguration)
{
    Node device(leds, 0x1A);
    struct
    {
        std::string written;
        std::string registers; // input, output, polarity, configuration
    } const cases[] = {{"\x01\x5A", {"\xFF\x5A\x00\xFF", 4}}, {"\x03\xF0", {"\xFA\x5A\x00\xF0", 4}},
                       {"\x02\x81", "\x7B\x5A\x81\xF0"},      {{"\x00\x00", 2}, "\x7B\x5A\x81\xF0"},
                       {"\x03\xFF", "\x7E\x5A\x81\xFF"},      {"\x01\x11\xA5", "\x7E\xA5\x81\xFF"}};
    for (auto const& [written, registers] : cases) {
        EXPECT_TRUE(device.write(written));
        EXPECT_EQ(device.read(2), std::string(2, device.read(1)[0])) << "the register stays";
        for (char number = 0; number < 4; ++number) {
            EXPECT_TRUE(device.write({number}));
            EXPECT_EQ(device.read(1), registers.substr(static_cast<std::size_t>(number), 1));
        }
    }
}

TEST_F(SimulatedBoxTest, AnswersOnlyAtTheAddressOfTheDevice)
{
    struct
    {
        char const* path;
        unsigned int address;
    } const cases[] = {{leds, 0}, {leds, 0x1B}, {version, 0x1A}, {eeprom, 0x51}};
    for (auto const& [path, address] : cases) {
        Node node(path, address);
        EXPECT_FALSE(node.write("\x01\x01"));
        EXPECT_EQ(errno, ENXIO);
        EXPECT_EQ(node.read(1), "");
    }
    EXPECT_EQ(Node(eeprom, 0x50).read(2), "\xFF\xFF") << "nothing of it reached a device";
    int const memory = PLATFORM::openDevice("/dev/mem", O_RDWR);
    EXPECT_EQ(PLATFORM::bindDevice(memory, 0x1A), -1);
    EXPECT_EQ(errno, ENOTTY);
    PLATFORM::closeDevice(memory);
}

TEST_F(SimulatedBoxTest, LogsStayWithinBounds)
{
    Node device(eeprom, 0x50);
    for (int i = 0; i < 36; ++i) // three megabytes and a half
        ASSERT_EQ(device.read(32768).size(), 32768U);
    EXPECT_TRUE(device.write({"\x12\x34", 2}));
    std::string const log = PLATFORM::path("/log");
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(log)) {
        names.push_back(entry.path().filename());
        EXPECT_LT(entry.file_size(), (1U << 20) + 100'000) << entry.path();
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("transfers.log", "transfers.log.1"));
    EXPECT_THAT(runInShell("sed -n '$p' /log/transfers.log").output,
                HasSubstr("write eeprom 0x50 2: 12 34\n"));
}

/// Fills the first page of the EEPROM and changes an expander's output, for ever.
bool changeForEver()
{
    Node memory(eeprom, 0x50);
    Node expander(leds, 0x1A);
    for (char fill = 'a';; fill = static_cast<char>('a' + (fill - 'a' + 1) % 26)) {
        bool const done = memory.write(std::string(2, '\0') + std::string(64, fill)) &&
                          expander.write("\x01") && expander.write({1, expander.read(1)[0]});
        if (!done)
            return false;
    }
}

TEST_F(SimulatedBoxTest, LosesNoByteThatSeveralProcessesWrite)
{
    constexpr int bytes = 8192;
    std::vector<std::unique_ptr<Worker>> workers;
    for (int first = 0; first < 4; ++first)
        workers.push_back(std::make_unique<Worker>([first] {
            Node memory(eeprom, 0x50);
            bool done = true;
            for (int i = first; i < bytes; i += 4)
                done = memory.write({static_cast<char>(i >> 8), static_cast<char>(i), 'x'}) && done;
            return done;
        }));
    for (auto& worker : workers)
        EXPECT_TRUE(worker->wait());
    Node memory(eeprom, 0x50);
    EXPECT_TRUE(memory.write({"\0\0", 2}));
    EXPECT_EQ(memory.read(bytes), std::string(bytes, 'x'));
}

TEST_F(SimulatedBoxTest, KeepsTransfersWholeWhenProcessesAreKilled)
{
    Node memory(eeprom, 0x50);
    ASSERT_TRUE(memory.write(std::string(2, '\0') + std::string(64, 'A')));
    std::minstd_rand random(1);
    std::unique_ptr<Worker> workers[3];
    for (unsigned int round = 0; round < 40; ++round) {
        std::unique_ptr<Worker>& victim = workers[round % 3];
        victim = std::make_unique<Worker>(changeForEver);
        for (auto reads = 1 + random() % 16; reads > 0; --reads) {
            // The address is the page's own after this and after each worker's write.
            ASSERT_TRUE(memory.write(std::string(2, '\0')));
            std::string const page = memory.read(64);
            ASSERT_EQ(page, std::string(64, page.at(0)));
        }
        victim->end();
    }
}

TEST_F(SimulatedBoxTest, IsMadeOnceWhenSeveralProcessesUseItFirst)
{
    for (int round = 0; round < 25; ++round) {
        std::string const place = previous + "-first-" + std::to_string(round);
        setenv("DTC_BOX_ROOT", (place + "/box").c_str(), 1);
        int start[2];
        ASSERT_EQ(pipe2(start, O_CLOEXEC), 0);
        std::vector<std::unique_ptr<Worker>> workers;
        for (int i = 0; i < 4; ++i)
            workers.push_back(std::make_unique<Worker>([&] {
                char byte = 0;
                close(start[1]);
                bool const started = read(start[0], &byte, 1) == 0;
                return started && Node(eeprom, 0x50).read(64) == std::string(64, '\xFF') &&
                       runInShell("ifconfig eth0").status == 0;
            }));
        close(start[1]);
        for (auto& worker : workers)
            EXPECT_TRUE(worker->wait()) << "round " << round;
        close(start[0]);
        auto const entries = std::filesystem::directory_iterator(place);
        EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "only the box is left";
    }
}

} // namespace
