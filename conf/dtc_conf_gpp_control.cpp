#include "conf/dtc_conf_gpp_control.h"

#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_schema.h"
#include "util/at_load.h"

#include <cstdlib>

namespace KORVA::DTC::CONF {
namespace {

[[gnu::init_priority(BeforeAdapter)]] SharedText g_control("none");

/// The service's configuration is put back before inetd reads it again, so it is on only until
/// inetd restarts.
constexpr char const* enableInetd =
    "mount / -o remount,rw;"
    "echo \"telnet stream tcp nowait root /usr/sbin/telnetd telnetd\" > /etc/inetd.conf;"
    "/etc/init.d/inetd restart;"
    "sleep 5;"
    "echo \"#telnet stream tcp nowait root /usr/sbin/telnetd telnetd\" > /etc/inetd.conf;"
    "mount / -o remount,ro;";

} // namespace

[[gnu::init_priority(BeforeAdapter)]] SharedText g_error("none");
[[gnu::init_priority(BeforeAdapter)]] SharedText g_standbyMinutes("20");

void setStandbyMinutes(std::string const& value)
{
    constexpr long limit = 20;
    long const number = std::strtol(value.c_str(), nullptr, 10);
    if (number > limit)
        g_standbyMinutes.set(std::to_string(number));
}

} // namespace KORVA::DTC::CONF

using namespace KORVA::DTC::CONF;

void setControl(char const* word)
{
    if (std::string(word) != CONTROL::EnableInetd) {
        g_control.set(word);
        return;
    }
    char output[1024];
    popenWithStdout(enableInetd, output, sizeof output);
}

void getControl(std::string& word)
{
    word = g_control.get();
}
