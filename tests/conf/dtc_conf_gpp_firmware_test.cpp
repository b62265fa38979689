#include "conf/dtc_conf_gpp_firmware.h"

#include "conf/dtc_conf_gpp_control.h"
#include "tests/conf/box_vars.h"
#include "tests/support/archive.h"
#include "util/ustring.h"

#include <filesystem>

using namespace KORVA::DTC;
using namespace testing_support;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;
using Commands = std::vector<std::string>;

constexpr char const* readOnly = "mount / -o remount,ro";

/// In safe mode, with a canary beside the box.
class FirmwareTest : public BoxVarsTest
{
protected:
    FirmwareTest()
    {
        setenv("SAFEMODE", "true", 1);
        fs::create_directories(desk);
        std::ofstream(desk / "canary") << "alive";
    }
    ~FirmwareTest() override
    {
        EXPECT_EQ(contentOf(desk / "canary"), "alive");
        EXPECT_EQ(std::distance(fs::directory_iterator(desk), {}), 1);
        EXPECT_EQ(fs::hard_link_count(desk / "canary"), 1U);
    }

    /// The commands of an installation, without those of reading the variables before it.
    static Commands store(std::string const& name, std::string const& archive)
    {
        setBoxFile("/tmp/" + name, archive);
        newCommands();
        int const images = CONF::store(("/a/b/" + name).c_str());
        EXPECT_FALSE(fs::exists(PLATFORM::boxRoot() + "/tmp/" + name)) << name;
        EXPECT_EQ(boxFile("/run/rootfs"), "ro\n");
        Commands const commands = newCommands();
        EXPECT_EQ(commands.size(), static_cast<std::size_t>(images) + 4) << "one for each image";
        return {commands.begin() + 2, commands.end()};
    }

    /// Of a call that runs so many commands before the one that ends it.
    template <typename Work>
    static std::string failureBehind(std::size_t commands, Work work)
    {
        newCommands();
        std::string const failure = failureOf<std::exception>(work);
        Commands const run = newCommands();
        EXPECT_EQ(run.size(), commands + 1) << failure;
        EXPECT_EQ(run.empty() ? "" : run.back(), readOnly) << failure;
        EXPECT_EQ(boxFile("/run/rootfs"), "ro\n") << failure;
        return failure;
    }

    std::string const box = PLATFORM::boxRoot();
    fs::path const desk = fs::path(box).parent_path() / "desk";
};

TEST_F(FirmwareTest, WritesTheImagesToThePartitionsOfTheMode)
{
    Commands commands = {
        "mount / -o remount,rw; tar xzf /tmp/fw.tgz -C /tmp;rm /tmp/fw.tgz;ls /tmp",
        "mount / -o remount,rw; mkdir -p /mnt/flash;flash_eraseall -j /dev/mtd5;"
        "mount -t jffs2 /dev/mtdblock5 /mnt/flash;tar xzf /tmp/rootfs.tar.gz -C /mnt/flash;"
        "umount /mnt/flash;rmdir /mnt/flash;rm /tmp/rootfs.tar.gz;sleep 1",
        "mount / -o remount,rw; flash_eraseall -j /dev/mtd4;ftl_format /dev/mtd4;"
        "nandwrite -p /dev/mtd4 /tmp/uImage;rm /tmp/uImage;sleep 1",
        readOnly};
    EXPECT_EQ(store("fw.tgz", firmwareArchive("safe")), commands);
    setenv("SAFEMODE", "false", 1);
    setControl("AllowUnsafeUpdate");
    KORVA::uString::Replace(commands[1], "5", "3");
    KORVA::uString::Replace(commands[2], "4", "2");
    EXPECT_EQ(store("fw.tgz", firmwareArchive("unsafe")), commands);
    EXPECT_EQ(firmwareInFlash(), "safe.safe.unsafe.unsafe.");
    EXPECT_TRUE(fs::is_empty(box + "/tmp"));

    // An earlier run was interrupted while the other partition was mounted.
    setBoxFile("/flash/mtd3.d/old", "old");
    fs::create_directory_symlink(box + "/flash/mtd5.d", box + "/mnt/flash");
    store("fw.tgz", firmwareArchive("again"));
    EXPECT_EQ(firmwareInFlash(), "safe.safe.again.again.");
    EXPECT_FALSE(fs::exists(box + "/flash/mtd3.d/old"));
    EXPECT_TRUE(fs::is_empty(box + "/mnt"));
}

TEST_F(FirmwareTest, CountsTheNamesInTheListing)
{
    std::string const large(100'000, 'k');
    std::vector<Member> many{{"uImage", large}}; // behind 3600 bytes of other names
    while (many.size() < 40)
        many.push_back({std::string(90, 'a') + std::to_string(many.size()), ""});
    std::tuple<std::string, unsigned int, std::string> const cases[] = {
        {archiveOf(many), 1, "." + large + "..."},
        {archiveOf({{"rootfs.tar.gz", archiveOf({{"etc/greeting", "x"}})}}), 1,
         "x." + large + "..."},
        {archiveOf({{"readme", "x"}, {".uImage", "hidden"}}), 0, "x." + large + "..."},
        {archiveOf({{"old-uImage.txt", "x"}}), 1, "x...."}, // erased, with nothing to write
        {firmwareArchive("x").substr(0, 20), 1, "x...."},   // the listing has the old name still
        {"no archive", 1, "x...."}};
    for (auto const& [archive, images, flash] : cases) {
        EXPECT_EQ(store("fw.tgz", archive).size(), 2 + images);
        EXPECT_EQ(firmwareInFlash(), flash);
    }
    EXPECT_EQ(CONF::store(""), 1) << "which finds no archive";
}

// Whatever fails, the caller gets that failure and the root file system is read-only at the end.
TEST_F(FirmwareTest, EndsReadOnlyWhateverFails)
{
    auto const install = [] { CONF::store("fw.tgz"); };
    std::string const refused[] = {"date",
                                   "ifconfig",
                                   "mount / -o remount,rw; tar",
                                   "mount / -o remount,rw; mkdir",
                                   "mount / -o remount,rw; flash",
                                   readOnly};
    for (unsigned int n = 1; n <= std::size(refused); ++n) {
        setBoxFile("/tmp/fw.tgz", firmwareArchive("x"));
        PLATFORM::FAULTS::refuseCommand(n);
        EXPECT_THAT(failureBehind(n - 1, install),
                    StartsWith("system call failed : " + refused[n - 1]));
    }
    PLATFORM::FAULTS::refuseShell();
    EXPECT_EQ(failureOf([] { CONF::remove("fw.tgz"); }),
              "system call failed : mount / -o remount,rw; rm /tmp/fw.tgz: failed to open pipe for "
              "reading")
        << "not the remount's own failure";
    PLATFORM::FAULTS::clear();
    PLATFORM::FAULTS::onTransfer(1, PLATFORM::FAULTS::Transfer::Fails);
    EXPECT_THAT(failureBehind(0, install), StartsWith("peripheral access failed"));
    setenv("SAFEMODE", "1", 1);
    EXPECT_EQ(failureBehind(2, install), "unable to convert \"1\" to boolean");

    // What is refused: nothing is touched.
    setenv("SAFEMODE", "true", 1);
    setBoxFile("/tmp/fw.tgz", firmwareArchive("x"));
    EXPECT_EQ(failureBehind(0, [] { CONF::store(nullptr); }), "null parameter");
    EXPECT_EQ(failureBehind(0, [] { CONF::remove(nullptr); }), "null parameter");
    char const* const lineBreak = "operation failed : line break in file name";
    EXPECT_EQ(failureBehind(2, [] { CONF::store("fw.tgz\n"); }), lineBreak);
    EXPECT_EQ(failureBehind(0, [] { CONF::remove("fw.\rtgz"); }), lineBreak);
    unsetenv("SAFEMODE");
    for (char const* word : {"none", "AllowUnsafeRestore"}) {
        setControl(word);
        EXPECT_EQ(failureBehind(2, install),
                  "operation failed : update only allowed from safe mode");
    }
    EXPECT_EQ(boxFile("/tmp/fw.tgz"), firmwareArchive("x"));
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
        EXPECT_EQ(store(name, archive)[0],
                  "mount / -o remount,rw; tar xzf " + word + " -C /tmp;rm " + word + ";ls /tmp");
        EXPECT_EQ(firmwareInFlash(), ".k...");
        setBoxFile("/tmp/" + name, archive);
        newCommands();
        CONF::remove(("a/" + name).c_str());
        EXPECT_THAT(newCommands(), ElementsAre("mount / -o remount,rw; rm " + word, readOnly));
        EXPECT_FALSE(fs::exists(box + "/tmp/" + name)) << name;
    }
    CONF::remove("/");
    EXPECT_EQ(boxFile("/tmp/bystander") + boxFile("/canary"), "xalive");
}

// An archive and a second one that builds on what the first has left, and a root image of the kind.
TEST_F(FirmwareTest, LetsNoArchiveReachTheDesk)
{
    std::string const out = desk.string();
    std::vector<Member> first = {
        {"hard", out + "/canary", '1'}, {"null", "", '3'},         {"pipe", "", '6'},
        {"new\nline", "x", '0', 06755}, {"up", "../../desk", '2'}, {"ip_client", out + "/e", '2'}};
    for (char const* name : {"out", ".hidden", "safe/er"})
        first.push_back({name, out, '2'});
    for (std::string const& name : {out.substr(0, 90) + "/b", "../../desk/a"s, "out/c"s, "up/d"s})
        first.push_back({name, "x"});
    std::vector<Member> second = {{"rootfs.tar.gz", archiveOf(first)}};
    for (char const* name : {"out/f", "up/g", "ip_client", "safe/er/h", ".hidden/i", "null"})
        second.push_back({name, "x"});
    for (auto const& members : {first, second, first, second}) {
        store("fw.tgz", archiveOf(members));
        for (auto const& entry : fs::recursive_directory_iterator(box + "/tmp"))
            EXPECT_TRUE(!entry.is_symlink() && !entry.is_other()) << entry.path();
    }
    fs::path const partition = box + "/flash/mtd5.d";
    EXPECT_EQ(fs::read_symlink(partition / "out"), desk) << "kept where nothing follows it";
    EXPECT_FALSE(fs::exists(fs::symlink_status(partition / "null")));
    EXPECT_EQ(fs::status(partition / "new\nline").permissions(), fs::perms(0755));
}

} // namespace
