// What holds for both platforms. It touches only files that it makes itself, and runs only harmless
// commands.
#include "platform/platform.h"
#include "tests/support/child.h"

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
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
        EXPECT_NE(mkdtemp(onDesk.data()), nullptr);
        inBox += onDesk.substr(onDesk.size() - 6);
    }
    ~PlatformContractTest() override { std::filesystem::remove_all(onDesk); }

    std::string inBox = "/tmp/contract.";
    std::string onDesk = PLATFORM::path("/tmp/contract.XXXXXX");
};

template <typename Result>
void expectFailure(Result result, int error)
{
    EXPECT_EQ(result, (Result)-1);
    EXPECT_EQ(errno, error);
}

TEST_F(PlatformContractTest, OpensCloseOnExecAndTellsWhatIsMissing)
{
    std::string const file = inBox + "/file";
    expectFailure(PLATFORM::openDevice(file.c_str(), O_RDWR), ENOENT);
    std::ofstream(onDesk + "/file") << "x";
    int const descriptor = PLATFORM::openDevice(file.c_str(), O_RDWR);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    expectFailure(PLATFORM::bindDevice(descriptor, 0x50), ENOTTY);
    EXPECT_EQ(PLATFORM::closeDevice(descriptor), 0);
    testing_support::Fork child([&file] {
        close(STDIN_FILENO);
        EXPECT_GT(PLATFORM::openDevice(file.c_str(), O_RDWR), STDERR_FILENO);
    });
    EXPECT_EQ(child.wait(), 0);
    unsigned char byte = 0;
    expectFailure(PLATFORM::readDevice(descriptor, &byte, 1), EBADF);
    expectFailure(PLATFORM::writeDevice(-1, &byte, 1), EBADF);
}

TEST_F(PlatformContractTest, MappingsOfOnePageShareIt)
{
    constexpr unsigned int last = 0x0800F000; // of the pages that drivers map
    std::ofstream(onDesk + "/memory").close();
    std::filesystem::resize_file(onDesk + "/memory", last + PLATFORM::PageSize);
    int const descriptor = PLATFORM::openDevice((inBox + "/memory").c_str(), O_RDWR);
    void* const one = PLATFORM::mapPage(descriptor, last);
    void* const other = PLATFORM::mapPage(descriptor, last);
    ASSERT_TRUE(one != MAP_FAILED && other != MAP_FAILED && one != other);
    std::strcpy(static_cast<char*>(one), "written");
    EXPECT_EQ(PLATFORM::unmapPage(one), 0);
    char inFile[8] = {};
    EXPECT_EQ(pread(descriptor, inFile, sizeof inFile, last), 8);
    EXPECT_STREQ(inFile, "written");
    EXPECT_STREQ(static_cast<char*>(other), "written");
    EXPECT_EQ(PLATFORM::unmapPage(other), 0);
    expectFailure(PLATFORM::mapPage(descriptor, 100), EINVAL); // not at a page
    PLATFORM::closeDevice(descriptor);
    expectFailure(PLATFORM::mapPage(descriptor, 0), EBADF);
    int const readOnly = PLATFORM::openDevice((inBox + "/memory").c_str(), O_RDONLY);
    expectFailure(PLATFORM::mapPage(readOnly, 0), EACCES); // it could not be written
    PLATFORM::closeDevice(readOnly);
}

TEST_F(PlatformContractTest, ShellsRunAtOnceAndGiveOutputAndExitStatus)
{
    ASSERT_EQ(mkfifo((onDesk + "/gate").c_str(), 0600), 0);
    std::FILE* const late = PLATFORM::openShell(
        ("read -r go < " + inBox + "/gate; echo done > " + inBox + "/late; exit 5").c_str());
    std::tuple<std::string, char const*, int> const cases[] = {
        {"echo x; false-by-name-only 2>" + inBox + "/err", "x\n", 127},
        {"echo kept > " + inBox + "/out; cat " + inBox + "/out; exit 6", "kept\n", 6},
        {"echo 'unfinished", "", 2}};
    for (auto const& [command, output, status] : cases) {
        std::FILE* const stream = PLATFORM::openShell(command.c_str());
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(fcntl(fileno(stream), F_GETFD), FD_CLOEXEC);
        char text[64] = {};
        std::fread(text, 1, sizeof text - 1, stream);
        EXPECT_STREQ(text, output);
        int const ended = PLATFORM::closeShell(stream);
        EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == status) << command;
    }
    EXPECT_TRUE(std::filesystem::exists(onDesk + "/out"));
    EXPECT_FALSE(std::filesystem::exists(onDesk + "/late"));
    std::ofstream(onDesk + "/gate") << "go\n";
    EXPECT_EQ(WEXITSTATUS(PLATFORM::closeShell(late)), 5) << "it waits for the end";
    EXPECT_TRUE(std::filesystem::exists(onDesk + "/late"));
}

} // namespace
