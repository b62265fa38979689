#include "tools/dtcctl/support/address.h"

#include "tools/dtcctl/support/failure.h"

#include <arpa/inet.h>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>

namespace dtcctl {
namespace {

/// Whether the text is all of a 32-bit number as the library reads it: decimal, octal after "0" or
/// hexadecimal after "0x".
bool isNumber(std::string const& text)
{
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0)
        return false;
    char* end = nullptr;
    errno = 0;
    unsigned long const number = std::strtoul(text.c_str(), &end, 0);
    return *end == '\0' && errno == 0 && number <= std::numeric_limits<std::uint32_t>::max();
}

/// Whether the last part is a port, because what stands before it names a machine by itself.
bool isPortAfter(std::string const& before)
{
    return before == "localhost" || before.find_first_of(".:") != std::string::npos;
}

std::string numberForm(in_addr address)
{
    char text[sizeof "0xFFFFFFFF"];
    std::snprintf(text, sizeof text, "0x%08X", ntohl(address.s_addr));
    return text;
}

std::string resolve(std::string const& name)
{
    if (name == "localhost") // also where no file and no server tells (RFC 6761, 6.3)
        return numberForm({htonl(INADDR_LOOPBACK)});
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    int const error = getaddrinfo(name.c_str(), nullptr, &hints, &found);
    if (error != 0)
        throw Failure("cannot resolve " + name + ": " + gai_strerror(error));
    std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> const owner(found, freeaddrinfo);
    return numberForm(reinterpret_cast<sockaddr_in const*>(found->ai_addr)->sin_addr);
}

} // namespace

std::string libraryAddress(std::string const& given)
{
    in_addr dotted{};
    if (inet_pton(AF_INET, given.c_str(), &dotted) == 1)
        return numberForm(dotted);
    std::size_t const colon = given.rfind(':');
    bool const hasColon = colon != std::string::npos;
    std::string const last = given.substr(colon + 1); // npos + 1 is 0
    if (isNumber(last)) {
        if (hasColon && isPortAfter(given.substr(0, colon)))
            throw UsageError(given + ": give the address without a port, the service decides it");
        return given;
    }
    if (given.empty() || hasColon || std::isdigit(static_cast<unsigned char>(given[0])) != 0)
        throw UsageError("\"" + given + "\": not an IPv4 address");
    return resolve(given);
}

} // namespace dtcctl
