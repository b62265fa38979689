#include "tools/dtcctl_address.h"

#include "tools/dtcctl_failure.h"

#include <arpa/inet.h>
#include <cctype>
#include <cstdio>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>

namespace dtcctl {
namespace {

bool startsWithDigit(std::string const& text)
{
    return !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) != 0;
}

std::string numberForm(in_addr address)
{
    char text[sizeof "0xFFFFFFFF"];
    std::snprintf(text, sizeof text, "0x%08X", ntohl(address.s_addr));
    return text;
}

std::string resolve(std::string const& name)
{
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
    std::string const last = given.substr(colon + 1); // npos + 1 is 0
    if (startsWithDigit(last)) {
        bool const dottedBeforePort =
            colon != std::string::npos &&
            inet_pton(AF_INET, given.substr(0, colon).c_str(), &dotted) == 1;
        if (dottedBeforePort)
            throw UsageError(given + ": give the address without a port, the service decides it");
        if (last.find('.') != std::string::npos)
            throw UsageError(given + ": not an IPv4 address");
        return given;
    }
    if (given.empty() || colon != std::string::npos)
        throw UsageError("\"" + given + "\": not an address");
    return resolve(given);
}

} // namespace dtcctl
