#include "platform/simulated/shell_text.h"
#include "tests/platform/simulated_box.h"

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>

using namespace KORVA::DTC;
using namespace testing_support;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string contentOf(std::string const& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What a command that left the box would change, as one text to compare.
std::string desk()
{
    std::ostringstream text;
    text << contentOf("/proc/self/mounts");
    std::ifstream interfaces("/proc/net/dev");
    for (std::string line; std::getline(interfaces, line);)
        text << line.substr(0, line.find(':')) << '\n';
    for (char const* path : {"/etc/inetd.conf", "/etc/init.d", "/etc/network/interfaces",
                             "/tmp/interfaces", "/tmp/uImage", "/tmp/rootfs.tar.gz", "/mnt",
                             "/mnt/flash", "/dev/mtd4", "/dev/mtd5", "/flash", "/run/rootfs"}) {
        std::error_code missing;
        auto const written = std::filesystem::last_write_time(path, missing);
        text << path << ' ' << (missing ? 0 : written.time_since_epoch().count()) << '\n';
    }
    return text.str();
}

/// How far the wall clock is from the clock that nobody sets, in seconds.
double wallClock()
{
    using Seconds = std::chrono::duration<double>;
    return Seconds(std::chrono::system_clock::now().time_since_epoch()).count() -
           Seconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The desk's own system stays as it is, whatever a test runs in the box.
class SimulatedShellTest : public NewBox
{
protected:
    ~SimulatedShellTest() override
    {
        EXPECT_EQ(desk(), m_desk);
        EXPECT_LT(std::abs(wallClock() - m_wallClock), 5);
    }

private:
    std::string const m_desk = desk();
    double const m_wallClock = wallClock();
};

TEST_F(SimulatedShellTest, RunsTheNetworkCommandInTheBox)
{
    EXPECT_THAT(runInShell("ifconfig -a eth0").output,
                testing::AllOf(HasSubstr("HWaddr 00:1B:C5:07:90:01 "), Not(HasSubstr("inet"))));
    std::ofstream(PLATFORM::path("/tmp/interfaces")) << "iface eth0 inet static\n"
                                                        "    address 10.1.2.3\n"
                                                        "    netmask 255.255.0.0\n";
    ShellResult const result =
        runInShell("mount -o remount,rw /; cat /run/rootfs; /etc/init.d/ifupdown start; "
                   "/etc/init.d/networking start; ifup --interfaces /tmp/interfaces --force eth0; "
                   "mount -o remount,ro /");
    EXPECT_EQ(result.output, "rw\n") << "and nothing from the scripts";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(runInShell("cat /run/rootfs").output, "ro\n");
    EXPECT_THAT(runInShell("ifconfig -a eth0").output, HasSubstr("inet addr:10.1.2.3 "));
    EXPECT_EQ(runInShell("ifconfig -a wlan0").status, 1);
}

TEST_F(SimulatedShellTest, SetsTheClockOfTheBoxOnly)
{
    EXPECT_EQ(runInShell("date -s 2013.05.14-09:30:00").status, 0);
    EXPECT_THAT(runInShell("date '+%Y/%m/%d %H:%M:%S'").output,
                testing::MatchesRegex("2013/05/14 09:3[0-2]:[0-9][0-9]\n"));
    for (char const* word : {"tomorrow", "''", "2013.13.45-09:30:00"})
        EXPECT_EQ(runInShell(std::string("date -s ") + word).status, 1) << word;
    EXPECT_THAT(runInShell("date +%Y").output, "2013\n");
}

TEST_F(SimulatedShellTest, EnablesTelnetForAWhile)
{
    ShellResult const result = runInShell(
        "mount / -o remount,rw;echo \"telnet stream tcp nowait root /usr/sbin/telnetd telnetd\" > "
        "/etc/inetd.conf;/etc/init.d/inetd restart;sleep 5;echo \"#telnet stream tcp nowait root "
        "/usr/sbin/telnetd telnetd\" > /etc/inetd.conf;mount / -o remount,ro;");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(runInShell("cat /run/inetd.conf /etc/inetd.conf /run/rootfs").output,
              "telnet stream tcp nowait root /usr/sbin/telnetd telnetd\n"
              "#telnet stream tcp nowait root /usr/sbin/telnetd telnetd\nro\n");
}

TEST_F(SimulatedShellTest, WritesFirmwareToTheFlashOfTheBox)
{
    struct
    {
        std::string rootfs;
        std::string kernel;
    } const cases[] = {{"5", "4"}, {"3", "2"}};
    for (auto const& [rootfs, kernel] : cases) {
        ASSERT_EQ(runInShell("mkdir /tmp/w; echo hello > /tmp/w/greeting; echo kernel > "
                             "/tmp/w/uImage; tar czf /tmp/w/rootfs.tar.gz -C /tmp/w greeting; tar "
                             "czf /tmp/fw.tgz -C /tmp/w rootfs.tar.gz uImage; rm -r /tmp/w")
                      .status,
                  0);
        EXPECT_EQ(runInShell("mount / -o remount,rw; tar xzf /tmp/fw.tgz -C /tmp;rm "
                             "/tmp/fw.tgz;ls /tmp")
                      .output,
                  "rootfs.tar.gz\nuImage\n");
        EXPECT_EQ(
            runInShell("mount / -o remount,rw; mkdir -p /mnt/flash;flash_eraseall -j /dev/mtd" +
                       rootfs + ";mount -t jffs2 /dev/mtdblock" + rootfs +
                       " /mnt/flash;tar xzf /tmp/rootfs.tar.gz -C /mnt/flash;umount "
                       "/mnt/flash;rmdir /mnt/flash;rm /tmp/rootfs.tar.gz;sleep 1")
                .status,
            0);
        EXPECT_EQ(runInShell("mount / -o remount,rw; flash_eraseall -j /dev/mtd" + kernel +
                             ";ftl_format /dev/mtd" + kernel + ";nandwrite -p /dev/mtd" + kernel +
                             " /tmp/uImage;rm /tmp/uImage;sleep 1")
                      .status,
                  0);
        EXPECT_EQ(runInShell("cat /flash/mtd" + rootfs + ".d/greeting /flash/mtd" + kernel).output,
                  "hello\nkernel\n");
        EXPECT_EQ(runInShell("ls /tmp; ls /mnt; cat /run/rootfs; mount / -o remount,ro; cat "
                             "/run/rootfs")
                      .output,
                  "rw\nro\n")
            << "nothing is left but what was written";
    }
    EXPECT_EQ(runInShell("flash_eraseall -j /dev/mtd5; ls /flash").output,
              "mtd2\nmtd3\nmtd3.d\nmtd4\nmtd5\n");
}

TEST_F(SimulatedShellTest, FindsNoCommandOfTheDesk)
{
    for (char const* command :
         {"reboot --help", "/sbin/reboot --help", "python3 --version", "curl --version",
          "/usr/bin/id", "id", "sh -c :", "/bin/sh -c :", "`/usr/bin/id`", "$(id)", "env id"}) {
        ShellResult const result = runInShell(command);
        EXPECT_EQ(result.status, 127) << command;
        EXPECT_EQ(result.output, "") << command;
    }
}

std::string quoted(std::string const& word)
{
    std::string text;
    for (char const character : word)
        text += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return "'" + text + "'";
}

TEST_F(SimulatedShellTest, TakesAQuotedFileNameAsOneWord)
{
    // Beside the box, so that a command which has slipped out of its quotes reaches it.
    std::string const canary = std::filesystem::path(previous).parent_path() / "canary";
    std::string const tmp = PLATFORM::path("/tmp");
    std::ofstream(canary) << "alive";
    for (std::string const name :
         {"plain", "two words", "it's", "say \"hi\"", "a;cd ..;rm canary", "$(cd ..;rm canary)",
          "`cd ..;rm canary`", "';cd ..;rm canary;'", "\";cd ..;rm canary;\"",
          "\\';cd ..;rm canary", "-rf", "*", "a\\", "a&b|c>d"}) {
        std::string const word = quoted("/tmp/" + name);
        std::ofstream(std::string(tmp).append("/").append(name)) << name;
        EXPECT_EQ(runInShell("cat " + word + "; rm " + word).output, name);
        EXPECT_TRUE(std::filesystem::is_empty(tmp)) << name;
        EXPECT_EQ(contentOf(canary), "alive") << name;
    }
    EXPECT_EQ(runInShell("rm /tmp/a;cd ..;rm canary").status, 1) << "refused as a whole";
    EXPECT_EQ(contentOf(canary), "alive");
}

// The box's own commands may be overwritten; the desk's tools behind them may not.
TEST_F(SimulatedShellTest, OverwritesItsOwnCommandsOnly)
{
    for (auto const& entry : std::filesystem::recursive_directory_iterator(PLATFORM::path("/"))) {
        EXPECT_TRUE(!entry.is_symlink() || entry.path().filename() == "null")
            << entry.path() << " leads out of the box";
    }
    EXPECT_EQ(runInShell("echo changed > /bin/sleep; cat /bin/sleep").output, "changed\n");
}

TEST(LedUnderBox, LeadsPathsAtTheBeginningOfWords)
{
    struct
    {
        char const* command;
        char const* led;
    } const cases[] = {
        {"", ""},
        {"/bin/x", R"("$DTC_BOX"/bin/x)"},
        {"mount / -o remount,rw", "mount / -o remount,rw"},
        {"date '+%Y/%m/%d' a/b 1/2", "date '+%Y/%m/%d' a/b 1/2"},
        {"rm //etc/x /./etc /1 /_a",
         R"(rm "$DTC_BOX"//etc/x "$DTC_BOX"/./etc "$DTC_BOX"/1 "$DTC_BOX"/_a)"},
        {"a>/b;/c|/d&&/e\t/f",
         R"(a>"$DTC_BOX"/b;"$DTC_BOX"/c|"$DTC_BOX"/d&&"$DTC_BOX"/e	"$DTC_BOX"/f)"},
        {"(/a) $(/b) `/c` x=/d", R"(("$DTC_BOX"/a) $("$DTC_BOX"/b) `"$DTC_BOX"/c` x="$DTC_BOX"/d)"},
        {"rm '/tmp/a b'", R"(rm ''"$DTC_BOX"'/tmp/a b')"},
        {"rm \"/tmp/a b\"", R"(rm "$DTC_BOX/tmp/a b")"},
        {R"(rm '/tmp/it'\''s' /x)", R"(rm ''"$DTC_BOX"'/tmp/it'\''s' "$DTC_BOX"/x)"},
        {R"(echo "a /b" 'c /d' > /e)", R"(echo "a /b" 'c /d' > "$DTC_BOX"/e)"},
        {R"(echo "it's" /a "\" /b")", R"(echo "it's" "$DTC_BOX"/a "\" /b")"},
        {R"(echo '"' /a '\' /b)", R"(echo '"' "$DTC_BOX"/a '\' "$DTC_BOX"/b)"},
        {"echo a\\", "echo a\\"},
    };
    for (auto const& [command, led] : cases)
        EXPECT_EQ(PLATFORM::ledUnderBox(command), led);
}

TEST(LedUnderBox, KnowsPathsThatClimbOut)
{
    for (char const* command : {"..", "cat ../x", "rm /tmp/../../x", "cd ..; ls", "tar -C=..",
                                "rm '../x'", "rm '/tmp/..'", "cat \"../x\"", "x>../y"})
        EXPECT_TRUE(PLATFORM::climbs(command)) << command;
    for (char const* command : {"", "rm a..b", "rm ...", "rm '/tmp/a;cd ..;rm x'",
                                "rm '/tmp/$(cd .. )'", "echo \"wait .. \"", "ls /tmp/..x/x.."})
        EXPECT_FALSE(PLATFORM::climbs(command)) << command;
}

} // namespace
