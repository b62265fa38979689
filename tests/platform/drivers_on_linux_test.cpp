// The drivers over the system's own calls, on a file in the place of /dev/mem. A mount namespace of
// a child process alone sees it there; nothing in this program knows the drivers.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int notAllowed = 77;

/// Starts the program with the drivers where the directory is /dev. Does not return.
[[noreturn]] void runWithDevices(std::string const& directory)
{
    int const others = geteuid() == 0 ? 0 : CLONE_NEWUSER;
    if (unshare(CLONE_NEWNS | others) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount(directory.c_str(), "/dev", nullptr, MS_BIND, nullptr) != 0)
        _exit(notAllowed);
    struct stat file = {};
    if (stat((directory + "/mem").c_str(), &file) != 0)
        _exit(1);
    execl(DRIVERS_ON_LINUX, DRIVERS_ON_LINUX, std::to_string(file.st_dev).c_str(),
          std::to_string(file.st_ino).c_str(), nullptr);
    _exit(1);
}

int statusOf(pid_t process)
{
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// A directory in the place of /dev.
class DriversOnLinuxTest : public testing::Test
{
protected:
    DriversOnLinuxTest()
    {
        if (mkdtemp(m_directory) == nullptr)
            throw std::runtime_error(m_directory);
        std::filesystem::create_directories(std::string(m_directory) + "/i2c");
        for (char const* name : {"/mem", "/i2c/bit_io", "/i2c/version", "/i2c/eeprom"})
            std::ofstream((m_directory + std::string(name)).c_str()).close();
        std::filesystem::resize_file(memory(), 0x08010000);
    }
    ~DriversOnLinuxTest() override { std::filesystem::remove_all(m_directory); }

    std::string memory() const { return std::string(m_directory) + "/mem"; }

    void write(std::uint32_t address, std::uint32_t value)
    {
        std::fstream file(memory(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(address).write(reinterpret_cast<char const*>(&value), sizeof value);
    }

    /// The words that are not 0, by their addresses, of the pages that a driver maps.
    std::map<std::uint32_t, std::uint32_t> words() const
    {
        std::map<std::uint32_t, std::uint32_t> found;
        std::ifstream file(memory(), std::ios::binary);
        for (std::uint32_t start : {0x01C40000U, 0x06000000U, 0x08000000U}) {
            std::array<std::uint32_t, 0x4000> range{};
            file.seekg(start).read(reinterpret_cast<char*>(range.data()), sizeof range);
            for (std::uint32_t i = 0; i < range.size(); ++i) {
                if (range[i] != 0)
                    found[start + 4 * i] = range[i];
            }
        }
        return found;
    }

    char m_directory[32] = "/tmp/drivers-on-linux.XXXXXX";
};

TEST_F(DriversOnLinuxTest, ReachTheRegistersInTheMemoryDevice)
{
    write(0x06000000, 0x0211);
    write(0x01C40000, 0xFFFFF7FF);
    write(0x01C40004, 0xF000FF7F);
    pid_t const child = fork();
    if (child == 0)
        runWithDevices(m_directory);
    int const status = statusOf(child);
    if (status == notAllowed)
        GTEST_SKIP() << "mount namespaces are not allowed here";
    EXPECT_EQ(status, 0);
    std::map<std::uint32_t, std::uint32_t> const expected{
        {0x01C40000, 0xFFFCFFFF}, {0x01C40004, 0xF000FEBF}, {0x06000000, 0x0211},
        {0x06001234, 0x0212},     {0x0600FFFC, 0xA1A2},     {0x08000000, 0xB1B2},
        {0x0800FFFC, 0x02120000}};
    EXPECT_EQ(words(), expected);
}

TEST_F(DriversOnLinuxTest, RefuseToStartOnAnyOtherMemory)
{
    pid_t const child = fork();
    if (child == 0) {
        execl(DRIVERS_ON_LINUX, DRIVERS_ON_LINUX, "1", "1", nullptr);
        _exit(1);
    }
    EXPECT_EQ(statusOf(child), 78);
}

} // namespace
