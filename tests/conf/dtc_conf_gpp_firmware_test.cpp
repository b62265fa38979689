#include "conf/dtc_conf_gpp_firmware.h"

#include "conf/dtc_conf_gpp_control.h"
#include "conf/dtc_conf_status.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/faults.h"
#include "tests/support/archive.h"
#include "tests/support/box_state.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

using namespace KORVA::DTC;
using namespace testing_support;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;
using Commands = std::vector<std::string>;

constexpr char const* readOnly = "mount / -o remount,ro";

std::string unpacking(std::string const& word)
{
    return "mount / -o remount,rw; tar xzf " + word + " -C /tmp;rm " + word + ";ls /tmp";
}

std::string rootfsTo(std::string const& n)
{
    return "mount / -o remount,rw; mkdir -p /mnt/flash;flash_eraseall -j /dev/mtd" + n +
           ";mount -t jffs2 /dev/mtdblock" + n +
           " /mnt/flash;tar xzf /tmp/rootfs.tar.gz -C /mnt/flash;umount /mnt/flash;rmdir "
           "/mnt/flash;rm /tmp/rootfs.tar.gz;sleep 1";
}

std::string kernelTo(std::string const& n)
{
    return "mount / -o remount,rw; flash_eraseall -j /dev/mtd" + n + ";ftl_format /dev/mtd" + n +
           ";nandwrite -p /dev/mtd" + n + " /tmp/uImage;rm /tmp/uImage;sleep 1";
}

/// In safe mode, with a canary beside the box.
class FirmwareTest : public testing::Test
{
protected:
    FirmwareTest()
    {
        setBoxFile("/bin/sleep", "#!/bin/sh\n");
        setenv("SAFEMODE", "true", 1);
        fs::create_directories(desk);
        std::ofstream(desk / "canary") << "alive";
    }
    ~FirmwareTest() override
    {
        std::ifstream file(desk / "canary");
        EXPECT_EQ(std::string((std::istreambuf_iterator<char>(file)), {}), "alive");
        EXPECT_EQ(std::distance(fs::directory_iterator(desk), {}), 1);
        EXPECT_EQ(fs::hard_link_count(desk / "canary"), 1U);
        PLATFORM::FAULTS::clear();
        PLATFORM::renewBox();
        setControl("none");
        unsetenv("SAFEMODE");
    }

    static std::string rootfs(std::string const& greeting)
    {
        return archiveOf({{"etc/", "", '5', 0555}, {"etc/greeting", greeting}});
    }

    static std::string both(std::string const& text)
    {
        return archiveOf({{"rootfs.tar.gz", rootfs(text)}, {"./uImage", text}});
    }

    /// The commands of an installation, without those of reading the variables before it.
    static Commands storeCommands(char const* file, int count)
    {
        newCommands();
        EXPECT_EQ(CONF::store(file), count) << file;
        EXPECT_EQ(boxFile("/run/rootfs"), "ro\n");
        Commands const commands = newCommands();
        return {commands.begin() + 2, commands.end()};
    }

    template <typename Work>
    static std::string failureOf(Work work)
    {
        newCommands();
        try {
            work();
        } catch (std::exception const& error) {
            return error.what();
        }
        return "none";
    }

    std::string const box = PLATFORM::boxRoot();
    fs::path const desk = fs::path(box).parent_path() / "desk";
};

TEST_F(FirmwareTest, WritesTheImagesToThePartitionsOfTheMode)
{
    setBoxFile("/tmp/fw.tgz", both("safe"));
    EXPECT_THAT(storeCommands("/upload/dir/fw.tgz", 2),
                ElementsAre(unpacking("/tmp/fw.tgz"), rootfsTo("5"), kernelTo("4"), readOnly));
    setenv("SAFEMODE", "false", 1);
    setControl("AllowUnsafeUpdate");
    setBoxFile("/tmp/fw.tgz", both("unsafe"));
    EXPECT_THAT(storeCommands("fw.tgz", 2),
                ElementsAre(unpacking("/tmp/fw.tgz"), rootfsTo("3"), kernelTo("2"), readOnly));
    EXPECT_EQ(boxFile("/flash/mtd5.d/etc/greeting") + boxFile("/flash/mtd4"), "safesafe");
    EXPECT_EQ(boxFile("/flash/mtd3.d/etc/greeting") + boxFile("/flash/mtd2"), "unsafeunsafe");
    EXPECT_TRUE(fs::is_empty(box + "/tmp"));

    // An earlier run was interrupted while the other partition was mounted.
    setBoxFile("/flash/mtd3.d/old", "old");
    fs::create_directory_symlink(box + "/flash/mtd5.d", box + "/mnt/flash");
    setBoxFile("/tmp/fw.tgz", both("again"));
    storeCommands("fw.tgz", 2);
    EXPECT_EQ(boxFile("/flash/mtd3.d/etc/greeting") + boxFile("/flash/mtd2"), "againagain");
    EXPECT_EQ(boxFile("/flash/mtd3.d/old"), "");
    EXPECT_EQ(boxFile("/flash/mtd5.d/etc/greeting"), "safe");
    EXPECT_TRUE(fs::is_empty(box + "/mnt"));
}

TEST_F(FirmwareTest, CountsTheNamesInTheListing)
{
    std::string const kernel = archiveOf({{"uImage", std::string(100'000, 'k')}});
    std::pair<std::string, Commands> const cases[] = {
        {kernel, {kernelTo("4")}},
        {archiveOf({{"rootfs.tar.gz", rootfs("x")}}), {rootfsTo("5")}},
        {archiveOf({{"readme", "x"}, {".uImage", "hidden"}}), {}},
        {archiveOf({{"old-uImage.txt", "x"}}), {kernelTo("4")}},
        {both("x").substr(0, 20), {kernelTo("4")}}, // the listing has old-uImage.txt still
        {"no archive", {kernelTo("4")}}};
    for (auto const& [archive, commands] : cases) {
        setBoxFile("/tmp/fw.tgz", archive);
        Commands expected{unpacking("/tmp/fw.tgz")};
        expected.insert(expected.end(), commands.begin(), commands.end());
        expected.emplace_back(readOnly);
        EXPECT_EQ(storeCommands("/tmp/fw.tgz", static_cast<int>(commands.size())), expected);
        EXPECT_FALSE(fs::exists(box + "/tmp/fw.tgz"));
        if (archive == kernel) {
            EXPECT_EQ(boxFile("/flash/mtd4"), std::string(100'000, 'k'));
        }
    }
    EXPECT_EQ(boxFile("/flash/mtd4"), "") << "erased, with nothing to write";
    EXPECT_THAT(storeCommands("", 1), ElementsAre(unpacking("/tmp/"), kernelTo("4"), readOnly));
    EXPECT_THAT(storeCommands("tmp/", 1), ElementsAre(unpacking("/tmp/"), kernelTo("4"), readOnly));
}

TEST_F(FirmwareTest, RefusesBeforeAnythingIsTouched)
{
    setBoxFile("/tmp/fw.tgz", both("x"));
    EXPECT_EQ(failureOf([] { CONF::store(nullptr); }), "null parameter");
    EXPECT_THAT(newCommands(), ElementsAre(readOnly)) << "nothing was read";
    char const* const lineBreak = "operation failed : line break in file name";
    EXPECT_EQ(failureOf([] { CONF::store("fw.tgz\n"); }), lineBreak);
    EXPECT_THAT(newCommands(), ElementsAre(testing::_, testing::_, readOnly));
    for (auto const& [name, failure] :
         {std::pair{"fw.\rtgz", lineBreak}, {nullptr, "null parameter"}}) {
        EXPECT_EQ(failureOf([name = name] { CONF::remove(name); }), failure);
        EXPECT_THAT(newCommands(), ElementsAre(readOnly));
    }
    unsetenv("SAFEMODE");
    for (char const* word : {"none", "AllowUnsafeRestore"}) {
        setControl(word);
        EXPECT_EQ(failureOf([] { CONF::store("fw.tgz"); }),
                  "operation failed : update only allowed from safe mode");
        EXPECT_THAT(newCommands(), ElementsAre(testing::_, testing::_, readOnly));
    }
    EXPECT_EQ(boxFile("/tmp/fw.tgz"), both("x"));
}

// Whatever fails, the caller gets that failure and the root file system is read-only at the end.
TEST_F(FirmwareTest, EndsReadOnlyWhateverFails)
{
    auto const store = [] { CONF::store("fw.tgz"); };
    std::string const refused[] = {"date",        "ifconfig",    "mount / -o remount,rw; tar",
                                   rootfsTo("5"), kernelTo("4"), readOnly};
    for (unsigned int n = 1; n <= std::size(refused); ++n) {
        setBoxFile("/tmp/fw.tgz", both("x"));
        PLATFORM::FAULTS::refuseCommand(n);
        std::string const failure = failureOf(store);
        EXPECT_THAT(failure, testing::StartsWith("system call failed : " + refused[n - 1]));
        EXPECT_EQ(newCommands().back(), readOnly) << failure;
        EXPECT_EQ(boxFile("/run/rootfs"), "ro\n");
    }
    PLATFORM::FAULTS::refuseShell();
    EXPECT_THAT(failureOf([] { CONF::remove("fw.tgz"); }),
                "system call failed : mount / -o remount,rw; rm /tmp/fw.tgz: failed to open pipe "
                "for reading")
        << "not the remount's own failure";
    PLATFORM::FAULTS::clear();
    PLATFORM::FAULTS::onTransfer(1, PLATFORM::FAULTS::Transfer::Fails);
    EXPECT_THAT(failureOf(store), HasSubstr("peripheral access failed : unable to read EEPROM"));
    EXPECT_THAT(newCommands(), ElementsAre(readOnly));
    setenv("SAFEMODE", "1", 1);
    EXPECT_EQ(failureOf(store), "unable to convert \"1\" to boolean");
    EXPECT_EQ(newCommands().back(), readOnly);
    setBoxFile("/var/lock/i2c", "");
    EXPECT_THAT(failureOf(store), HasSubstr("timeout : /var/lock/i2c"));
    EXPECT_THAT(newCommands(), ElementsAre(readOnly));
}

TEST_F(FirmwareTest, TakesAnyNameAsOneFile)
{
    std::string const archive = archiveOf({{"uImage", "k"}});
    std::pair<std::string, std::string> const names[] = {
        {"fw-1.2:3+4_5.tgz", "/tmp/fw-1.2:3+4_5.tgz"},
        {"it's", "'/tmp/it'\\''s'"},
        {"\";`rm canary`;", "'/tmp/\";`rm canary`;'"},
        {"$(rm canary)", "'/tmp/$(rm canary)'"},
        {"-rf", "/tmp/-rf"},
        {"\x82\t~#", "'/tmp/\x82\t~#'"}};
    setBoxFile("/tmp/bystander", "x");
    setBoxFile("/canary", "alive"); // where the box's commands run
    for (auto const& [name, word] : names) {
        setBoxFile("/tmp/" + name, archive);
        EXPECT_THAT(storeCommands(("/a/b/" + name).c_str(), 1),
                    ElementsAre(unpacking(word), kernelTo("4"), readOnly));
        EXPECT_EQ(boxFile("/flash/mtd4"), "k");
        setBoxFile("/tmp/" + name, archive);
        CONF::remove(("a/" + name).c_str());
        EXPECT_THAT(newCommands(), ElementsAre("mount / -o remount,rw; rm " + word, readOnly));
        EXPECT_FALSE(fs::exists(box + "/tmp/" + name)) << name;
        EXPECT_EQ(boxFile("/tmp/bystander") + boxFile("/canary"), "xalive");
    }
    EXPECT_EQ(failureOf([] { CONF::remove("/"); }), "none");
    EXPECT_TRUE(fs::exists(box + "/tmp/bystander"));
}

// An archive and a second one that builds on what the first has left, and a root image of the kind.
TEST_F(FirmwareTest, LetsNoArchiveReachTheDesk)
{
    std::string const out = desk.string();
    std::vector<Member> const first = {{"../../desk/a", "x"},
                                       {out.substr(0, 90) + "/b", "x"},
                                       {"out", out, '2'},
                                       {"out/c", "x"},
                                       {"up", "../../desk", '2'},
                                       {"up/d", "x"},
                                       {"ip_client", out + "/e", '2'},
                                       {"hard", out + "/canary", '1'},
                                       {"null", "", '3'},
                                       {"pipe", "", '6'},
                                       {"new\nline", "x", '0', 06755},
                                       {".hidden", out, '2'},
                                       {"safe/er", out, '2'}};
    std::vector<Member> second = {{"rootfs.tar.gz", archiveOf(first)}};
    for (char const* name : {"out/f", "up/g", "ip_client", "safe/er/h", ".hidden/i", "null"})
        second.push_back({name, "x"});
    for (auto const& members : {first, second, first, second}) {
        setBoxFile("/tmp/fw.tgz", archiveOf(members));
        CONF::store("fw.tgz");
        for (auto const& entry : fs::recursive_directory_iterator(box + "/tmp"))
            EXPECT_TRUE(!entry.is_symlink() && !entry.is_other()) << entry.path();
    }
    fs::path const partition = box + "/flash/mtd5.d";
    EXPECT_EQ(fs::read_symlink(partition / "out"), desk) << "kept where nothing follows it";
    EXPECT_FALSE(fs::exists(fs::symlink_status(partition / "null")));
    EXPECT_EQ(fs::status(partition / "new\nline").permissions(), fs::perms(0755));
}

} // namespace
