#pragma once

#include "tools/dtcctl/support/buffer.h"

#include <memory>
#include <string>

namespace dtcctl {

/// One end of a connection, closed when it goes out of scope.
class Connection
{
public:
    /// Throws Failure with the library's text.
    static Connection serve(std::string const& service);

    /// The address in any form that libraryAddress takes. Throws as it does, and Failure with the
    /// library's text.
    static Connection open(std::string const& address, std::string const& service);

    Received receive(Buffer& buffer, unsigned int timeoutMs);
    DTC_IO_STATUS send(unsigned int clientId, unsigned int tag, Buffer& buffer,
                       unsigned int length);
    unsigned int localId();

private:
    explicit Connection(void* handle) : m_handle(handle, DTC_IO_Close) {}

    std::unique_ptr<void, void (*)(void*)> m_handle;
};

/// The library's text for a failure, without the line feed that some of its texts end in; for a
/// failure without a text, what the status means.
std::string failureText(DTC_IO_STATUS status);

} // namespace dtcctl
