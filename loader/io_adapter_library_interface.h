#pragma once

#include "../adapter/dtc_io.h"
#include "../util/export.h"

namespace KORVA::DTC {

/// "DTC_IO_Send", which older libraries have instead of DTC_IO_Send_V2: it does not tell how much
/// it has sent.
using DTC_IO_Send_Function = DTC_IO_STATUS(void* connection, unsigned int clientId,
                                           unsigned int tag, unsigned int* buffer,
                                           unsigned int length);

/// The entry points of a loaded adapter library, each null when the library lacks it. dtc_io.h
/// tells what they do.
struct IOAdapterLibraryInterface
{
    decltype(&DTC_Get_Version) get_version = nullptr;
    decltype(&DTC_Get_Status) get_status = nullptr;
    decltype(&DTC_IO_Create) create = nullptr;
    decltype(&DTC_IO_Open) open = nullptr;
    decltype(&DTC_IO_Close) close = nullptr;
    DTC_IO_Send_Function* send = nullptr;
    decltype(&DTC_IO_Send_V2) send_v2 = nullptr;
    decltype(&DTC_IO_Receive_Ready) receive_ready = nullptr;
    decltype(&DTC_IO_Receive) receive = nullptr;
    decltype(&DTC_IO_Local_Id) local_id = nullptr;
    decltype(&DTC_IO_Get_State) get_state = nullptr;
    decltype(&DTC_Get_Error) get_error = nullptr; ///< Never null after a load.
};

/// Stands in for DTC_Get_Error in a library that lacks it: "DTC_Get_Error() not found".
KORVA_API char const* default_error();

} // namespace KORVA::DTC
