#pragma once

#include "adapter/skylark_io_adapter_server.h"
#include "tests/support/descriptors.h"
#include "util/usocket.h"

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace testing_support {

/// A listening socket on the port, or on one that the system picks.
inline KORVA::uSocket* listenOn(unsigned int port)
{
    auto socket = std::make_unique<KORVA::uSocket>();
    if (socket->ServerCreate(port) != KORVA::uSocket::Success)
        throw std::runtime_error(socket->GetLastErrorText());
    return socket.release();
}

/// A server that admits every client and notes when the first comes and the last goes.
class TestServer : public KORVA::DTC::skylark_Server
{
public:
    explicit TestServer(unsigned int port = 0) : skylark_Server(listenOn(port), 0) {}

    bool is_client_allowed(char const* /*address*/) noexcept override
    {
        ++asked;
        if (whenAsked)
            whenAsked();
        return admits;
    }
    bool is_multiclient_allowed() override { return true; }
    void on_first_client_added(char const* address) noexcept override
    {
        if (notes)
            events.emplace_back(address);
    }
    void on_last_client_removed() noexcept override { on_first_client_added("none"); }

    unsigned int port()
    {
        unsigned int id = 0;
        get_local_id(&id);
        return id;
    }

    /// Lets in, or refuses, one client that has connected.
    void acceptOne()
    {
        for (int const before = asked; asked == before;)
            receive_ready(1);
    }

    unsigned int bytesFrom(unsigned int client)
    {
        return lookup_client(client)->socket->GetReadDataAvailable();
    }

    int optionOf(unsigned int client, int level, int name)
    {
        int const descriptor = lookup_client(client)->socket->GetDescriptor();
        return testing_support::optionOf(descriptor, level, name);
    }

    std::function<void()> whenAsked; ///< Runs while a client is judged, under the server's lock.
    bool admits = true;
    bool notes = true;
    std::atomic<int> asked{0};
    std::vector<std::string> events;
};

} // namespace testing_support
