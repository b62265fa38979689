#include "adapter/skylark_io_adapter_network.h"

#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
#include "platform/platform.h"
#include "util/at_load.h"
#include "util/regular_file.h"
#include "util/umutex.h"

#include <atomic>
#include <cstdio>
#include <exception>
#include <string>

namespace KORVA::DTC {
namespace {

constexpr char const* command =
    "mount -o remount,rw /; /etc/init.d/ifupdown start; /etc/init.d/networking start; "
    "ifup --interfaces /tmp/interfaces --force eth0; mount -o remount,ro /";
constexpr char const* unreadable = "Failed to read configuration variables";

enum NetworkStatus : int { Configured = 0, NotConfigured = 1, NotStarted = 3 };

std::atomic<int> dtc_network_status{NotConfigured};
[[gnu::init_priority(BeforeAdapter)]] uMutex network_lock;

/// One setting of the interface: its keyword in the file and the variable that holds its value.
struct Setting
{
    char const* keyword;
    char const* variable;
    char const* ifNone = nullptr; ///< null: without a value it is left out
};

bool isConfigured()
{
    return dtc_network_status == Configured;
}

bool read_config_value(CONF::Vars& vars, char const* name, std::string& value)
{
    value = CONF::VALUE::None;
    try {
        value = vars.getVar(name);
        return true;
    } catch (std::exception const& error) {
        std::printf("%s", error.what());
    } catch (...) { // nothing is known of it
    }
    return false;
}

/// The setting's line; empty for one that is left out.
std::string line(CONF::Vars& vars, Setting const& setting)
{
    std::string value;
    read_config_value(vars, setting.variable, value);
    if (value == CONF::VALUE::None && setting.ifNone == nullptr)
        return "";
    if (value == CONF::VALUE::None)
        value = setting.ifNone;
    return std::string("    ") + setting.keyword + " " + value + "\n";
}

std::string staticInterface(CONF::Vars& vars, std::string const& address)
{
    Setting const settings[] = {{"netmask", CONF::NAME::ipNetmask, "255.255.0.0"},
                                {"broadcast", CONF::NAME::ipBroadcast},
                                {"network", CONF::NAME::ipNetwork},
                                {"gateway", CONF::NAME::ipGateway},
                                {"pointopoint", CONF::NAME::ipPointopoint},
                                {"hwaddress", CONF::NAME::ipHwaddress},
                                {"mtu", CONF::NAME::ipMtu}};
    std::string text = "iface eth0 inet static\n    address " + address + "\n";
    for (Setting const& setting : settings)
        text += line(vars, setting);
    return text;
}

std::string dhcpInterface(CONF::Vars& vars)
{
    Setting const settings[] = {{"leasehours", CONF::NAME::ipLeasehours},
                                {"leasetime", CONF::NAME::ipLeasetime},
                                {"hwaddress", CONF::NAME::ipHwaddress}};
    std::string text = "iface eth0 inet dhcp\n";
    for (Setting const& setting : settings)
        text += line(vars, setting);
    return text;
}

/// Writes what ifup is to do, in the format of interfaces(5). False when it cannot be written
/// whole.
bool writeInterfaces(CONF::Vars& vars, std::string const& config)
{
    return replaceRegularFile(
        PLATFORM::path("/tmp/interfaces"),
        "auto lo\niface lo inet loopback\n" +
            (config == CONF::VALUE::Dhcp ? dhcpInterface(vars) : staticInterface(vars, config)));
}

NetworkStatus bringUp()
{
    std::FILE* const output = PLATFORM::openShell(command);
    if (output == nullptr) {
        std::printf("commmand failed [%s]\n", command);
        return NotStarted;
    }
    // Waits for the command; how it ends does not count. Its output is not read to the end: a DHCP
    // client that ifup leaves running would hold the pipe open.
    PLATFORM::closeShell(output);
    return Configured;
}

std::string configOf(CONF::Vars& vars)
{
    std::string config;
    if (!read_config_value(vars, CONF::NAME::ipConfig, config)) {
        std::puts("Failed to read ipConfig");
        config = CONF::VALUE::Dhcp;
    }
    return config;
}

/// Gives the lock up before it says that there is nothing to do, by a guard that the analysis of
/// locks does not know.
void configure(uMutexGuard& guard) KORVA_REQUIRES(network_lock) KORVA_NO_THREAD_SAFETY_ANALYSIS
{
    CONF::Vars vars("");
    vars.read();
    std::string const config = configOf(vars);
    if (config == CONF::VALUE::Off) {
        dtc_network_status = Configured;
        guard.Release();
        std::puts("Network configuration disabled");
        return;
    }
    if (config == CONF::VALUE::Dhcp)
        std::puts("Configuring network for dhcp");
    else
        std::printf("Configuring network for static ip address : %s\n", config.c_str());
    if (writeInterfaces(vars, config))
        dtc_network_status = bringUp();
}

} // namespace

bool initialize_network()
{
    if (dtc_network_status != NotConfigured)
        return isConfigured();
    uMutexGuard guard(network_lock);
    if (dtc_network_status != NotConfigured)
        return isConfigured();
    try {
        configure(guard);
    } catch (CONF::Exception const& error) {
        std::printf("%s [DTC_CONF_Status=%d] : %s\n", unreadable, error.status(), error.what());
    } catch (std::exception const& error) {
        std::printf("%s:  %s\n", unreadable, error.what());
    } catch (...) {
        std::puts(unreadable);
    }
    return isConfigured();
}

int get_network_status()
{
    return dtc_network_status;
}

} // namespace KORVA::DTC
