#include "loader/io_adapter_library_interface.h"

namespace KORVA::DTC {

char const* default_error()
{
    return "DTC_Get_Error() not found";
}

} // namespace KORVA::DTC
