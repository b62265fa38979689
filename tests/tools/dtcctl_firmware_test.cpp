#include "platform/simulated/box_files.h"
#include "tests/support/archive.h"
#include "tests/support/box_state.h"
#include "tests/support/child.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace testing_support;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

class DtcctlFirmwareTest : public testing::Test
{
protected:
    DtcctlFirmwareTest()
    {
        KORVA::DTC::PLATFORM::renewBox();
        setBoxFile("/bin/sleep", "#!/bin/sh\n");
        setenv("SAFEMODE", "true", 1);
    }

    static std::string firmware(std::vector<std::string> arguments, int status = 0)
    {
        arguments.insert(arguments.begin(), {PROGRAM_DIRECTORY "dtcctl", "firmware"});
        Child child(arguments);
        EXPECT_EQ(child.wait(), status) << child.output();
        return child.output();
    }

    std::string written(std::string const& bytes) const
    {
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

    static std::string inFlash()
    {
        std::string text;
        for (char const* partition : {"2", "3.d/a", "4", "5.d/a"})
            text += boxFile(std::string("/flash/mtd") + partition) + ".";
        return text;
    }

    static std::string both(std::string const& text)
    {
        return archiveOf({{"rootfs.tar.gz", archiveOf({{"a", text}})}, {"./uImage", text}});
    }

    std::string const box = KORVA::DTC::PLATFORM::boxRoot();
    std::string const file = fs::path(box).parent_path() / "new firmware; rm *";
};

TEST_F(DtcctlFirmwareTest, InstallsInBothModes)
{
    EXPECT_EQ(firmware({"install", written(both("s"))}),
              "rootfs.tar.gz goes to /dev/mtd5\nuImage goes to /dev/mtd4\n2 images written\n");
    EXPECT_EQ(inFlash(), "..s.s.");
    unsetenv("SAFEMODE");
    EXPECT_THAT(firmware({"install", written(both("u"))}, 1),
                HasSubstr("dtcctl: update only allowed from safe mode"));
    EXPECT_EQ(inFlash(), "..s.s.");
    EXPECT_THAT(firmware({"install", "--unsafe", file}), HasSubstr("uImage goes to /dev/mtd2\n"));
    EXPECT_EQ(inFlash(), "u.u.s.s.");
    EXPECT_TRUE(fs::is_empty(box + "/tmp"));
    setBoxFile("/tmp/fw.tgz", archiveOf({{"uImage", "k"}, {"readme", "r"}}));
    EXPECT_EQ(firmware({"install", "--unsafe", box + "/tmp/fw.tgz"}),
              "uImage goes to /dev/mtd2\nreadme goes to /tmp and stays there\n1 image written\n");
    EXPECT_EQ(inFlash(), "k.u.s.s.");
    firmware({"remove", "readme"});
    EXPECT_TRUE(fs::is_empty(box + "/tmp"));
}

TEST_F(DtcctlFirmwareTest, RefusesBeforeAnythingIsTouched)
{
    std::pair<std::string, char const*> const archives[] = {
        {archiveOf({{"fw/uImage", "x"}, {"._uImage", "x"}}), "neither rootfs.tar.gz nor uImage"},
        {archiveOf({{"uImage", "x"}, {"uImage.old", "x"}}), "would take for uImage"},
        {archiveOf({{"uImage/", "", '5', 0755}}), "would take for uImage"},
        {archiveOf({{"uImage", "x"}, {"../uImage", "x"}}), "not belong into /tmp"},
        {archiveOf({{"/uImage", "x"}}), "not belong into /tmp"},
        {both("x").substr(0, both("x").size() - 9), "damaged"},
        {"", "damaged"}};
    newCommands();
    for (auto const& [bytes, text] : archives)
        EXPECT_THAT(firmware({"install", written(bytes)}, 1), HasSubstr(text));
    EXPECT_THAT(firmware({"install", file + "x"}, 1), HasSubstr("No such file"));
    EXPECT_THAT(firmware({"install", box}, 1), HasSubstr("not a file"));
    setBoxFile("/tmp/old-uImage", "left");
    EXPECT_THAT(firmware({"install", written(both("x"))}, 1), HasSubstr("/tmp/old-uImage is left"));
    firmware({"remove", "/tmp/old-uImage"});
    newCommands();
    fs::create_symlink(box + "/canary", box + "/tmp/" + fs::path(file).filename().string());
    EXPECT_THAT(firmware({"install", file}, 1), HasSubstr("there is another /tmp/new firmware"));
    EXPECT_FALSE(fs::exists(box + "/canary"));
    EXPECT_THAT(firmware({"remove", "fw.tgz"}, 1), HasSubstr("there is no /tmp/fw.tgz"));
    for (char const* name : {"/etc/inetd.conf", "a/", "..", ""})
        EXPECT_NE(firmware({"remove", name}, 2), "") << name;
    EXPECT_THAT(newCommands(), testing::Each(testing::Not(HasSubstr("mount")))) << "only read";
}

// What an interruption would leave is worse than the wait for the end.
TEST_F(DtcctlFirmwareTest, FinishesWhatItHasBegun)
{
    setBoxFile("/bin/sleep", "#!/bin/sh\nkill -INT $$; kill -TERM $$; kill -HUP $$\n"
                             "echo yes > \"$DTC_BOX/run/survived\"; cat \"$DTC_BOX/run/gate\"\n");
    ASSERT_EQ(mkfifo((box + "/run/gate").c_str(), 0600), 0);
    Child installing(
        {PROGRAM_DIRECTORY "dtcctl", "firmware", "install", written(archiveOf({{"uImage", "k"}}))});
    {
        std::ofstream const gate(box + "/run/gate"); // waits for the command at its end
        installing.signal(SIGINT);
        installing.signal(SIGTERM);
    }
    EXPECT_EQ(installing.wait(), 0) << installing.output();
    EXPECT_EQ(boxFile("/run/survived") + boxFile("/run/rootfs") + inFlash(), "yes\nro\n..k..");
    fs::remove(box + "/run/gate");
}

} // namespace
