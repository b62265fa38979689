// What holds for both platforms. It touches only files that it makes itself, and runs only harmless
// commands.
#include "platform/platform.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <tuple>

using namespace KORVA::DTC;

namespace {

class PlatformContractTest : public testing::Test
{
protected:
    PlatformContractTest()
    {
        if (mkdtemp(onDesk.data()) == nullptr)
            throw std::runtime_error(onDesk);
        inBox += onDesk.substr(onDesk.size() - 6);
    }
    ~PlatformContractTest() override { std::filesystem::remove_all(onDesk); }

    std::string inBox = "/tmp/contract.";
    std::string onDesk = PLATFORM::path("/tmp/contract.XXXXXX");
};

TEST_F(PlatformContractTest, OpensCloseOnExecAndTellsWhatIsMissing)
{
    std::string const file = inBox + "/file";
    errno = 0;
    EXPECT_EQ(PLATFORM::openDevice(file.c_str(), O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    std::ofstream(onDesk + "/file") << "x";
    int const descriptor = PLATFORM::openDevice(file.c_str(), O_RDWR);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(PLATFORM::bindDevice(descriptor, 0x50), -1) << "no I2C node";
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(PLATFORM::closeDevice(descriptor), 0);
    EXPECT_EQ(PLATFORM::closeDevice(descriptor), -1);
    unsigned char byte = 0;
    EXPECT_EQ(PLATFORM::readDevice(descriptor, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(PLATFORM::writeDevice(-1, &byte, 1), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(PlatformContractTest, MappingsOfOnePageShareIt)
{
    std::string const file = inBox + "/memory";
    std::ofstream(onDesk + "/memory").close();
    std::filesystem::resize_file(onDesk + "/memory", 3 * PLATFORM::PageSize);
    int const descriptor = PLATFORM::openDevice(file.c_str(), O_RDWR);
    void* const one = PLATFORM::mapPage(descriptor, PLATFORM::PageSize);
    void* const other = PLATFORM::mapPage(descriptor, PLATFORM::PageSize);
    ASSERT_TRUE(one != MAP_FAILED && other != MAP_FAILED && one != other);
    std::strcpy(static_cast<char*>(one), "written");
    EXPECT_STREQ(static_cast<char*>(other), "written");
    char inFile[8] = {};
    EXPECT_EQ(pread(descriptor, inFile, sizeof inFile, PLATFORM::PageSize), 8);
    EXPECT_STREQ(inFile, "written");
    EXPECT_EQ(PLATFORM::unmapPage(one), 0);
    EXPECT_STREQ(static_cast<char*>(other), "written");
    EXPECT_EQ(PLATFORM::unmapPage(other), 0);
    EXPECT_EQ(PLATFORM::mapPage(descriptor, 100), MAP_FAILED) << "not at a page";
    EXPECT_EQ(errno, EINVAL);
    PLATFORM::closeDevice(descriptor);
    EXPECT_EQ(PLATFORM::mapPage(descriptor, 0), MAP_FAILED);
    EXPECT_EQ(errno, EBADF);
    int const readOnly = PLATFORM::openDevice(file.c_str(), O_RDONLY);
    EXPECT_EQ(PLATFORM::mapPage(readOnly, 0), MAP_FAILED) << "it could not be written";
    EXPECT_EQ(errno, EACCES);
    PLATFORM::closeDevice(readOnly);
}

TEST_F(PlatformContractTest, ShellGivesOutputAndExitStatus)
{
    std::tuple<std::string, char const*, int> const cases[] = {
        {"echo a; echo b", "a\nb\n", 0},
        {"echo x; false-by-name-only 2>" + inBox + "/err", "x\n", 127},
        {"echo kept > " + inBox + "/out; cat " + inBox + "/out", "kept\n", 0},
        {"echo 'unfinished", "", 2}};
    for (auto const& [command, output, status] : cases) {
        std::FILE* const stream = PLATFORM::openShell(command.c_str());
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(fcntl(fileno(stream), F_GETFD), FD_CLOEXEC);
        char text[64] = {};
        std::fread(text, 1, sizeof text - 1, stream);
        EXPECT_STREQ(text, output);
        int const ended = PLATFORM::closeShell(stream);
        EXPECT_TRUE(WIFEXITED(ended));
        EXPECT_EQ(WEXITSTATUS(ended), status) << command;
    }
    EXPECT_TRUE(std::filesystem::exists(onDesk + "/out"));
}

TEST_F(PlatformContractTest, SeveralShellsRunAtOnceAndClosingWaits)
{
    std::FILE* const late =
        PLATFORM::openShell(("sleep 0.3; echo done > " + inBox + "/late; exit 5").c_str());
    std::FILE* const early = PLATFORM::openShell("echo early; exit 6");
    ASSERT_TRUE(late != nullptr && early != nullptr);
    EXPECT_EQ(std::fgetc(early), 'e');
    EXPECT_EQ(WEXITSTATUS(PLATFORM::closeShell(early)), 6);
    EXPECT_FALSE(std::filesystem::exists(onDesk + "/late"));
    EXPECT_EQ(WEXITSTATUS(PLATFORM::closeShell(late)), 5);
    EXPECT_TRUE(std::filesystem::exists(onDesk + "/late"));
}

} // namespace
