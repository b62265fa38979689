#pragma once

#include "../adapter/io_adapter.h"
#include "../util/export.h"
#include "io_adapter_library_interface.h"

#include <string>

namespace KORVA::DTC {

/// A connection of a loaded adapter library.
///
/// Each operation goes to the library's function with the arguments as they are and returns its
/// status; one that fails leaves the library's error text, copied at once, in get_error. A function
/// that the library lacks fails with -1 and a text like "Function DTC_IO_Receive() not found";
/// get_state alone succeeds then.
///
/// Nothing here is locked: one thread at a time may use a connection, its proxy included, unless
/// the library promises more; even then threads that fail at the same time on one connection would
/// write its error text together.
class KORVA_API IOAdapterProxy_Connection : public IOAdapter_Connection
{
public:
    /// Takes over a handle that the library gave out; null is a handle like any other. The table is
    /// not owned and must outlive the connection; one without get_error is given default_error.
    IOAdapterProxy_Connection(void* handle, IOAdapterLibraryInterface& interface);

    /// Closes the handle in the library, unless close() has done so.
    ~IOAdapterProxy_Connection() override;
    IOAdapterProxy_Connection(IOAdapterProxy_Connection const&) = delete;
    IOAdapterProxy_Connection& operator=(IOAdapterProxy_Connection const&) = delete;

    DTC_IO_STATUS get_local_id(unsigned int* id) override;

    /// The library's result as it comes, without a text. A library without this function: 0, with
    /// *state left alone and a text.
    DTC_IO_STATUS get_state(DTC_IO_LOADERIF** state) override;

    /// Through DTC_IO_Send_V2, or else DTC_IO_Send: *sent is then length on success and 0 on
    /// failure.
    DTC_IO_STATUS send(unsigned int clientId, unsigned int tag, unsigned int* buffer,
                       unsigned int length, unsigned int* sent) override;
    DTC_IO_STATUS receive_ready(unsigned int timeout) override;
    DTC_IO_STATUS receive(unsigned int* clientId, unsigned int* tag, unsigned int* buffer,
                          unsigned int size, unsigned int* received, unsigned int timeout) override;

    /// "" before the first failure; valid until the next.
    char const* get_error() override;

    /// Replaces the error text; null gives "Unknown Error".
    virtual void set_error(char const* text);

    /// Closes the handle in the library, where it has a function for that, once: called again, and
    /// when the connection is destroyed, it does nothing. The library may have given the handle to
    /// something else since, so every later operation fails with DTC_IO_INVALID and "The connection
    /// is closed" without reaching it.
    void close();

private:
    template <typename Function, typename... Arguments>
    DTC_IO_STATUS forward(Function function, char const* missing, Arguments... arguments);
    bool isOpen();

    void* m_handle;
    IOAdapterLibraryInterface& m_interface;
    std::string m_error;
    bool m_closed = false;
};

} // namespace KORVA::DTC
