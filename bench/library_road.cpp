#include "bench/road.h"

#include <cstdio>
#include <cstdlib>
#include <skylark_io/adapter/dtc_io.h>
#include <skylark_io/loader/io_adapter_proxy.h>

namespace bench {
namespace {

[[noreturn]] void fail(char const* error)
{
    std::fprintf(stderr, "%s\n", error);
    std::exit(1);
}

// Both have a service of its own, so that they can be open at once; its port is in the library's
// own list.
class LibraryEnd final : public End
{
public:
    explicit LibraryEnd(unsigned int port)
    {
        require(port == 0 ? DTC_IO_Create("dtc_conf", 0, &m_handle)
                          : DTC_IO_Open("0x7F000001", "dtc_conf", &m_handle));
    }
    ~LibraryEnd() override { DTC_IO_Close(m_handle); }

    unsigned int port() override
    {
        unsigned int port = 0;
        require(DTC_IO_Local_Id(m_handle, &port));
        return port;
    }

    unsigned int receive(unsigned int* buffer, unsigned int size) override
    {
        unsigned int tag = 0;
        unsigned int length = 0;
        require(DTC_IO_Receive(m_handle, &m_peer, &tag, buffer, size, &length, 10'000));
        return tag;
    }

    void send(unsigned int tag, unsigned int* buffer, unsigned int length) override
    {
        unsigned int sent = 0;
        require(DTC_IO_Send_V2(m_handle, m_peer, tag, buffer, length, &sent));
    }

private:
    static void require(DTC_IO_STATUS status)
    {
        if (status != DTC_IO_SUCCESS)
            fail(DTC_Get_Error());
    }

    void* m_handle = nullptr;
    unsigned int m_peer = 0;
};

/// Drives the library that the program is linked with: they are the same.
KORVA::DTC::IOAdapterProxy& proxy()
{
    static KORVA::DTC::IOAdapterProxy instance;
    if (!instance.IsLoaded() && !instance.Load(SKYLARK_LIBRARY))
        fail(instance.get_error());
    return instance;
}

class ProxyEnd final : public End
{
public:
    explicit ProxyEnd(unsigned int port)
        : m_connection(port == 0 ? proxy().create("dtc_io", 0)
                                 : proxy().open("0x7F000001", "dtc_io"))
    {
        if (m_connection == nullptr)
            fail(proxy().get_error());
    }
    ~ProxyEnd() override { proxy().close(m_connection); }

    unsigned int port() override
    {
        unsigned int port = 0;
        require(m_connection->get_local_id(&port));
        return port;
    }

    unsigned int receive(unsigned int* buffer, unsigned int size) override
    {
        unsigned int tag = 0;
        unsigned int length = 0;
        require(m_connection->receive(&m_peer, &tag, buffer, size, &length, 10'000));
        return tag;
    }

    void send(unsigned int tag, unsigned int* buffer, unsigned int length) override
    {
        unsigned int sent = 0;
        require(m_connection->send(m_peer, tag, buffer, length, &sent));
    }

private:
    void require(DTC_IO_STATUS status)
    {
        if (status != DTC_IO_SUCCESS)
            fail(m_connection->get_error());
    }

    KORVA::DTC::IOAdapter_Connection* m_connection;
    unsigned int m_peer = 0;
};

} // namespace

std::unique_ptr<End> libraryRoad(unsigned int port)
{
    return makeEnd<LibraryEnd>(port);
}

std::unique_ptr<End> proxyRoad(unsigned int port)
{
    return makeEnd<ProxyEnd>(port);
}

} // namespace bench
