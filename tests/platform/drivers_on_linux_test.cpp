// The drivers over the system's own calls, on a file in the place of /dev/mem. Only a program in a
// mount namespace of its own sees it there; nothing in this one knows the drivers.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

/// A directory to stand in the place of /dev.
class DriversOnLinuxTest : public testing::Test
{
protected:
    DriversOnLinuxTest()
    {
        if (mkdtemp(directory.data()) == nullptr)
            throw std::runtime_error(directory);
        std::filesystem::create_directory(directory + "/i2c");
        for (char const* name : {"/mem", "/i2c/bit_io", "/i2c/version", "/i2c/eeprom"})
            std::ofstream(directory + name).close();
        std::filesystem::resize_file(directory + "/mem", 0x08010000);
        memory.open(directory + "/mem", std::ios::in | std::ios::out | std::ios::binary);
    }
    ~DriversOnLinuxTest() override { std::filesystem::remove_all(directory); }

    int runInPlace(std::string const& command)
    {
        char const* const options = geteuid() == 0 ? "" : "--map-root-user ";
        return std::system(("unshare --mount " + std::string(options) + "sh -c 'mount --bind " +
                            directory + " /dev && " + command + "'")
                               .c_str());
    }

    std::string directory = "/tmp/drivers-on-linux.XXXXXX";
    std::fstream memory;
};

TEST_F(DriversOnLinuxTest, ReachTheRegistersInTheMemoryDevice)
{
    struct
    {
        std::uint32_t address, before, after;
    } const words[] = {{0x01C40000, 0xFFFFF7FF, 0xFFFCFFFF}, {0x01C40004, 0xF000FF7F, 0xF000FEBF},
                       {0x01C40008, 0x55555555, 0x55555555}, {0x06000000, 0x00000211, 0x00000211},
                       {0x06001234, 0x55555555, 0x55550212}, {0x0600FFFC, 0x55555555, 0x5555A1A2},
                       {0x08000000, 0x55555555, 0x5555B1B2}, {0x0800FFFC, 0x55555555, 0x02125555}};
    for (auto const& word : words)
        memory.seekp(word.address).write(reinterpret_cast<char const*>(&word.before), 4);
    memory.flush();
    if (runInPlace("true") != 0)
        GTEST_SKIP() << "mount namespaces are not allowed here";
    EXPECT_EQ(runInPlace("exec " DRIVERS_ON_LINUX " $(stat -c \"%d %i\" /dev/mem)"), 0);
    for (auto const& word : words) {
        std::uint32_t after = 0;
        memory.seekg(word.address).read(reinterpret_cast<char*>(&after), 4);
        EXPECT_EQ(after, word.after) << std::hex << word.address;
    }
}

} // namespace
