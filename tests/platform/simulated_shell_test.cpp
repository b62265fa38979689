#include "conf/dtc_conf_gpp_system.h"
#include "platform/platform.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/shell_text.h"
#include "tests/support/box_state.h"
#include "tests/support/descriptors.h"
#include "tests/support/memory_requests.h"

#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/wait.h>

using namespace KORVA::DTC;
using namespace testing_support;
using namespace std::string_literals;

namespace {

/// The command's output and exit status.
std::pair<std::string, int> runInShell(std::string const& command)
{
    std::FILE* const stream = PLATFORM::openShell(command.c_str());
    std::string output;
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
        output += static_cast<char>(c);
    return {output, WEXITSTATUS(PLATFORM::closeShell(stream))};
}

TEST(SimulatedShellTest, ReachesNothingOfTheDesk)
{
    for (char const* command : {"reboot --help", "/sbin/reboot --help", "curl --version", "id",
                                "/usr/bin/id", "/bin/sh -c :", "`/usr/bin/id`", "$(id)"})
        EXPECT_EQ(runInShell(command), std::pair(""s, 127)) << command;
    EXPECT_EQ(runInShell("date -s 2013.05.14-09:30:00; date +%Y").first, "2013\n");
    EXPECT_GT(std::time(nullptr), 1'600'000'000) << "2020, on the desk";
    // The box's own commands may be overwritten; the desk's tools behind them may not.
    for (auto const& entry : std::filesystem::recursive_directory_iterator(PLATFORM::path("/")))
        EXPECT_TRUE(!entry.is_symlink() || entry.path().filename() == "null") << entry.path();
    EXPECT_EQ(runInShell("echo changed > /bin/sleep; cat /bin/sleep").first, "changed\n");
}

TEST(SimulatedShellTest, TakesAQuotedFileNameAsOneWord)
{
    // Beside the box, so that a command which has slipped out of its quotes reaches it.
    std::string const canary = PLATFORM::path("/../canary");
    std::ofstream(canary) << "alive";
    for (std::string const name :
         {"two words", "it's", "say \"hi\"", "a;cd ..;rm canary", "$(cd ..;rm canary)",
          "`cd ..;rm canary`", "';cd ..;rm canary;'", "\";cd ..;rm canary;\"",
          "\\';cd ..;rm canary", "-rf", "*", "a\\", "a&b|c>d"}) {
        std::string const word = CONF::shellWord("/tmp/" + name);
        setBoxFile("/tmp/" + name, name);
        EXPECT_EQ(runInShell("cat " + word + "; rm " + word).first, name);
        EXPECT_TRUE(std::filesystem::is_empty(PLATFORM::path("/tmp"))) << name;
    }
    EXPECT_EQ(runInShell("rm /tmp/a;cd ..;rm canary").second, 1) << "refused as a whole";
    EXPECT_EQ(contentOf(canary), "alive");
}

// Each line is a command, what it prints and its exit status; they follow one another on one box.
TEST(SimulatedShellTest, RefusesWhatTheBoxsCommandsWouldRefuse)
{
    PLATFORM::renewBox();
    std::string const up = "ifup --interfaces /tmp/interfaces --force ";
    std::string const show = "; tools/od -An -v -tx1 /flash/mtd4";
    setBoxFile("/tmp/interfaces",
               "iface lo inet loopback\n address 10.0.0.9\niface usb0 inet dhcp\n");
    setBoxFile("/tmp/new", "\x0F\xF0\xFF\x35");
    setBoxFile("/tmp/short", "\x3C\x3C");
    std::tuple<std::string, std::string, int> const cases[] = {
        {"mount -t jffs2 /dev/mtdblock5 /mnt/flash; ls /mnt",
         "mount: mount point BOX/mnt/flash does not exist\n", 0},
        {"mkdir /mnt/flash; mount -t jffs2 /dev/mtdblock5 /mnt/flash", "", 0},
        {"echo x > /mnt/flash/x; umount /mnt/flash; nandwrite -p /dev/mtd5 /tmp/new",
         "nandwrite: BOX/dev/mtd5: holds a file system; erase it first\n", 1},
        {"mount -t jffs2 /mtdblock5 /mnt/flash", "mount: cannot mount BOX/mtdblock5\n", 32},
        {"nandwrite /dev/mtd4 /tmp/new",
         "nandwrite: BOX/tmp/new: not whole pages; pad it with -p\n", 1},
        {"nandwrite -p /dev/mtd4 /tmp/new" + show, " 0f f0 ff 35\n", 0},
        {"nandwrite -p /dev/mtd4 /tmp/short" + show, " 0c 30 ff 35\n", 0},
        {"mount -t jffs2 /dev/mtdblock4 /mnt/flash", "mount: BOX/dev/mtdblock4: wrong fs type\n",
         32},
        {"flash_eraseall /mtd4; nandwrite -p /mtd4 /tmp/new; ftl_format /mtd4",
         "flash_eraseall: BOX/mtd4: no such device\nnandwrite: BOX/mtd4: no such device\n"
         "ftl_format: BOX/mtd4: no such device\n",
         1},
        {"flash_eraseall -j /dev/mtd4; nandwrite -p /dev/mtd4 /tmp/short" + show, " 3c 3c\n", 0},
        {"nandwrite -p /dev/mtd4 /tmp/new" + show, " 0c 30 ff 35\n", 0},
        {up + "eth0", "ifup: ignoring unknown interface eth0\n", 1},
        {up + "usb0", "ifup: usb0: no such device\n", 1},
        {"echo 'iface eth0 inet static' >> /tmp/interfaces; " + up + "eth0",
         "ifup: eth0: no valid address\n", 1},
        {"echo ' address DHCP' >> /tmp/interfaces; " + up + "eth0",
         "ifup: eth0: no valid address\n", 1},
        {"cat /run/network", "down\n", 0},
        {"echo ' address 10.0.0.5' >> /tmp/interfaces; " + up + "eth0; cat /run/address",
         "10.0.0.5\n", 0},
        {"/etc/init.d/inetd", "usage: inetd start|restart\n", 3}};
    std::string const root = PLATFORM::boxRoot();
    for (auto const& [command, output, status] : cases) {
        auto [said, ended] = runInShell("exec 2>&1; " + command);
        for (std::size_t at = said.find(root); at != std::string::npos; at = said.find(root))
            said.replace(at, root.size(), "BOX");
        EXPECT_EQ(std::tie(said, ended), std::tie(output, status)) << command;
    }
}

TEST(SimulatedShellTest, LosesNoDescriptorWhenMemoryEnds)
{
    PLATFORM::renewBox();
    std::size_t const before = openDescriptors();
    std::FILE* stream = nullptr;
    int granted = 0;
    for (; stream == nullptr && granted < 1000; ++granted) {
        memoryRequestsLeft = granted;
        stream = PLATFORM::openShell("echo 'more than fits into a string without memory' > /tmp/x");
        memoryRequestsLeft = -1;
        EXPECT_EQ(openDescriptors(), before + (stream != nullptr ? 1 : 0)) << granted;
    }
    ASSERT_NE(stream, nullptr);
    EXPECT_GT(granted, 1);
    EXPECT_EQ(PLATFORM::closeShell(stream), 0);
}

TEST(ShellTextTest, LeadsPathsUnderTheBoxAndKnowsThoseThatClimbOut)
{
    std::pair<char const*, char const*> const cases[] = {
        {"", ""},
        {"mount / -o remount,rw", "mount / -o remount,rw"},
        {"date '+%Y/%m/%d' a/b 1/2", "date '+%Y/%m/%d' a/b 1/2"},
        {"rm //etc/x /./etc /1 /_a",
         R"(rm "$DTC_BOX"//etc/x "$DTC_BOX"/./etc "$DTC_BOX"/1 "$DTC_BOX"/_a)"},
        {"a>/b;/c|/d&&/e\t/f",
         R"(a>"$DTC_BOX"/b;"$DTC_BOX"/c|"$DTC_BOX"/d&&"$DTC_BOX"/e	"$DTC_BOX"/f)"},
        {"(/a) $(/b) `/c` x=/d", R"(("$DTC_BOX"/a) $("$DTC_BOX"/b) `"$DTC_BOX"/c` x="$DTC_BOX"/d)"},
        {"rm \"/tmp/a b\"", R"(rm "$DTC_BOX/tmp/a b")"},
        {R"(rm '/tmp/it'\''s' /x)", R"(rm ''"$DTC_BOX"'/tmp/it'\''s' "$DTC_BOX"/x)"},
        {R"(echo "a /b" 'c /d' > /e)", R"(echo "a /b" 'c /d' > "$DTC_BOX"/e)"},
        {R"(echo "it's" /a "\" /b")", R"(echo "it's" "$DTC_BOX"/a "\" /b")"},
        {R"(echo '"' /a '\' /b)", R"(echo '"' "$DTC_BOX"/a '\' "$DTC_BOX"/b)"},
        {"echo a\\", "echo a\\"}};
    for (auto const& [command, led] : cases)
        EXPECT_EQ(PLATFORM::ledUnderBox(command), led);
    for (char const* command : {"..", "cat ../x", "rm /tmp/../../x", "cd ..; ls", "tar -C=..",
                                "rm '../x'", "rm '/tmp/..'", "cat \"../x\"", "x>../y"})
        EXPECT_TRUE(PLATFORM::climbs(command)) << command;
    for (char const* command : {"", "rm a..b", "rm ...", "rm '/tmp/a;cd ..;rm x'",
                                "rm '/tmp/$(cd .. )'", "echo \"wait .. \"", "ls /tmp/..x/x.."})
        EXPECT_FALSE(PLATFORM::climbs(command)) << command;
}

} // namespace
