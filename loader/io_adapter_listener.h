/// Serves one service on several adapter devices at once.
///
/// The adapter library of a device is named by the device: "skylark0", and "\\.\skylark0" as well,
/// stand for "skylark_io.so". A device name with a slash gives a path, any other a file name that
/// the dynamic loader looks for, see uDll. Only want of memory, and what a logger throws, comes out
/// as an exception. One thread at a time may use a listener and its connections. Pointers must not
/// be null.
#pragma once

#include "../adapter/io_adapter.h"
#include "../util/export.h"
#include "dtc_logger.h"

#include <memory>
#include <string>
#include <vector>

namespace KORVA::DTC {

class IOAdapterProxy;

/// Owns the libraries and their server connections.
class KORVA_API IOAdapterListener
{
public:
    /// Adds a connection for each device, in their order; those that fail are left out. Tells the
    /// logger how many there are, and, when there is none, standard output.
    IOAdapterListener(std::vector<std::string>& devices, char const* service, DTC_Logger& logger);

    /// Closes the connections and unloads their libraries, in the order of the devices.
    ~IOAdapterListener();
    IOAdapterListener(IOAdapterListener const&) = delete;
    IOAdapterListener& operator=(IOAdapterListener const&) = delete;

    /// Loads the device's library and makes a server connection for the service with it. On failure
    /// false, with the reason given to the logger and to standard output; without memory for the
    /// proxy to the logger alone, without memory for the record to nobody.
    bool add_connection(char const* device, char const* service, DTC_Logger& logger);

    /// The first connection, in the order of the devices, that has a message ready, or null. It
    /// stays the listener's.
    ///
    /// Asks one connection after the other, each for an equal share of timeout milliseconds: a
    /// message on a later one is noticed after the shares of those before it. With more than one
    /// connection even 0xFFFFFFFF is shared out, and so a limit of weeks.
    ///
    /// Receive from it at once, with time-out 0: a server of skylark_io.so also has something to
    /// receive when a client leaves, and then waits for the clients that stay, see dtc_io.h.
    IOAdapter_Connection* listen(unsigned int timeout);

    unsigned int connection_count() const;

private:
    struct connection_data
    {
        std::unique_ptr<IOAdapterProxy> proxy;
        IOAdapter_Connection* connection; // the proxy's
    };

    bool addRecord(std::unique_ptr<IOAdapterProxy> proxy, IOAdapter_Connection* connection);

    std::vector<std::unique_ptr<connection_data>> m_connections;
};

} // namespace KORVA::DTC
