#include "util/regular_file.h"

#include "tests/support/box_state.h"
#include "tests/support/small_disk.h"

#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace KORVA;
using namespace testing_support;

namespace fs = std::filesystem;

namespace {

class RegularFileTest : public testing::Test
{
protected:
    RegularFileTest()
    {
        fs::remove_all(directory);
        fs::create_directory(directory);
    }
    ~RegularFileTest() override { fs::remove_all(directory); }

    std::size_t names() const
    {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
    }

    std::string const directory = DTC::PLATFORM::boxRoot() + "/tmp/regular files";
    std::string const file = directory + "/file";
    std::string const other = directory + "/other";
};

TEST_F(RegularFileTest, IsReplacedWhole)
{
    mode_t const before = umask(027);
    EXPECT_TRUE(replaceRegularFile(file, "a longer text\n"));
    umask(before);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    fs::create_hard_link(file, other);
    FileStream const reader = openRegularFile(file);
    EXPECT_TRUE(replaceRegularFile(file, "short\n"));
    EXPECT_EQ(contentOf(file), "short\n");
    EXPECT_EQ(contentOf(other), "a longer text\n") << "its other name";
    char text[32] = {};
    std::fread(text, 1, sizeof text, reader.get());
    EXPECT_STREQ(text, "a longer text\n") << "whoever has it open";
    EXPECT_EQ(names(), 2U);
}

TEST_F(RegularFileTest, IsNothingElseThatHasItsName)
{
    std::ofstream(other) << "victim";
    for (auto const make : {+[](char const* name) { return symlink("other", name); },
                            +[](char const* name) { return symlink("nothing", name); },
                            +[](char const* name) { return mkfifo(name, 0600); },
                            +[](char const* name) { return mkdir(name, 0700); }}) {
        ASSERT_EQ(make(file.c_str()), 0);
        fs::file_type const type = fs::symlink_status(file).type();
        EXPECT_FALSE(replaceRegularFile(file, "x"));
        EXPECT_EQ(openRegularFile(file), nullptr);
        EXPECT_EQ(fs::symlink_status(file).type(), type);
        EXPECT_EQ(contentOf(other), "victim");
        EXPECT_EQ(names(), 2U);
        fs::remove(file);
    }
}

TEST_F(RegularFileTest, StaysAsItIsWhenNotAllCanBeWritten)
{
    ASSERT_TRUE(replaceRegularFile(file, "none\n"));
    Fork limited([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{8, 8};
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_FALSE(replaceRegularFile(file, "127.0.0.5\n"));
        EXPECT_FALSE(replaceRegularFile(other, "127.0.0.5\n"));
    });
    EXPECT_EQ(limited.wait(), 0);
    EXPECT_EQ(contentOf(file), "none\n");
    EXPECT_EQ(names(), 1U);
}

TEST_F(RegularFileTest, IsWrittenInItsOwnRoomOnAFullDisk)
{
    onSmallDisk(directory, "16k", [&] {
        EXPECT_TRUE(replaceRegularFile(file, "none\n"));
        std::ofstream(other) << std::string(1 << 16, 'x');
        EXPECT_TRUE(replaceRegularFile(file, "127.0.0.5\n"));
        EXPECT_EQ(contentOf(file), "127.0.0.5\n");
        EXPECT_TRUE(replaceRegularFile(file, "none\n"));
        EXPECT_EQ(contentOf(file), "none\n");
        EXPECT_FALSE(replaceRegularFile(directory + "/new", "none\n"));
        EXPECT_EQ(names(), 2U);
        fs::create_hard_link(file, directory + "/another name");
        EXPECT_FALSE(replaceRegularFile(file, "127.0.0.5\n"));
        EXPECT_EQ(contentOf(file), "none\n");
    });
}

} // namespace
