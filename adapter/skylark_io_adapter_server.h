/// A server connection: listens on a service port, accepts up to eight clients while it waits for
/// data, and routes messages by client identifier, the TCP port of the client's end.
///
/// Several threads may use a server at once. Its lock guards the client table and is held for the
/// whole of each message transfer, but not while waiting. Lock order: the server's lock, then
/// m_conf_lock.
#pragma once

#include "adapter/skylark_io_adapter_connection.h"
#include "adapter/skylark_io_adapter_peer_watch.h"
#include "util/message_path.h"
#include "util/umutex.h"

#include <array>
#include <cstdint>
#include <memory>
#include <sys/select.h>

namespace KORVA::DTC {

class skylark_Server : public skylark_Connection
{
public:
    /// One slot of the client table. Free: no socket. Live: marked and with a socket. Dead: a
    /// socket without the mark, whose client a send has found gone; the next wait clears it.
    struct clientPtr
    {
        std::uint32_t marker = 0;
        unsigned int id = 0;
        std::unique_ptr<uSocket> socket;
    };

    /// Takes the listening socket. param is what DTC_IO_Create was given; it is recorded only.
    /// Throws std::system_error when there is no descriptor left for waking the threads in it.
    skylark_Server(uSocket* socket, unsigned int param);

    /// Closes every client's connection; on_last_client_removed is not called.
    ~skylark_Server() override;

    DTC_IO_STATUS send(unsigned int clientId, unsigned int tag, unsigned int* buffer,
                       unsigned int length, unsigned int* sent) override;
    DTC_IO_STATUS receive_ready(unsigned int timeout) override;
    DTC_IO_STATUS receive(unsigned int* clientId, unsigned int* tag, unsigned int* buffer,
                          unsigned int size, unsigned int* received, unsigned int timeout) override;

    /// Whether a client at the dotted address is admitted (isAdmitted). Called under the server's
    /// lock; it takes tenths of a second, or seconds when the bus is busy.
    virtual bool is_client_allowed(char const* address) noexcept;
    virtual bool is_multiclient_allowed() = 0;
    /// Called under the server's lock when the first client comes and when the last one has gone.
    virtual void on_first_client_added(char const* address) noexcept = 0;
    virtual void on_last_client_removed() noexcept = 0;

protected:
    static uMutex m_conf_lock;
    static constexpr std::uint32_t valid_data = 0x01FACE02U;
    static constexpr unsigned int capacity = 8;

    /// Admits the client and takes ownership of its socket. False, leaving the socket to the
    /// caller, when it is null, refused or beyond the eighth, or when the server is being closed.
    bool add_client(uSocket* socket);
    bool initialize_client(uSocket* socket);
    clientPtr* lookup_client(unsigned int id) KORVA_REQUIRES(m_lock);
    KORVA_SELDOM void remove_client(clientPtr* client);

    /// The listening descriptor and those of the live clients; clears dead
    /// slots on the way.
    void initialize_readset(fd_set& set, int& maxfd) KORVA_REQUIRES(m_lock);
    clientPtr* find_ready_client(fd_set set) KORVA_REQUIRES(m_lock);

    /// What a wait came to.
    struct WaitResult
    {
        clientPtr* client = nullptr; ///< Null when the time is over or the wait failed.
        std::uint64_t epoch = 0;     ///< The state of the client table that it stands for.
        bool failed = false;
    };

    /// Waits for a client with something to read, accepting clients meanwhile. Each client accepted
    /// or refused starts the time-out anew. The guard gives the lock up while waiting.
    WaitResult wait_for_ready_client(unsigned int timeout, uMutexGuard& guard)
        KORVA_REQUIRES(m_lock);

private:
    KORVA_SELDOM bool acceptClient() KORVA_REQUIRES(m_lock);
    KORVA_SELDOM void lookAfterClients(std::uint64_t nowMs) KORVA_REQUIRES(m_lock);
    clientPtr* findFreeSlot() KORVA_REQUIRES(m_lock);
    /// select(2) without the lock, which the guard holds before and after.
    int waitUnlocked(uMutexGuard& guard, fd_set& set, int maxfd, unsigned int timeoutMs)
        KORVA_REQUIRES(m_lock);
    bool isStillReadable(WaitResult const& wait) const KORVA_REQUIRES(m_lock);

    uMutex m_lock;
    std::array<clientPtr, capacity> m_clients KORVA_GUARDED_BY(m_lock);
    std::array<PeerWatch, capacity> m_watches KORVA_GUARDED_BY(m_lock);
    std::uint64_t m_lookedMs KORVA_GUARDED_BY(m_lock) = 0;
    [[maybe_unused]] unsigned int m_param;
    unsigned int m_nextSlot KORVA_GUARDED_BY(m_lock) = 0;
    unsigned int m_clientCount KORVA_GUARDED_BY(m_lock) = 0;
    // Counts the messages read and the clients removed: by it a thread that comes back from waiting
    // sees that another thread has been at the table meanwhile.
    std::uint64_t m_epoch KORVA_GUARDED_BY(m_lock) = 0;
};

} // namespace KORVA::DTC
