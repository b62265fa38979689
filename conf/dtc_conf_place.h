#pragma once

namespace KORVA::DTC::CONF {

/// The places of a throw: the set and its image, and what works on the box.
inline constexpr char const* fileName = "dtc_conf";
inline constexpr char const* gppFileName = "dtc_conf_gpp";

} // namespace KORVA::DTC::CONF
