#include "tests/support/archive.h"
#include "tests/tools/child.h"

#include <sys/stat.h>

using namespace testing_support;

namespace {

class DtcctlFirmwareTest : public testing::Test
{
protected:
    DtcctlFirmwareTest()
    {
        KORVA::DTC::PLATFORM::renewBox();
        setBoxFile("/bin/sleep", "#!/bin/sh\n");
        setenv("SAFEMODE", "true", 1);
    }
    ~DtcctlFirmwareTest() override { unsetenv("SAFEMODE"); }

    std::string const box = KORVA::DTC::PLATFORM::boxRoot();
};

std::string install(std::string const& archive, int status = 0)
{
    return dtcctl({"firmware", "install", fileWith(archive)}, status);
}

TEST_F(DtcctlFirmwareTest, InstallsInBothModes)
{
    EXPECT_EQ(install(firmwareArchive("s")),
              "rootfs.tar.gz goes to /dev/mtd5\nuImage goes to /dev/mtd4\n2 images written\n");
    unsetenv("SAFEMODE");
    EXPECT_THAT(install(firmwareArchive("u"), 1),
                HasSubstr("dtcctl: update only allowed from safe mode"));
    EXPECT_EQ(firmwareInFlash(), "s.s...");
    EXPECT_THAT(dtcctl({"firmware", "install", "--unsafe", fileWith(firmwareArchive("u"))}),
                HasSubstr("uImage goes to /dev/mtd2\n"));
    EXPECT_EQ(firmwareInFlash(), "s.s.u.u.");
    EXPECT_TRUE(fs::is_empty(box + "/tmp"));
    setBoxFile("/tmp/fw.tgz", archiveOf({{"uImage", "k"}, {"readme", "r"}}));
    EXPECT_EQ(dtcctl({"firmware", "install", "--unsafe", box + "/tmp/fw.tgz"}),
              "uImage goes to /dev/mtd2\nreadme goes to /tmp and stays there\n1 image written\n");
    EXPECT_EQ(firmwareInFlash(), "s.s.u.k.");
    dtcctl("firmware remove readme");
    EXPECT_TRUE(fs::is_empty(box + "/tmp"));
}

TEST_F(DtcctlFirmwareTest, RefusesBeforeAnythingIsTouched)
{
    std::string const whole = firmwareArchive("x");
    std::pair<std::string, char const*> const archives[] = {
        {archiveOf({{"fw/uImage", "x"}, {"._uImage", "x"}}), "neither rootfs.tar.gz nor uImage"},
        {archiveOf({{"uImage", "x"}, {"uImage.old", "x"}}), "would take for uImage"},
        {archiveOf({{"uImage/", "", '5', 0755}}), "would take for uImage"},
        {archiveOf({{"uImage", "x"}, {"../uImage", "x"}}), "not belong into /tmp"},
        {archiveOf({{"/uImage", "x"}}), "not belong into /tmp"},
        {whole.substr(0, whole.size() - 9), "damaged"},
        {"", "damaged"}};
    for (auto const& [bytes, text] : archives)
        EXPECT_THAT(install(bytes, 1), HasSubstr(text));
    EXPECT_THAT(dtcctl("firmware install /nonexistent", 1), HasSubstr("No such file"));
    EXPECT_THAT(dtcctl("firmware install /tmp", 1), HasSubstr("not a file"));
    setBoxFile("/tmp/old-uImage", "left");
    EXPECT_THAT(install(whole, 1), HasSubstr("/tmp/old-uImage is left"));
    EXPECT_THAT(newCommands(), testing::Each(testing::Not(HasSubstr("mount")))) << "only read";
    dtcctl("firmware remove /tmp/old-uImage");
    newCommands();
    fs::create_symlink(box + "/canary", box + "/tmp/new file; rm *");
    EXPECT_THAT(install(whole, 1), HasSubstr("there is another /tmp/new file"));
    EXPECT_FALSE(fs::exists(box + "/canary"));
    EXPECT_THAT(dtcctl("firmware remove fw.tgz", 1), HasSubstr("there is no /tmp/fw.tgz"));
    for (char const* name : {"/etc/inetd.conf", "a/", "..", ""})
        EXPECT_NE(dtcctl({"firmware", "remove", name}, 2), "") << name;
    EXPECT_THAT(newCommands(), testing::Each(testing::Not(HasSubstr("mount")))) << "only read";
}

// What an interruption would leave is worse than the wait for the end.
TEST_F(DtcctlFirmwareTest, FinishesWhatItHasBegun)
{
    setBoxFile("/bin/sleep", "#!/bin/sh\nkill -INT $$; kill -TERM $$; kill -HUP $$\n"
                             "echo yes > \"$DTC_BOX/run/survived\"; cat \"$DTC_BOX/run/gate\"\n");
    ASSERT_EQ(mkfifo((box + "/run/gate").c_str(), 0600), 0);
    Child installing(commandLine({"firmware", "install", fileWith(archiveOf({{"uImage", "k"}}))}));
    {
        std::ofstream const gate(box + "/run/gate"); // waits for the command at its end
        installing.signal(SIGINT);
        installing.signal(SIGTERM);
    }
    EXPECT_EQ(installing.wait(), 0) << installing.output();
    EXPECT_EQ(boxFile("/run/survived") + boxFile("/run/rootfs") + firmwareInFlash(),
              "yes\nro\n.k...");
    fs::remove(box + "/run/gate");
}

} // namespace
