#include "conf/dtc_conf_gpp_standby.h"

#include <cstdlib>

namespace KORVA::DTC::CONF {
namespace {

std::string& minutes()
{
    static std::string g_standbyMinutes = "20";
    return g_standbyMinutes;
}

[[maybe_unused]] std::string const& madeAtLoad = minutes();

} // namespace

std::string const& standbyMinutes()
{
    return minutes();
}

void setStandbyMinutes(std::string const& value)
{
    constexpr long limit = 20;
    long const number = std::strtol(value.c_str(), nullptr, 10);
    if (number > limit)
        minutes() = std::to_string(number);
}

} // namespace KORVA::DTC::CONF
