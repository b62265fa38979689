#include "adapter/skylark_io_adapter_server.h"

#include "adapter/skylark_io_adapter_admission.h"
#include "adapter/skylark_io_adapter_wait.h"
#include "util/at_load.h"
#include "util/message_path.h"
#include "util/usocket.h"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace KORVA::DTC {

[[gnu::init_priority(BeforeAdapter)]] uMutex skylark_Server::m_conf_lock;

skylark_Server::skylark_Server(uSocket* socket, unsigned int param)
    : skylark_Connection(socket), m_param(param)
{
    m_waker.hangBell();
}

/// No thread is inside any more. The lock stays as it is: in a child process a thread that the
/// child does not have can hold it.
skylark_Server::~skylark_Server()
{
    for (clientPtr& client : m_clients) {
        if (client.socket == nullptr)
            continue;
        m_waker.forget(client.socket->GetDescriptor());
        client.socket->Abort();
        client = clientPtr{};
    }
}

DTC_IO_STATUS skylark_Server::receive_ready(unsigned int timeout)
{
    uMutexGuard guard(m_lock);
    for (;;) {
        WaitResult const wait = wait_for_ready_client(timeout, guard);
        if (isClosing())
            return closed();
        if (wait.client == nullptr)
            return m_clientCount != 0 ? DTC_IO_TIMEOUT : DTC_IO_DISCONNECTED;
        if (isStillReadable(wait))
            return DTC_IO_SUCCESS;
    }
}

KORVA_ONE_PIECE DTC_IO_STATUS skylark_Server::receive(unsigned int* clientId, unsigned int* tag,
                                                      unsigned int* buffer, unsigned int size,
                                                      unsigned int* received, unsigned int timeout)
{
    if (clientId == nullptr)
        return fail(DTC_IO_INVALID, "Invalid parameter");
    uMutexGuard guard(m_lock);
    bool clientLost = false;
    for (;;) {
        // Once a client is lost the call waits on for the others: short time-outs must not make it
        // spin.
        constexpr unsigned int leastRewaitMs = 50;
        WaitResult const wait =
            wait_for_ready_client(clientLost ? std::max(timeout, leastRewaitMs) : timeout, guard);
        if (isClosing())
            return closed();
        clientPtr* const client = wait.client;
        if (client == nullptr) {
            bool const noClient = m_clientCount == 0;
            if (clientLost && !noClient && !wait.failed)
                continue;
            return noClient ? DTC_IO_DISCONNECTED : DTC_IO_TIMEOUT;
        }
        if (!isStillReadable(wait))
            continue;
        ++m_epoch;
        DTC_IO_STATUS const status =
            receive_sock(client->socket.get(), tag, buffer, size, received);
        if (status != DTC_IO_DISCONNECTED) {
            if (status == DTC_IO_SUCCESS)
                *clientId = client->id;
            return status;
        }
        if (isClosing())
            return closed(); // nobody has gone: what the policy has recorded stays
        remove_client(client);
        clientLost = true;
        if (m_clientCount == 0)
            return DTC_IO_DISCONNECTED;
    }
}

/// Two threads may have waited for the same client, and the other one was faster: reading now would
/// block with the lock held. Without another thread this costs no system call.
bool skylark_Server::isStillReadable(WaitResult const& wait) const
{
    uSocket const* const socket = wait.client->socket.get();
    if (socket == nullptr)
        return false;
    return m_epoch == wait.epoch || selectReadable(socket->GetDescriptor(), 0) > 0;
}

KORVA_ONE_PIECE DTC_IO_STATUS skylark_Server::send(unsigned int clientId, unsigned int tag,
                                                   unsigned int* buffer, unsigned int length,
                                                   unsigned int* sent)
{
    uMutexGuard const guard(m_lock);
    if (isClosing())
        return closed();
    clientPtr* const client = lookup_client(clientId);
    if (client == nullptr || client->socket == nullptr)
        return DTC_IO_DISCONNECTED;
    DTC_IO_STATUS const status = send_sock(client->socket.get(), tag, buffer, length, sent);
    if (status == DTC_IO_SUCCESS)
        return status;
    if (isClosing())
        return closed();
    // Only marked: the socket may be in the read set of a thread that waits just now.
    if (status == DTC_IO_DISCONNECTED)
        client->marker = 0;
    return status;
}

skylark_Server::WaitResult skylark_Server::wait_for_ready_client(unsigned int timeout,
                                                                 uMutexGuard& guard)
{
    ServerWait wait(timeout);
    int const listening = m_socket->GetDescriptor();
    for (;;) {
        std::uint64_t const nowMs = PeerWatch::nowMs();
        if (nowMs - m_lookedMs >= PeerWatch::intervalMs)
            lookAfterClients(nowMs);
        fd_set set;
        int maxfd = 0;
        initialize_readset(set, maxfd);
        std::uint64_t const epoch = m_epoch;
        if (!wait.listens())
            FD_CLR(listening, &set);
        if (m_clientCount == 0) { // else the wait for one of them is ended
            FD_SET(m_waker.bell(), &set);
            maxfd = std::max(maxfd, m_waker.bell());
        }
        unsigned int const sliceMs = wait.nextSlice(m_clientCount != 0);

        int const readable = waitUnlocked(guard, set, maxfd, sliceMs);
        if (isClosing())
            return {};
        if (readable == -1) {
            if (errno == EBADF && m_epoch != epoch)
                continue; // another thread removed a client that is in the set
            return {nullptr, epoch, true};
        }
        if (readable == 0) {
            if (wait.isOver())
                return {nullptr, epoch, false};
            continue;
        }
        if (FD_ISSET(listening, &set)) {
            if (acceptClient())
                wait.restart();
            else
                wait.pauseListening();
        }
        clientPtr* const client = find_ready_client(set);
        if (client != nullptr)
            return {client, epoch, false};
    }
}

/// The analysis of locks does not know the guard of the caller.
int skylark_Server::waitUnlocked(uMutexGuard& guard, fd_set& set, int maxfd,
                                 unsigned int timeoutMs) KORVA_NO_THREAD_SAFETY_ANALYSIS
{
    guard.Release();
    int const readable = selectReadable(set, maxfd, timeoutMs);
    int const error = readable == -1 ? errno : 0;
    guard.Acquire();
    if (error != 0)
        errno = error;
    return readable;
}

void skylark_Server::initialize_readset(fd_set& set, int& maxfd)
{
    FD_ZERO(&set);
    maxfd = m_socket->GetDescriptor();
    FD_SET(maxfd, &set);
    for (clientPtr& client : m_clients) {
        if (client.socket == nullptr)
            continue;
        if (client.marker != valid_data) {
            remove_client(&client);
            continue;
        }
        int const descriptor = client.socket->GetDescriptor();
        FD_SET(descriptor, &set);
        maxfd = std::max(maxfd, descriptor);
    }
}

/// A client that has gone without a word, while something for it was under way, is told from then
/// on like one that has closed its connection.
void skylark_Server::lookAfterClients(std::uint64_t nowMs)
{
    m_lookedMs = nowMs;
    for (std::size_t i = 0; i < m_clients.size(); ++i) {
        if (m_clients[i].marker != valid_data)
            continue;
        int const descriptor = m_clients[i].socket->GetDescriptor();
        if (m_watches[i].findsGone(descriptor, nowMs))
            shutdown(descriptor, SHUT_RD);
    }
}

/// Accepts and admits or refuses one client. False when the system has no connection to give.
bool skylark_Server::acceptClient()
{
    if (selectReadable(m_socket->GetDescriptor(), 0) <= 0)
        return true; // another thread has accepted it
    std::unique_ptr<uSocket> socket(m_socket->AcceptClient());
    if (socket == nullptr)
        return false;
    if (add_client(socket.get()))
        static_cast<void>(socket.release()); // its slot in the table owns it now
    else
        socket->Abort();
    return true;
}

bool skylark_Server::is_client_allowed(char const* address) noexcept
{
    uMutexGuard const guard(m_conf_lock);
    return isAdmitted(address, is_multiclient_allowed());
}

bool skylark_Server::add_client(uSocket* socket)
{
    if (socket == nullptr)
        return false;
    uMutexGuard const guard(m_lock);
    if (!is_client_allowed(socket->GetHost()))
        return false;
    initialize_client(socket);
    clientPtr* const slot = findFreeSlot();
    if (slot == nullptr || !m_waker.watch(socket->GetDescriptor()))
        return false;
    m_watches[static_cast<std::size_t>(slot - m_clients.data())] = PeerWatch();
    slot->marker = valid_data;
    slot->id = socket->GetRemotePort();
    slot->socket.reset(socket);
    m_nextSlot = (static_cast<unsigned int>(slot - m_clients.data()) + 1) % capacity;
    if (++m_clientCount == 1)
        on_first_client_added(socket->GetHost());
    return true;
}

/// A peer that falls silent without closing is noticed after about 15 + 3 * 5 seconds (tcp(7)).
bool skylark_Server::initialize_client(uSocket* socket)
{
    struct Option
    {
        int level;
        int name;
        int value;
    };
    constexpr Option keepAlive[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1},
        {IPPROTO_TCP, TCP_KEEPIDLE, 15},
        {IPPROTO_TCP, TCP_KEEPINTVL, 5},
        {IPPROTO_TCP, TCP_KEEPCNT, 3},
    };
    for (Option const& option : keepAlive)
        setsockopt(socket->GetDescriptor(), option.level, option.name, &option.value,
                   sizeof option.value);
    limitStalls(*socket);
    return true;
}

/// A dead slot is not free: its socket still waits to be closed.
skylark_Server::clientPtr* skylark_Server::findFreeSlot()
{
    for (unsigned int i = 0; i < capacity; ++i) {
        clientPtr& candidate = m_clients[(m_nextSlot + i) % capacity];
        if (candidate.marker != valid_data && candidate.socket == nullptr)
            return &candidate;
    }
    return nullptr;
}

skylark_Server::clientPtr* skylark_Server::lookup_client(unsigned int id)
{
    auto* const found =
        std::find_if(m_clients.begin(), m_clients.end(), [id](clientPtr const& client) {
            return client.marker != 0 && client.id == id;
        });
    return found != m_clients.end() ? found : nullptr;
}

void skylark_Server::remove_client(clientPtr* client)
{
    if (client == nullptr)
        return;
    uMutexGuard const guard(m_lock);
    if (client->socket == nullptr)
        return;
    m_waker.forget(client->socket->GetDescriptor());
    *client = clientPtr{};
    ++m_epoch;
    if (--m_clientCount == 0)
        on_last_client_removed();
}

skylark_Server::clientPtr* skylark_Server::find_ready_client(fd_set set)
{
    auto* const found =
        std::find_if(m_clients.begin(), m_clients.end(), [&set](clientPtr const& client) {
            return client.socket != nullptr && FD_ISSET(client.socket->GetDescriptor(), &set);
        });
    return found != m_clients.end() ? found : nullptr;
}

} // namespace KORVA::DTC
