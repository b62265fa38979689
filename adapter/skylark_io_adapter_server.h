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

    KORVA_ONE_PIECE DTC_IO_STATUS send(unsigned int clientId, unsigned int tag,
                                       unsigned int* buffer, unsigned int length,
                                       unsigned int* sent) override;
    DTC_IO_STATUS receive_ready(unsigned int timeout) override;
    KORVA_ONE_PIECE DTC_IO_STATUS receive(unsigned int* clientId, unsigned int* tag,
                                          unsigned int* buffer, unsigned int size,
                                          unsigned int* received, unsigned int timeout) override;

    /// Whether a client at the dotted address is admitted: not when another machine holds the box
    /// and only one may, nor when the configuration's filter refuses it (the first LED then blinks
    /// once or twice), nor when the configuration cannot be read. Called under the
    /// server's lock; it takes tenths of a second, or seconds when the bus is busy.
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
    clientPtr* lookup_client(unsigned int id);
    KORVA_SELDOM void remove_client(clientPtr* client);

    /// With the lock held: the listening descriptor and those of the live clients; clears dead
    /// slots on the way.
    void initialize_readset(fd_set& set, int& maxfd);
    clientPtr* find_ready_client(fd_set set);

    /// What a wait came to.
    struct WaitResult
    {
        clientPtr* client = nullptr; ///< Null when the time is over or the wait failed.
        std::uint64_t epoch = 0;     ///< The state of the client table that it stands for.
        bool failed = false;
    };

    /// Waits for a client with something to read, accepting clients meanwhile. Each client accepted
    /// or refused starts the time-out anew. The guard holds the lock before and after, not while
    /// waiting.
    WaitResult wait_for_ready_client(unsigned int timeout, uMutexGuard& guard);

private:
    KORVA_SELDOM bool accept_client();
    KORVA_SELDOM void look_after_clients(std::uint64_t nowMs);
    clientPtr* find_free_slot();
    bool is_still_readable(WaitResult const& wait) const;

    uMutex m_lock;
    std::array<clientPtr, capacity> m_clients;
    std::array<PeerWatch, capacity> m_watches;
    std::uint64_t m_lookedMs = 0;
    [[maybe_unused]] unsigned int m_param;
    unsigned int m_nextSlot = 0;
    unsigned int m_clientCount = 0;
    // Counts the messages read and the clients removed: by it a thread that comes back from waiting
    // sees that another thread has been at the table meanwhile.
    std::uint64_t m_epoch = 0;
};

} // namespace KORVA::DTC
