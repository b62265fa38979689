#pragma once

#include "adapter/skylark_io_adapter_call.h"
#include "tests/support/exchange.h"
#include "tests/support/raw_peer.h"
#include "tests/support/signal_storm.h"
#include "tests/support/test_server.h"

#include <gmock/gmock.h>
#include <list>

namespace testing_support {

constexpr unsigned int patienceMs = 20'000;

/// A server that admits everyone, and peers that are none of the library's own.
class ServerTest : public testing::Test
{
protected:
    ServerTest() { std::signal(SIGPIPE, SIG_IGN); }

    /// Connects and is accepted: the server's places are taken in the order of the calls.
    RawPeer& join()
    {
        RawPeer& peer = peers.emplace_back(server.port());
        server.acceptOne();
        return peer;
    }

    Incoming receive(unsigned int timeoutMs = patienceMs, unsigned int sizeBytes = 64)
    {
        return receiveFrom(server, timeoutMs, sizeBytes);
    }

    /// What a thread does that a closing finds inside a call.
    std::function<DTC_IO_STATUS()> const waiting = [this] {
        KORVA::DTC::Call const call(&server);
        return receive().status;
    };

    TestServer server;
    std::list<RawPeer> peers;
};

} // namespace testing_support
