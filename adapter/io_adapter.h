/// The two classes that every adapter implementation offers behind the C functions of dtc_io.h.
///
/// Statuses, buffers, time-outs and threads are as dtc_io.h tells; a C handle is a pointer to an
/// IOAdapter_Connection. The order of the virtual operations is part of the binary interface.
#pragma once

#include "../util/export.h"
#include "dtc_io.h"

namespace KORVA::DTC {

/// One end of a connection: a server's or a client's.
class KORVA_API IOAdapter_Connection
{
public:
    virtual ~IOAdapter_Connection();

    virtual DTC_IO_STATUS get_local_id(unsigned int* id) = 0;
    virtual DTC_IO_STATUS get_state(DTC_IO_LOADERIF** state) = 0;
    virtual DTC_IO_STATUS send(unsigned int clientId, unsigned int tag, unsigned int* buffer,
                               unsigned int length, unsigned int* sent) = 0;
    virtual DTC_IO_STATUS receive_ready(unsigned int timeout) = 0;
    virtual DTC_IO_STATUS receive(unsigned int* clientId, unsigned int* tag, unsigned int* buffer,
                                  unsigned int size, unsigned int* received,
                                  unsigned int timeout) = 0;

    /// The text of this connection's last failure; valid until its next one.
    virtual char const* get_error() = 0;
};

/// Makes connections and owns them until they are closed.
class KORVA_API IOAdapter
{
public:
    virtual ~IOAdapter();

    virtual char const* get_version() = 0;
    virtual int get_status() = 0;

    /// A server connection for the service, or null.
    virtual IOAdapter_Connection* create(char const* service, unsigned int param) = 0;

    /// A client connection to the service at the address, or null.
    virtual IOAdapter_Connection* open(char const* address, char const* service) = 0;

    /// Destroys a connection that this adapter made.
    virtual void close(IOAdapter_Connection* connection) = 0;

    /// The text of the last failure of create or open.
    virtual char const* get_error() = 0;
};

} // namespace KORVA::DTC
