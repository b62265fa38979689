#include "tests/support/child.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing_support::Child;

namespace {

/// "dtcctl adapter check", by a parent that ignores the end of its children.
Child startCheck(std::vector<std::string> const& arguments, char const* faults = "")
{
    setenv("ADAPTER_FAULT", faults, 1);
    std::vector<std::string> command = {
        "/bin/sh", "-c",   "trap '' CHLD; exec \"$@\"", "sh", PROGRAM_DIRECTORY "dtcctl",
        "adapter", "check"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    if (std::find(arguments.begin(), arguments.end(), "--deadline") == arguments.end())
        command.insert(command.end(), {"--deadline", "60"}); // however busy the machine
    return Child(command);
}

std::string report(Child& check, int status)
{
    EXPECT_EQ(check.wait(), status) << check.output();
    return check.output();
}

std::string check(std::vector<std::string> const& arguments, int status, char const* faults = "")
{
    Child child = startCheck(arguments, faults);
    return report(child, status);
}

TEST(DtcctlAdapterTest, PassesWholeLibraries)
{
    Child own = startCheck({LIBRARY_DIRECTORY "skylark_io.so"}); // it mostly waits for its box
    setenv("DTC_BOX_ROOT", (std::getenv("DTC_BOX_ROOT") + std::string(".second")).c_str(), 1);
    std::string const copy =
        std::filesystem::path(std::getenv("DTC_BOX_ROOT")).parent_path() / "copy_io.so";
    std::filesystem::copy_file(LIBRARY_DIRECTORY "skylark_io.so", copy,
                               std::filesystem::copy_options::overwrite_existing);
    Child copied = startCheck({copy, "--service", "dtc_conf"});
    Child example = startCheck({LIBRARY_DIRECTORY "example_io.so"});
    for (Child* const child : {&copied, &example})
        EXPECT_THAT(report(*child, 0),
                    AllOf(HasSubstr("without  DTC_IO_Send\n"),
                          HasSubstr("28 ok, 0 failed, 1 skipped, 0 warnings\n")));
    EXPECT_THAT(check({copy, "--json", "--service", "none"}, 0),
                AllOf(HasSubstr("\"DTC_IO_Send\":false,"), HasSubstr("\"ok\":8,\"failed\":0,"),
                      HasSubstr("it cannot serve none here, DTC_IO_Create gave -1, "
                                "\\\"Failed to look up none\\\"")));
    EXPECT_THAT(report(own, 0), AllOf(HasSubstr("version  Korvane Skylark Ethernet\n"),
                                      HasSubstr(" process: dtcctl itself uses this file\n"),
                                      HasSubstr("27 ok, 0 failed, 2 skipped, 0 warnings\n")));
}

TEST(DtcctlAdapterTest, NamesEachFault)
{
    struct
    {
        char const* faults;
        char const* deadline; ///< short only where it is waited out
        std::vector<char const*> lines;
    } const cases[] = {
        {"null-error any-service bad-state final",
         "60",
         {"it tells its version and its status: killed by signal 6 .* in DTC_Get_Status\n",
          "its unloading removes it from the process: killed by signal 6 .* in its unloading\n",
          "ok       a message arrives, and the reply",
          "null, before the first failure too: DTC_Get_Error gave null\n",
          "creating an unknown service fails with -1 and an error text: DTC_IO_Create gave 0\n"}},
        {"no-text leak stays no-id null-sent old-way short impatient cut",
         "2",
         {"opening where nobody serves fails with -1 and an error text: DTC_IO_Open gave -1 and no",
          "warning  its unloading removes it from the process: its file stays mapped",
          "a server has a local id and stores its state: DTC_IO_Local_Id gave 0 and stored nothing",
          "created again after its close: DTC_IO_Create gave -1, .*Address already in use",
          "its time-out, then -8: client: DTC_IO_Receive took [0-9]+ ms with a time-out of 200 "
          "ms\n",
          "a time-out of 0xFFFFFFFF waits without limit: server: DTC_IO_Receive gave -8\n",
          "with a null pointer: client: .* in DTC_IO_Send_V2\n",
          "the older DTC_IO_Send sends as well: client: DTC_IO_Send gave -6\n",
          "server's buffer gives -2.*: server: DTC_IO_Receive gave 0 for 100 bytes in a buffer of",
          "client's buffer gives -2.*: client: DTC_IO_Receive gave 0 for 100 bytes in a buffer of",
          "after its last client has closed a server gives -9, .*: server: DTC_IO_Receive gave -8",
          "after its server has closed a client gives -9: client: nothing came within 1000 ms"}},
        {"tag",
         "60",
         {"reply reaches .*: client: sent tag 42, received tag 7\n",
          "skipped  a client waits .*: it carries no message\n"}},
        {"overrun",
         "60",
         {"reply reaches .*: server: DTC_IO_Receive wrote beyond the buffer's 1048576 bytes\n"}},
        {"crash",
         "60",
         {"FAILED   creating a service gives a handle: killed by signal 6 .* in DTC_IO_Create\n"}},
        {"exit", "60", {"address gives a handle: client: ended .* with status 0 in DTC_IO_Open\n"}},
        {"hang",
         "2",
         {"then -8 or -9: no end in DTC_IO_Receive within 2000 ms\n",
          "address gives a handle: server: no end in DTC_IO_Receive within 2000 ms\n"}},
    };
    for (auto const& [faults, deadline, lines] : cases) {
        std::string const report = check({FAULTY_ADAPTER, "--deadline", deadline}, 1, faults);
        for (char const* line : lines)
            EXPECT_THAT(report, ContainsRegex(line)) << faults;
    }
}

TEST(DtcctlAdapterTest, SaysWhatIsMissing)
{
    setenv("ADAPTER_LOG", "/dev/null", 1);
    EXPECT_THAT(check({OTHER_ADAPTERS "old_io.so"}, 1),
                AllOf(HasSubstr("missing: DTC_Get_Version, DTC_Get_Status, DTC_IO_Create, "),
                      Not(HasSubstr("DTC_IO_Send,")), HasSubstr("DTC_IO_Create is not there\n")));
    EXPECT_THAT(check({"/nonexistent_io.so"}, 1),
                HasSubstr("cannot load /nonexistent_io.so: /nonexistent_io.so: cannot open shared "
                          "object file: No such file"));
    EXPECT_NE(check({}, 2), "");
    EXPECT_NE(check({""}, 2), "");
    EXPECT_NE(check({"x", "--deadline", "0"}, 2), "");
}

TEST(DtcctlAdapterTest, ListensOnSeveralDevices)
{
    setenv("LD_LIBRARY_PATH", LIBRARY_DIRECTORY, 1);
    Child listening({PROGRAM_DIRECTORY "dtcctl", "listen", "absent0", "skylark0", "example0"});
    ASSERT_TRUE(listening.waitForOutput("Listening to 2 connections\n"));
    EXPECT_THAT(listening.output(), HasSubstr("Load of absent_io.so failed\n"));
    Child sending({PROGRAM_DIRECTORY "dtcctl", "send", "127.0.0.1", "hello", "--tag", "9",
                   "--timeout", "60000"});
    EXPECT_EQ(sending.wait(), 0);
    EXPECT_THAT(sending.output(), HasSubstr("reply: 5 bytes, tag 9\n"));
    EXPECT_TRUE(listening.waitForOutput(" at 55755: 5 bytes, tag 9\n"));
    EXPECT_TRUE(listening.waitForOutput("the last client of 55755 has gone\n"));
    listening.signal(SIGINT);
    EXPECT_EQ(listening.wait(), 0);
    EXPECT_THAT(listening.output(), HasSubstr("served 1 message\n"));
    Child alone({PROGRAM_DIRECTORY "dtcctl", "listen", "absent0"});
    EXPECT_EQ(alone.wait(), 1);
    EXPECT_THAT(alone.output(), HasSubstr("No connections exist for dtc_io\n"));
}

} // namespace
