#include "tests/tools/child.h"

using namespace testing_support;
using testing::ContainsRegex;

namespace {

TEST(DtcctlTest, ServesSendsAndPings)
{
    Child serving(commandLine({"serve"}));
    ASSERT_TRUE(serving.waitForOutput("serving dtc_io on port 55755\n"));
    EXPECT_THAT(dtcctl("send 127.0.0.1 hello --tag 42 --timeout 60000"),
                AllOf(HasSubstr("hello"), HasSubstr("reply: 5 bytes, tag 42")));
    EXPECT_TRUE(serving.waitForOutput("message from "));
    EXPECT_TRUE(serving.waitForOutput(": 5 bytes, tag 42\n"));
    EXPECT_TRUE(serving.waitForOutput("the last client has gone\n"));

    std::string const file = fileWith(std::string(300'000, 'x') + "end");
    std::string const reply =
        dtcctl({"send", "skylark0:0x7F000001", "--file", file, "--timeout", "60000"});
    EXPECT_EQ(reply.substr(reply.find("end")), "endreply: 300003 bytes, tag 0\n");
    EXPECT_THAT(dtcctl("ping localhost -c 3 -i 0 -s 1000 -W 60000"),
                AllOf(HasSubstr("1000 bytes from localhost: seq=3 time="),
                      HasSubstr("3 packets transmitted, 3 received, 0% packet loss"),
                      ContainsRegex("rtt min/avg/max/mdev = [0-9.]+/[0-9.]+/[0-9.]+/[0-9.]+ ms")));

    Child pinging(commandLine(words("ping 127.0.0.1 -W 60000")));
    EXPECT_TRUE(pinging.waitForOutput("seq=1 "));
    pinging.signal(SIGINT);
    EXPECT_EQ(pinging.wait(), 0);
    EXPECT_THAT(pinging.output(), HasSubstr(" 0% packet loss"));
    serving.signal(SIGINT);
    EXPECT_EQ(serving.wait(), 0);
    EXPECT_THAT(serving.output(), HasSubstr("served "));
}

TEST(DtcctlTest, SaysWhatFailed)
{
    char const* const refused = "cannot open dtc_io at localhost: Error on socket connect: "
                                "Connection refused (ECONNREFUSED): Check the IP address";
    EXPECT_THAT(dtcctl("send localhost x", 1), HasSubstr(refused));
    EXPECT_THAT(dtcctl("send 127.0.0.1 --file /nonexistent", 1),
                HasSubstr("cannot open /nonexistent: No such file or directory"));
    Child silent(commandLine(words("serve --service dtc_conf --reply none --count 2")));
    ASSERT_TRUE(silent.waitForOutput("serving"));
    EXPECT_THAT(dtcctl("serve --service dtc_conf", 1),
                HasSubstr("cannot serve dtc_conf: Error binding socket: Address already in use"));
    EXPECT_THAT(dtcctl("send 127.0.0.1 --service dtc_conf --timeout 10 x", 1),
                HasSubstr("no reply: Select() timed out"));
    EXPECT_THAT(dtcctl("ping 127.0.0.1 --service dtc_conf -W 10 -c 1", 1),
                HasSubstr("1 packets transmitted, 0 received, 100% packet loss"));
    EXPECT_EQ(silent.wait(), 0) << "it has served its two messages";
}

TEST(DtcctlTest, RefusesWrongUse)
{
    for (char const* wrong : {"", "juggle", "send", "send 127.0.0.1", "send 127.0.0.1 x --tag -1",
                              "send 127.0.0.1:55755 x", "send 10.0.0 x", "send a: x",
                              "send box:b x", "send 1.2.3.4.5 x", "send 127.0.0.1 x --file y",
                              "serve --service dtc", "ping 127.0.0.1 -s 0", "ping 127.0.0.1 -i nan",
                              "send localhost:1 x", "who ::1", "who 12abc", "who 0x1G"})
        EXPECT_NE(dtcctl(wrong, 2), "") << wrong << ": it must say why";
    EXPECT_NE(dtcctl({"send", "127.0.0.1", ""}, 2), "");
    EXPECT_THAT(dtcctl("juggle", 2), HasSubstr("dtcctl: \"juggle\": no such subcommand"));
    EXPECT_THAT(dtcctl("--help"), HasSubstr("ping"));
    EXPECT_THAT(dtcctl("--version"), ContainsRegex("dtcctl [0-9]+\\."));
}

TEST(DtcctlTest, LosesNoOutput)
{
    auto const inShell = [](std::string const& command) {
        Child shell({"/bin/sh", "-c", "exec " PROGRAM_DIRECTORY "dtcctl " + command});
        int const status = shell.wait();
        EXPECT_THAT(shell.output(), HasSubstr("cannot write standard output: "));
        return status;
    };
    EXPECT_EQ(inShell("vars list >/dev/full"), 1);
    // Closed, it is no place for a device: the output would go into the box's memory.
    char memory[4096] = "x";
    EXPECT_EQ(inShell("vars list >&-"), 1);
    std::ifstream(KORVA::DTC::PLATFORM::boxRoot() + "/dev/mem").read(memory, sizeof memory);
    EXPECT_EQ(std::string(memory, sizeof memory), std::string(sizeof memory, '\0'));
}

TEST(ExamplesTest, TalkToEachOther)
{
    Child serving(commandLine({}, "example_serve"));
    std::string output;
    for (int attempt = 0; attempt < 50 && output.find("tag 7: hi\n") == std::string::npos;
         ++attempt) {
        Child client(commandLine({"0x7F000001", "hi"}, "example_client"));
        client.wait(); // fails until the server listens
        output = client.output();
    }
    EXPECT_THAT(output, HasSubstr("tag 7: hi\n"));
    Child wrong(commandLine({}, "example_client"));
    EXPECT_EQ(wrong.wait(), 2);
    EXPECT_THAT(wrong.output(), HasSubstr("usage"));
}

} // namespace
