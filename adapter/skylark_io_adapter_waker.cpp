#include "adapter/skylark_io_adapter_waker.h"

#include <algorithm>
#include <cerrno>
#include <sys/eventfd.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <system_error>

namespace KORVA::DTC {

bool Waker::watch(int socket)
{
    MutexGuard const guard(m_mutex);
    if (m_isAwake)
        return false;
    m_sockets.push_back(socket);
    return true;
}

void Waker::forget(int socket)
{
    MutexGuard const guard(m_mutex);
    m_sockets.erase(std::remove(m_sockets.begin(), m_sockets.end(), socket), m_sockets.end());
}

void Waker::hangBell()
{
    m_bell.reset(aboveStandardStreams(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)));
    if (bell() == -1 || bell() >= FD_SETSIZE)
        throw std::system_error(bell() == -1 ? errno : EMFILE, std::generic_category());
}

/// Shutting down the receiving side alone ends recv(2) and select(2) and sends nothing: a farewell
/// could leave a server's port waiting, as uSocket::Abort tells.
void Waker::wake()
{
    MutexGuard const guard(m_mutex);
    m_isAwake = true;
    for (int const socket : m_sockets)
        shutdown(socket, SHUT_RD);
    if (bell() != -1)
        eventfd_write(bell(), 1);
}

} // namespace KORVA::DTC
