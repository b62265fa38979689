/// The box's configuration, whole: the variable set, the names and the schema, the statuses and
/// exceptions, the running system and the firmware.
#pragma once

#include "dtc_conf_checksum.h"
#include "dtc_conf_gpp_firmware.h"
#include "dtc_conf_gpp_system.h"
#include "dtc_conf_image.h"
#include "dtc_conf_schema.h"
#include "dtc_conf_status.h"
#include "dtc_conf_vars.h"
