/// Two roads for the same messages on this machine: through skylark_io.so, and through a
/// hand-written loop of the same system calls on plain sockets with the same options. Each has a
/// server's end and a client's, for one thread each, or for a process each.
#pragma once

namespace bench {

class LibraryServer
{
public:
    LibraryServer();
    ~LibraryServer();
    LibraryServer(LibraryServer const&) = delete;
    LibraryServer& operator=(LibraryServer const&) = delete;

    /// Where the client's end finds it.
    unsigned int port() const;
    /// The tag of the message received.
    unsigned int receive(unsigned int* buffer, unsigned int size);
    /// To the client last received from.
    void send(unsigned int tag, unsigned int* buffer, unsigned int length);

private:
    void* m_handle = nullptr;
    unsigned int m_clientId = 0;
};

class LibraryClient
{
public:
    explicit LibraryClient(unsigned int port);
    ~LibraryClient();
    LibraryClient(LibraryClient const&) = delete;
    LibraryClient& operator=(LibraryClient const&) = delete;

    unsigned int receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int* buffer, unsigned int length);

private:
    void* m_handle = nullptr;
};

class PlainServer
{
public:
    PlainServer();
    ~PlainServer();
    PlainServer(PlainServer const&) = delete;
    PlainServer& operator=(PlainServer const&) = delete;

    unsigned int port() const;
    unsigned int receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int* buffer, unsigned int length);

private:
    int m_listening = -1;
    int m_connection = -1;
};

class PlainClient
{
public:
    explicit PlainClient(unsigned int port);
    ~PlainClient();
    PlainClient(PlainClient const&) = delete;
    PlainClient& operator=(PlainClient const&) = delete;

    unsigned int receive(unsigned int* buffer, unsigned int size);
    void send(unsigned int tag, unsigned int* buffer, unsigned int length);

private:
    int m_connection = -1;
};

struct LibraryRoad
{
    using Server = LibraryServer;
    using Client = LibraryClient;
};

struct PlainRoad
{
    using Server = PlainServer;
    using Client = PlainClient;
};

} // namespace bench
