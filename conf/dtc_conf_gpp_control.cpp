#include "conf/dtc_conf_gpp_control.h"

#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_shared_text.h"
#include "util/at_load.h"

namespace {

namespace CONF = KORVA::DTC::CONF;

CONF::SharedText& controlWord()
{
    static CONF::SharedText g_control("none");
    return g_control;
}

[[gnu::init_priority(KORVA::BeforeAdapter)]] KORVA::AtLoad const made([] { controlWord(); });

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

void setControl(char const* word)
{
    if (std::string(word) != CONF::CONTROL::EnableInetd) {
        controlWord().set(word);
        return;
    }
    char output[1024];
    CONF::popenWithStdout(enableInetd, output, sizeof output);
}

void getControl(std::string& word)
{
    word = controlWord().get();
}
