#include "adapter/skylark_io_adapter.h"

#include "adapter/skylark_io_adapter_client.h"
#include "adapter/skylark_io_adapter_network.h"
#include "adapter/skylark_io_adapter_policy.h"
#include "util/usocket.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>

namespace KORVA::DTC {
namespace {

constexpr char const* noSocket = "Failed to create socket";

template <typename Server>
skylark_Connection* serverOn(std::unique_ptr<uSocket> socket, unsigned int param)
{
    return new Server(socket.release(), param);
}

struct Service
{
    char const* name;
    unsigned int port;
    skylark_Connection* (*makeServer)(std::unique_ptr<uSocket> socket, unsigned int param);
};

constexpr Service services[] = {{"dtc_io", 55755, serverOn<skylark_Server_SingleAccess>},
                                {"dtc_conf", 55756, serverOn<skylark_Server_SharedAccess>}};

char const* textOf(char const* text)
{
    return text == nullptr ? "" : text;
}

/// Null when the service is unknown.
Service const* findService(char const* name)
{
    auto const* const found =
        std::find_if(std::begin(services), std::end(services), [name](Service const& candidate) {
            return candidate.name == std::string_view(textOf(name));
        });
    return found != std::end(services) ? found : nullptr;
}

/// The number that text begins with: hexadecimal after "0x", octal after "0", else decimal.
std::optional<std::uint32_t> leadingNumber(std::string_view text)
{
    int radix = 10;
    if (text.size() > 1 && text[0] == '0') {
        bool const isHexadecimal = text[1] == 'x' || text[1] == 'X';
        if (isHexadecimal && text.size() == 2)
            return 0;
        radix = isHexadecimal ? 16 : 8;
        text.remove_prefix(isHexadecimal ? 2 : 0);
    }
    std::uint32_t number = 0;
    auto const [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, radix);
    if (error != std::errc())
        return std::nullopt;
    return number;
}

std::string dotted(std::uint32_t host)
{
    char text[sizeof "255.255.255.255"];
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", static_cast<int>(host >> 24),
                  static_cast<int>(host >> 16 & 0xFFU), static_cast<int>(host >> 8 & 0xFFU),
                  static_cast<int>(host & 0xFFU));
    return text;
}

/// Why a socket could not be made; a descriptor that select could not be asked about counts as
/// none.
std::string failureOf(uSocket const* socket, char const* advice)
{
    if (socket == nullptr || socket->IsDescriptorTooLarge())
        return noSocket;
    return std::string(socket->GetLastErrorText()) + advice;
}

} // namespace

skylark_IOAdapter::skylark_IOAdapter()
{
    m_connections.reserve(2);
}

skylark_IOAdapter::~skylark_IOAdapter()
{
    for (auto& connection : m_connections)
        connection.reset();
}

char const* skylark_IOAdapter::get_version()
{
    return "Korvane Skylark Ethernet";
}

int skylark_IOAdapter::get_status()
{
    switch (get_network_status()) {
    case 0:
        return 0;
    case 2: // the set-up never says so
        return 1;
    default:
        return 3;
    }
}

char const* skylark_IOAdapter::get_error()
{
    return m_error.c_str();
}

bool skylark_IOAdapter::initialize()
{
    std::signal(SIGPIPE, SIG_IGN);
    return initialize_network();
}

IOAdapter_Connection* skylark_IOAdapter::create(char const* service, unsigned int param)
{
    if (!initialize())
        return nullptr;
    std::string host;
    unsigned int port = 0;
    if (!lookup_service("skylark0", service, host, port)) {
        m_error = std::string("Failed to look up ") + textOf(service);
        return nullptr;
    }
    std::unique_ptr<uSocket> socket(new (std::nothrow) uSocket);
    if (socket == nullptr || socket->ServerCreate(port) != uSocket::Success) {
        m_error = failureOf(socket.get(), "");
        return nullptr;
    }
    try {
        auto* const server = findService(service)->makeServer(std::move(socket), param);
        add_connection(server);
        return server;
    } catch (std::system_error const&) {
        m_error = noSocket;
        return nullptr;
    }
}

IOAdapter_Connection* skylark_IOAdapter::open(char const* address, char const* service)
{
    if (!initialize())
        return nullptr;
    std::string host;
    unsigned int port = 0;
    if (!lookup_service(address, service, host, port) || host.empty()) {
        m_error = std::string("Failed to look up ") + textOf(address) + "::" + textOf(service);
        return nullptr;
    }
    std::unique_ptr<uSocket> socket(new (std::nothrow) uSocket);
    if (socket == nullptr || socket->ClientCreate(host.c_str(), port) != uSocket::Success) {
        m_error = failureOf(socket.get(), ": Check the IP address");
        return nullptr;
    }
    auto* const client = new skylark_Client(socket.release());
    add_connection(client);
    return client;
}

void skylark_IOAdapter::close(IOAdapter_Connection* connection)
{
    auto const found =
        std::find_if(m_connections.begin(), m_connections.end(),
                     [connection](auto const& held) { return held.get() == connection; });
    if (connection == nullptr || found == m_connections.end())
        return;
    std::unique_ptr<skylark_Connection> const closing = std::move(*found);
    m_connections.erase(found);
    closing->endCalls();
}

void skylark_IOAdapter::endCalls()
{
    for (auto const& connection : m_connections)
        connection->endCalls();
}

void skylark_IOAdapter::abandonConnections()
{
    for (auto& connection : m_connections)
        static_cast<void>(connection.release());
}

void skylark_IOAdapter::add_connection(skylark_Connection* connection)
{
    if (connection == nullptr)
        return;
    std::unique_ptr<skylark_Connection> owned(connection);
    if (m_connections.size() == m_connections.capacity())
        m_connections.reserve(2 * m_connections.capacity());
    m_connections.push_back(std::move(owned));
}

void skylark_IOAdapter::remove_connection(skylark_Connection* connection)
{
    close(connection);
}

bool skylark_IOAdapter::lookup_service(char const* address, char const* service, std::string& host,
                                       unsigned int& port)
{
    host.clear();
    port = 0;
    Service const* const found = findService(service);
    if (found == nullptr) {
        std::printf("Unknown service requested: %s\n", textOf(service));
        return false;
    }
    port = found->port;
    std::string_view part = textOf(address);
    part.remove_prefix(part.rfind(':') + 1); // npos + 1 is 0
    if (auto const number = leadingNumber(part))
        host = dotted(*number);
    return true;
}

void skylark_IOAdapter::split_address(char const* address, std::string& host, unsigned int& port)
{
    constexpr std::string_view scheme = "tcp://";
    host.clear();
    port = 0;
    std::string rest = textOf(address);
    std::size_t const start = rest.find(scheme);
    if (start != std::string::npos) {
        rest.erase(0, start + scheme.size());
        rest.resize(std::min(rest.size(), rest.find(',')));
    }
    std::size_t const colon = rest.find(':');
    if (colon != std::string::npos) {
        host = rest.substr(0, colon);
        rest.erase(0, colon + 1);
    }
    port = static_cast<unsigned int>(std::strtol(rest.c_str(), nullptr, 10));
}

} // namespace KORVA::DTC
