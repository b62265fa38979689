#include "adapter/skylark_io_adapter_network.h"

#include "platform/simulated/faults.h"
#include "tests/support/box_state.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace KORVA::DTC;
using namespace PLATFORM::FAULTS;
using namespace testing_support;

namespace {

std::string const command =
    "mount -o remount,rw /; /etc/init.d/ifupdown start; /etc/init.d/networking start; "
    "ifup --interfaces /tmp/interfaces --force eth0; mount -o remount,ro /";

void call()
{
    bool const isConfigured = initialize_network();
    std::printf("%d %d\n", isConfigured, get_network_status());
}

/// Expects the output of the calls in a process in which the network has not been set up yet.
template <typename Calls>
void expect(std::string const& output, Calls calls)
{
    auto const run = [&] {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        calls();
        std::fflush(stdout);
        _exit(0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), testing::Eq(output));
}

TEST(NetworkTest, WritesTheInterfacesFileAndBringsTheInterfaceUp)
{
    std::string const start = "auto lo\niface lo inet loopback\niface eth0 inet ";
    std::array<std::string, 4> const cases[] = {
        {"ipConfig=off\n", "Network configuration disabled", "", ""},
        {"ipLeasehours=24\nipLeasetime=9\nipHwaddress=h\nipMtu=9\n", "Configuring network for dhcp",
         start + "dhcp\n    leasehours 24\n    leasetime 9\n    hwaddress h\n", "192.168.0.2\n"},
        {"ipConfig=192.168.0.10\n", "Configuring network for static ip address : 192.168.0.10",
         start + "static\n    address 192.168.0.10\n    netmask 255.255.0.0\n", "192.168.0.10\n"},
        {"ipConfig=DHCP\nipNetmask=m\nipBroadcast=b\nipNetwork=n\nipGateway=g\nipPointopoint=p\n"
         "ipHwaddress=h\nipMtu=1500\nipLeasetime=9\n",
         "Configuring network for static ip address : DHCP",
         start + "static\n    address DHCP\n    netmask m\n    broadcast b\n    network n\n"
                 "    gateway g\n    pointopoint p\n    hwaddress h\n    mtu 1500\n",
         ""}}; // which ifup refuses
    for (auto const& [image, says, file, address] : cases) {
        PLATFORM::renewBox();
        std::fstream(PLATFORM::boxRoot() + "/dev/i2c/eeprom") << image << '\0';
        expect(says + "\n1 0\n", [] {
            dup2(open("/dev/null", O_WRONLY), STDERR_FILENO); // where ifup complains
            call();
        });
        EXPECT_EQ(boxFile("/tmp/interfaces"), file);
        EXPECT_EQ(boxFile("/run/address"), address);
    }
}

TEST(NetworkTest, IsSetUpOnceWhicheverThreadComesFirst)
{
    PLATFORM::renewBox();
    expect("Configuring network for dhcp\n1 0\n", [] {
        std::vector<std::thread> threads(8);
        for (std::thread& thread : threads)
            thread = std::thread([] { std::fputs(initialize_network() ? "" : "failed", stdout); });
        for (std::thread& thread : threads)
            thread.join();
        onTransfer(1, Transfer::Fails, true);
        call(); // reads nothing again
    });
    EXPECT_THAT(newCommands(), testing::Contains(command).Times(1));
}

TEST(NetworkTest, TriesAgainAfterAFailureButNotWhenTheCommandDoesNotStart)
{
    PLATFORM::renewBox();
    std::string const file = PLATFORM::boxRoot() + "/tmp/interfaces";
    std::string const unread = "Failed to read configuration variables";
    std::string const dhcp = "Configuring network for dhcp\n";
    expect(unread + ":  unable to convert \"1\" to boolean\n0 1\nI2C write Failure\n" + unread +
               " [DTC_CONF_Status=15] : peripheral access failed : unable to read EEPROM"
               " : dtc_periph_i2c(31) : operation failed : I2C WRITE FAILURE\n0 1\n" +
               dhcp + "0 1\n" + dhcp + "0 1\n" + dhcp + "commmand failed [" + command +
               "]\n0 3\n0 3\n",
           [&file] {
               setenv("SAFEMODE", "1", 1);
               call();
               unsetenv("SAFEMODE");
               onTransfer(1, Transfer::Fails);
               call();
               std::filesystem::create_directory(file); // no file can be written there
               call();
               std::filesystem::remove(file);
               mkfifo(file.c_str(), 0600); // nor waited for somebody who reads it
               refuseCommand(3); // not to let ifup read without end, should it come to that
               call();
               std::filesystem::remove(file);
               refuseCommand(3); // behind the two that read the clock and the addresses
               call();
               call();
           });
    EXPECT_THAT(newCommands(), testing::Not(testing::Contains(command)));
}

} // namespace
