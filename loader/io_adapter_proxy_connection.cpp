#include "loader/io_adapter_proxy_connection.h"

namespace KORVA::DTC {

char const* default_error()
{
    return "DTC_Get_Error() not found";
}

IOAdapterProxy_Connection::IOAdapterProxy_Connection(void* handle,
                                                     IOAdapterLibraryInterface& interface)
    : m_handle(handle), m_interface(interface)
{
    if (m_interface.get_error == nullptr)
        m_interface.get_error = default_error;
}

IOAdapterProxy_Connection::~IOAdapterProxy_Connection()
{
    close();
}

void IOAdapterProxy_Connection::close()
{
    if (m_closed || m_interface.close == nullptr)
        return;
    m_closed = true;
    m_interface.close(m_handle);
}

bool IOAdapterProxy_Connection::isOpen()
{
    if (m_closed)
        set_error("The connection is closed");
    return !m_closed;
}

template <typename Function, typename... Arguments>
DTC_IO_STATUS IOAdapterProxy_Connection::forward(Function function, char const* missing,
                                                 Arguments... arguments)
{
    if (function == nullptr) {
        set_error(missing);
        return DTC_IO_NO_CONNECTION;
    }
    if (!isOpen())
        return DTC_IO_INVALID;
    DTC_IO_STATUS const status = function(m_handle, arguments...);
    if (status != DTC_IO_SUCCESS)
        set_error(m_interface.get_error());
    return status;
}

DTC_IO_STATUS IOAdapterProxy_Connection::get_local_id(unsigned int* id)
{
    return forward(m_interface.local_id, "Function DTC_IO_Local_Id() not found", id);
}

DTC_IO_STATUS IOAdapterProxy_Connection::get_state(DTC_IO_LOADERIF** state)
{
    if (m_interface.get_state == nullptr) {
        set_error("Function DTC_IO_Get_State() not found");
        return DTC_IO_SUCCESS;
    }
    return isOpen() ? m_interface.get_state(m_handle, state) : DTC_IO_INVALID;
}

DTC_IO_STATUS IOAdapterProxy_Connection::send(unsigned int clientId, unsigned int tag,
                                              unsigned int* buffer, unsigned int length,
                                              unsigned int* sent)
{
    constexpr char missing[] = "Function DTC_IO_Send() not found";
    if (m_interface.send_v2 != nullptr || m_interface.send == nullptr)
        return forward(m_interface.send_v2, missing, clientId, tag, buffer, length, sent);
    DTC_IO_STATUS const status = forward(m_interface.send, missing, clientId, tag, buffer, length);
    if (sent != nullptr)
        *sent = status == DTC_IO_SUCCESS ? length : 0;
    return status;
}

DTC_IO_STATUS IOAdapterProxy_Connection::receive_ready(unsigned int timeout)
{
    return forward(m_interface.receive_ready, "Function DTC_IO_Receive_Ready() not found", timeout);
}

DTC_IO_STATUS IOAdapterProxy_Connection::receive(unsigned int* clientId, unsigned int* tag,
                                                 unsigned int* buffer, unsigned int size,
                                                 unsigned int* received, unsigned int timeout)
{
    return forward(m_interface.receive, "Function DTC_IO_Receive() not found", clientId, tag,
                   buffer, size, received, timeout);
}

char const* IOAdapterProxy_Connection::get_error()
{
    return m_error.c_str();
}

void IOAdapterProxy_Connection::set_error(char const* text)
{
    m_error = text == nullptr ? "Unknown Error" : text;
}

} // namespace KORVA::DTC
