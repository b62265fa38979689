/* The header alone, as C: what follows must compile, and the status has the width that the
 * interface has. */
#include "adapter/dtc_io.h"

_Static_assert(sizeof(DTC_IO_STATUS) == 4 && (DTC_IO_STATUS)-1 < 0, "a signed 32-bit status");

int dtc_io_header_compiles_as_c(void* connection, unsigned int* words, DTC_IO_LOADERIF** state);

int dtc_io_header_compiles_as_c(void* connection, unsigned int* words, DTC_IO_LOADERIF** state)
{
    return DTC_IO_Receive(connection, words, words, words, 4, words, DTC_IO_NO_TIME_LIMIT) ==
               DTC_IO_SUCCESS &&
           DTC_IO_Get_State(connection, state) == DTC_IO_SUCCESS;
}
