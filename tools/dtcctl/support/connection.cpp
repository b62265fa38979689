#include "tools/dtcctl/support/connection.h"

#include "tools/dtcctl/support/address.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/library_call.h"

namespace dtcctl {
namespace {

char const* meaning(DTC_IO_STATUS status)
{
    switch (status) {
    case DTC_IO_TIMEOUT:
        return "time-out";
    case DTC_IO_DISCONNECTED:
        return "disconnected";
    case DTC_IO_INVALID:
        return "invalid argument";
    default:
        return "failed";
    }
}

} // namespace

Connection Connection::serve(std::string const& service)
{
    void* handle = nullptr;
    LibraryCall const call;
    DTC_IO_STATUS const status = DTC_IO_Create(service.c_str(), 0, &handle);
    if (status != DTC_IO_SUCCESS)
        throw Failure("cannot serve " + service + ": " + failureText(status));
    return Connection(handle);
}

Connection Connection::open(std::string const& address, std::string const& service)
{
    std::string const number = libraryAddress(address);
    void* handle = nullptr;
    LibraryCall const call;
    DTC_IO_STATUS const status = DTC_IO_Open(number.c_str(), service.c_str(), &handle);
    if (status != DTC_IO_SUCCESS)
        throw Failure("cannot open " + service + " at " + address + ": " + failureText(status));
    return Connection(handle);
}

Received Connection::receive(Buffer& buffer, unsigned int timeoutMs)
{
    Received result{};
    result.status = DTC_IO_Receive(m_handle.get(), &result.clientId, &result.tag, buffer.words(),
                                   buffer.size(), &result.length, timeoutMs);
    return result;
}

DTC_IO_STATUS Connection::send(unsigned int clientId, unsigned int tag, Buffer& buffer,
                               unsigned int length)
{
    unsigned int sent = 0;
    return DTC_IO_Send_V2(m_handle.get(), clientId, tag, buffer.words(), length, &sent);
}

unsigned int Connection::localId()
{
    unsigned int id = 0;
    DTC_IO_Local_Id(m_handle.get(), &id);
    return id;
}

std::string failureText(DTC_IO_STATUS status)
{
    std::string text = DTC_Get_Error();
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text.empty() ? meaning(status) : text;
}

} // namespace dtcctl
