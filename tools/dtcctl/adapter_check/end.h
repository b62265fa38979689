#pragma once

#include "tools/dtcctl/adapter_check/isolation.h"
#include "tools/dtcctl/support/buffer.h"

#include <chrono>
#include <string>

namespace dtcctl {

/// What is checked, and with what.
struct Subject
{
    std::string file;
    std::string address;
    std::string service;
    std::chrono::milliseconds limit; ///< A check that takes longer hangs.
    bool isOwnLibrary = false;       ///< dtcctl itself is linked with this file.
};

/// What a side of a check works with.
struct CheckSide
{
    AdapterLibrary& adapter;
    Peer& peer;
    Subject const& subject;

    DTC_IO_STATUS open(void** handle)
    {
        return adapter.call<Entry::Open>(subject.address.c_str(), subject.service.c_str(), handle);
    }

    /// The library's error text in double quotes, or that there is none.
    std::string quotedError();
};

/// Ends the check as failed unless holds, with what was seen.
void expect(bool holds, std::string const& seen);

[[noreturn]] void fail(std::string const& seen);
[[noreturn]] void skip(std::string const& why);

/// "DTC_IO_Open gave -1".
std::string gave(Entry entry, DTC_IO_STATUS status);

/// One end of a connection of the library under test. Whatever fails ends the check. A handle that
/// is not given back goes with the process.
class End
{
public:
    End(CheckSide& side, void* handle, bool isServer)
        : m_side(&side), m_handle(handle), m_isServer(isServer)
    {}
    static End serve(CheckSide& side);
    static End open(CheckSide& side);

    /// Fills the first length bytes of its buffer with a pattern that depends on seed.
    void fill(unsigned int length, unsigned int seed);
    bool isFilled(unsigned int length, unsigned int seed) const;

    /// Sends the first length bytes, by DTC_IO_Send_V2, or DTC_IO_Send where that is missing.
    DTC_IO_STATUS trySend(unsigned int clientId, unsigned int tag, unsigned int length);
    void send(unsigned int clientId, unsigned int tag, unsigned int length);

    /// Receives into the first size bytes; fails when the library writes beyond them.
    Received receive(unsigned int size, unsigned int timeoutMs);

    /// Receives anew as long as there is a time-out and, on a server, no client, up to half of the
    /// check's time.
    Received tryAwait(unsigned int size);

    /// The same; fails when nothing came.
    Received await(unsigned int size);

    /// Awaits a message with this tag.
    Received awaitMessage(unsigned int tag, unsigned int size);

    /// Sends length bytes, by a client, and awaits the same as reply.
    void exchange(unsigned int tag, unsigned int length);

    /// Receives at least once, and answers each message with itself, until the other side lets this
    /// one proceed.
    void echo();

    DTC_IO_STATUS ready(unsigned int timeoutMs)
    {
        return m_side->adapter.call<Entry::ReceiveReady>(m_handle, timeoutMs);
    }

    void close()
    {
        m_side->adapter.call<Entry::Close>(m_handle);
        m_handle = nullptr;
    }

    void* handle() const { return m_handle; }
    unsigned int* words() { return m_buffer.words(); }
    CheckSide& side() const { return *m_side; }
    Peer& peer() const { return m_side->peer; }

private:
    static constexpr unsigned int largestMessage = 1U << 20;
    static constexpr unsigned int guardBytes = 64; ///< that must stay behind a message

    bool isWaiting(DTC_IO_STATUS status) const;

    CheckSide* m_side;
    void* m_handle;
    bool m_isServer;
    Buffer m_buffer{largestMessage + guardBytes};
};

} // namespace dtcctl
