#include "conf/dtc_conf_shell_word.h"
#include "platform/platform.h"
#include "platform/simulated/box_files.h"
#include "platform/simulated/shell_text.h"
#include "tests/support/box_state.h"

#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/wait.h>

using namespace KORVA::DTC;
using namespace testing_support;
using testing::HasSubstr;

namespace {

struct ShellResult
{
    std::string output;
    int status; ///< as the shell exits
};

ShellResult runInShell(std::string const& command)
{
    std::FILE* const stream = PLATFORM::openShell(command.c_str());
    std::string output;
    for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
        output += static_cast<char>(c);
    return {output, WEXITSTATUS(PLATFORM::closeShell(stream))};
}

class SimulatedShellTest : public testing::Test
{
protected:
    SimulatedShellTest() { PLATFORM::renewBox(); }
};

TEST_F(SimulatedShellTest, RunsTheNetworkCommandInTheBox)
{
    EXPECT_THAT(runInShell("ifconfig -a eth0").output, testing::Not(HasSubstr("inet")));
    setBoxFile("/tmp/interfaces", "iface eth0 inet static\n"
                                  "    address 10.1.2.3\n"
                                  "    netmask 255.255.0.0\n");
    ShellResult const result =
        runInShell("mount -o remount,rw /; cat /run/rootfs; /etc/init.d/ifupdown start; "
                   "/etc/init.d/networking start; ifup --interfaces /tmp/interfaces --force eth0; "
                   "mount -o remount,ro /");
    EXPECT_EQ(result.output, "rw\n") << "and nothing from the scripts";
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(boxFile("/run/rootfs"), "ro\n");
    EXPECT_THAT(runInShell("ifconfig -a eth0").output, HasSubstr("inet addr:10.1.2.3 "));
    EXPECT_EQ(runInShell("ifconfig -a wlan0").status, 1);
}

TEST_F(SimulatedShellTest, SetsTheClockOfTheBoxOnly)
{
    EXPECT_EQ(runInShell("date -s 2013.05.14-09:30:00; date +%Y").output, "2013\n");
    EXPECT_GT(std::time(nullptr), 1'600'000'000) << "2020, on the desk";
    for (char const* word : {"tomorrow", "''", "2013.13.45-09:30:00"})
        EXPECT_EQ(runInShell(std::string("date -s ") + word).status, 1) << word;
}

TEST_F(SimulatedShellTest, FindsNoCommandOfTheDesk)
{
    for (char const* command : {"reboot --help", "/sbin/reboot --help", "curl --version", "id",
                                "/usr/bin/id", "/bin/sh -c :", "`/usr/bin/id`", "$(id)"}) {
        ShellResult const result = runInShell(command);
        EXPECT_EQ(result.status, 127) << command;
        EXPECT_EQ(result.output, "") << command;
    }
}

TEST_F(SimulatedShellTest, TakesAQuotedFileNameAsOneWord)
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
        EXPECT_EQ(runInShell("cat " + word + "; rm " + word).output, name);
        EXPECT_TRUE(std::filesystem::is_empty(PLATFORM::path("/tmp"))) << name;
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
