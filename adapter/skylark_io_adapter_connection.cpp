#include "adapter/skylark_io_adapter_connection.h"

#include "util/usocket.h"

namespace KORVA::DTC {

skylark_Connection::skylark_Connection(uSocket* socket) : m_socket(socket) {}

skylark_Connection::~skylark_Connection() = default;

DTC_IO_STATUS skylark_Connection::get_local_id(unsigned int* id)
{
    if (id == nullptr)
        return DTC_IO_INVALID;
    *id = m_socket->GetLocalPort();
    return DTC_IO_SUCCESS;
}

DTC_IO_STATUS skylark_Connection::get_state(DTC_IO_LOADERIF** state)
{
    if (state != nullptr)
        *state = nullptr;
    return DTC_IO_SUCCESS;
}

char const* skylark_Connection::get_error()
{
    return m_error.c_str();
}

DTC_IO_STATUS skylark_Connection::fail(DTC_IO_STATUS status, char const* text)
{
    m_error.set(text);
    return status;
}

} // namespace KORVA::DTC
