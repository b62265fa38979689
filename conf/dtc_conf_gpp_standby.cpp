#include "conf/dtc_conf_gpp_standby.h"

#include "conf/dtc_conf_shared_text.h"
#include "util/at_load.h"

#include <cstdlib>

namespace KORVA::DTC::CONF {
namespace {

SharedText& minutes()
{
    static SharedText g_standbyMinutes("20");
    return g_standbyMinutes;
}

[[gnu::init_priority(BeforeAdapter)]] AtLoad const made([] { minutes(); });

} // namespace

std::string standbyMinutes()
{
    return minutes().get();
}

void setStandbyMinutes(std::string const& value)
{
    constexpr long limit = 20;
    long const number = std::strtol(value.c_str(), nullptr, 10);
    if (number > limit)
        minutes().set(std::to_string(number));
}

} // namespace KORVA::DTC::CONF
