#include "util/usocket_error.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>

namespace KORVA {
namespace {

struct ErrnoText
{
    int error;
    char const* text;
};

constexpr ErrnoText errorTexts[] = {
    {EWOULDBLOCK, "Operation would have blocked (EWOULDBLOCK/EGAIN)"},
    {EINVAL, "Invalid parameter (EIVAL)"},
    {EPIPE, "Broken pipe (EPIPE)"},
    {EUSERS, "Too many open users (EUSERS)"},
    {ENOTSOCK, "Socket operation on non-socket(ENOTSOCK)"},
    {EDESTADDRREQ, "Socket already connected (EDESTADDRREQ)"},
    {EMSGSIZE, "Message too long (EMSGSIZE)"},
    {EPROTOTYPE, "Invalid protocol type (EPROTOTYPE)"},
    {ENOPROTOOPT, "Protocol not available (ENOPROTOOPT)"},
    {EPROTONOSUPPORT, "Unknown protocol (EPROTONOTSUPPORT)"},
    {ESOCKTNOSUPPORT, "Socket type not supported (ESOCKTNOSUPPORT)"},
    {EOPNOTSUPP, "Operation not supported (EOPNOTSUPP)"},
    {EPFNOSUPPORT, "Protocol family not supported (EPFNOSUPPORT)"},
    {EAFNOSUPPORT, "Address family not supported (EAFNOSUPPORT)"},
    {EADDRINUSE, "Address already in use (EADDRINUSE)"},
    {EADDRNOTAVAIL, "Address not available (EADDRNOTAVAIL)"},
    {ENETDOWN, "Network interface is not configured (ENETDOWN)"},
    {ENETUNREACH, "Network is unreachable (ENETUNREACH)"},
    {ENETRESET, "Network has been reset (ENETRESET)"},
    {ECONNABORTED, "Connection aborted (ECONNABORTED)"},
    {ECONNRESET, "Connection reset by peer (ECONNRESET)"},
    {ENOBUFS, "No buffer space available (ENOBUFS)"},
    {EISCONN, "Socket is connected (EISCONN)"},
    {ENOTCONN, "Socket is not connected (ENOTCONN)"},
    {ESHUTDOWN, "Can't send after socket shutdown (ESHUTDOWN)"},
    {ETOOMANYREFS, "Too many open sockets (ETOOMANYREFS)"},
    {ETIMEDOUT, "Connection timed out (ETIMEDOUT)"},
    {ECONNREFUSED, "Connection refused (ECONNREFUSED)"},
    {EHOSTDOWN, "Host is down (EHOSTDOWN)"},
    {EHOSTUNREACH, "Host is unreachable (EHOSTUNREACH)"},
    {EALREADY, "Socket already connected (EALREADY)"},
    {EINPROGRESS, "Connection already in progress (EINPROGRESS)"},
    {ESTALE, "Stale handle (ESTALE)"},
    {EDQUOT, "Quota exceeded (EDQUOT)"},
};

} // namespace

std::string socketErrorText(int error)
{
    auto const* const found =
        std::find_if(std::begin(errorTexts), std::end(errorTexts),
                     [error](ErrnoText const& e) { return e.error == error; });
    if (found != std::end(errorTexts))
        return found->text;
    char text[64];
    std::snprintf(text, sizeof text, "Unknown Socket Error (0x%x)",
                  static_cast<unsigned int>(error));
    return text;
}

} // namespace KORVA
