#pragma once

#include "adapter/dtc_io.h"

#include <memory>
#include <string>

namespace dtcctl {

/// The bytes of a message. Not initialised, so that room for a large one costs nothing until it
/// comes.
class Buffer
{
public:
    explicit Buffer(unsigned int sizeBytes);

    unsigned int size() const { return m_sizeBytes; }
    unsigned int* words() { return m_words.get(); }
    unsigned char* bytes() { return reinterpret_cast<unsigned char*>(m_words.get()); }

private:
    unsigned int m_sizeBytes;
    std::unique_ptr<unsigned int[]> m_words;
};

/// What one receive brought: its status and, if that is success, the message's sender, tag and
/// length.
struct Received
{
    DTC_IO_STATUS status;
    unsigned int clientId;
    unsigned int tag;
    unsigned int length;
};

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
