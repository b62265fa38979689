/// Two roads for the same messages on this machine: through skylark_io.so, and through a
/// hand-written loop of the same system calls on plain sockets with the same options. Each has a
/// server's end and a client's, for one thread each.
#pragma once

#include <cstddef>

namespace bench {

class LibraryRoad
{
public:
    LibraryRoad();
    ~LibraryRoad();
    LibraryRoad(LibraryRoad const&) = delete;
    LibraryRoad& operator=(LibraryRoad const&) = delete;

    void clientSend(unsigned int tag, unsigned int* buffer, unsigned int length);
    unsigned int clientReceive(unsigned int* buffer, unsigned int size);
    /// The tag of the message received.
    unsigned int serverReceive(unsigned int* buffer, unsigned int size);
    /// To the client last received from.
    void serverSend(unsigned int tag, unsigned int* buffer, unsigned int length);

private:
    void* m_server = nullptr;
    void* m_client = nullptr;
    unsigned int m_clientId = 0;
};

class PlainRoad
{
public:
    PlainRoad();
    ~PlainRoad();
    PlainRoad(PlainRoad const&) = delete;
    PlainRoad& operator=(PlainRoad const&) = delete;

    void clientSend(unsigned int tag, unsigned int* buffer, unsigned int length);
    unsigned int clientReceive(unsigned int* buffer, unsigned int size);
    unsigned int serverReceive(unsigned int* buffer, unsigned int size);
    void serverSend(unsigned int tag, unsigned int* buffer, unsigned int length);

private:
    int m_listening = -1;
    int m_server = -1;
    int m_client = -1;
};

} // namespace bench
