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

} // namespace

LibraryRoad::LibraryRoad()
{
    require(DTC_IO_Create("dtc_conf", 0, &m_server));
    require(DTC_IO_Open("0x7F000001", "dtc_conf", &m_client));
}

LibraryRoad::~LibraryRoad()
{
    DTC_IO_Close(m_server); // first: its reset leaves no port lingering
    DTC_IO_Close(m_client);
}

void LibraryRoad::clientSend(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    unsigned int sent = 0;
    require(DTC_IO_Send_V2(m_client, 0, tag, buffer, length, &sent));
}

unsigned int LibraryRoad::clientReceive(unsigned int* buffer, unsigned int size)
{
    unsigned int server = 0;
    unsigned int tag = 0;
    unsigned int length = 0;
    require(DTC_IO_Receive(m_client, &server, &tag, buffer, size, &length, 10'000));
    return tag;
}

unsigned int LibraryRoad::serverReceive(unsigned int* buffer, unsigned int size)
{
    unsigned int tag = 0;
    unsigned int length = 0;
    require(DTC_IO_Receive(m_server, &m_clientId, &tag, buffer, size, &length, 10'000));
    return tag;
}

void LibraryRoad::serverSend(unsigned int tag, unsigned int* buffer, unsigned int length)
{
    unsigned int sent = 0;
    require(DTC_IO_Send_V2(m_server, m_clientId, tag, buffer, length, &sent));
}

} // namespace bench
