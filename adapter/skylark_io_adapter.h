/// The transport adapter: makes server and client connections over TCP and owns them.
///
/// Nothing here is locked: create, open and close must not run at the same time as each other.
#pragma once

#include "adapter/io_adapter.h"

#include <memory>
#include <string>
#include <vector>

namespace KORVA::DTC {

class skylark_Connection;

class skylark_IOAdapter final : public IOAdapter
{
public:
    skylark_IOAdapter();

    /// Destroys every connection still open, in the order in which they were made. No thread may be
    /// inside their calls any more.
    ~skylark_IOAdapter() override;
    skylark_IOAdapter(skylark_IOAdapter const&) = delete;
    skylark_IOAdapter& operator=(skylark_IOAdapter const&) = delete;

    char const* get_version() override;
    int get_status() override;
    IOAdapter_Connection* create(char const* service, unsigned int param) override;
    IOAdapter_Connection* open(char const* address, char const* service) override;
    void close(IOAdapter_Connection* connection) override;
    char const* get_error() override;

    /// Ignores SIGPIPE for the process and sets up the network; whether it is configured.
    bool initialize();

    /// Wakes the threads inside every connection's calls and waits until the last one has left.
    void endCalls();

    /// Leaves all connections as they are, for ever.
    void abandonConnections();

    /// Takes ownership; null is ignored.
    void add_connection(skylark_Connection* connection);
    void remove_connection(skylark_Connection* connection);

    /// The port of a service, and the host that an address names: its part after the last ':', read
    /// as one number, in dotted form. host is empty when that part does not begin with a 32-bit
    /// number. False, with host empty and port 0, for an unknown service.
    bool lookup_service(char const* address, char const* service, std::string& host,
                        unsigned int& port);

    /// host and port of an address like "tcp://10.0.0.2:55755,more". Without "tcp://" the text is
    /// used whole; without ':' it is all port; digits that are missing give port 0.
    void split_address(char const* address, std::string& host, unsigned int& port);

private:
    std::string m_error;
    std::vector<std::unique_ptr<skylark_Connection>> m_connections;
};

} // namespace KORVA::DTC
