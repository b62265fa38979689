/// The box's configuration, whole: the variable set, the names and the schema, the statuses and
/// exceptions, the running system and the firmware.
#pragma once

#include "conf/dtc_conf_checksum.h"
#include "conf/dtc_conf_gpp_firmware.h"
#include "conf/dtc_conf_gpp_system.h"
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_schema.h"
#include "conf/dtc_conf_status.h"
#include "conf/dtc_conf_vars.h"
