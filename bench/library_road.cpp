#include "adapter/dtc_io.h"
#include "bench/message_road.h"

#include <cstdio>
#include <cstdlib>

namespace bench {
namespace {

void require(DTC_IO_STATUS status)
{
    if (status == DTC_IO_SUCCESS)
        return;
    std::fprintf(stderr, "status %d: %s\n", status, DTC_Get_Error());
    std::exit(1);
}

unsigned int receiveOn(void* handle, unsigned int* sender, unsigned int* buffer, unsigned int size)
{
    unsigned int tag = 0;
    unsigned int length = 0;
    require(DTC_IO_Receive(handle, sender, &tag, buffer, size, &length, 10'000));
    return tag;
}

void sendOn(void* handle, unsigned int receiver, unsigned int tag, unsigned int* buffer,
            unsigned int length)
{
    unsigned int sent = 0;
    require(DTC_IO_Send_V2(handle, receiver, tag, buffer, length, &sent));
}

} // namespace

LibraryServer::LibraryServer()
{
    require(DTC_IO_Create("dtc_conf", 0, &m_handle));
}

LibraryServer::~LibraryServer()
{
    DTC_IO_Close(m_handle);
}

unsigned int LibraryServer::port() const
{
    unsigned int port = 0;
    require(DTC_IO_Local_Id(m_handle, &port));
    return port;
}

unsigned int LibraryServer::receive(unsigned int* buffer, unsigned int size)
{
    return receiveOn(m_handle, &m_clientId, buffer, size);
}

void LibraryServer::send(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    sendOn(m_handle, m_clientId, tag, buffer, length);
}

// The service's port is in the library's own list.
LibraryClient::LibraryClient(unsigned int /*port*/)
{
    require(DTC_IO_Open("0x7F000001", "dtc_conf", &m_handle));
}

LibraryClient::~LibraryClient()
{
    DTC_IO_Close(m_handle);
}

unsigned int LibraryClient::receive(unsigned int* buffer, unsigned int size)
{
    unsigned int server = 0;
    return receiveOn(m_handle, &server, buffer, size);
}

void LibraryClient::send(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    sendOn(m_handle, 0, tag, buffer, length);
}

} // namespace bench
