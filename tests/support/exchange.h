#pragma once

#include "adapter/io_adapter.h"

#include <string>

namespace testing_support {

/// What one receive brought, the payload as text.
struct Incoming
{
    DTC_IO_STATUS status = 0;
    unsigned int clientId = 0;
    unsigned int tag = 0;
    std::string payload;
};

inline Incoming receiveFrom(KORVA::DTC::IOAdapter_Connection& connection, unsigned int timeoutMs,
                            unsigned int sizeBytes = 64)
{
    std::string buffer(sizeBytes, '\0');
    Incoming result;
    unsigned int length = 99;
    result.status = connection.receive(&result.clientId, &result.tag,
                                       reinterpret_cast<unsigned int*>(buffer.data()), sizeBytes,
                                       &length, timeoutMs);
    result.payload = buffer.substr(0, result.status == DTC_IO_SUCCESS ? length : 0);
    return result;
}

inline DTC_IO_STATUS sendTo(KORVA::DTC::IOAdapter_Connection& connection, unsigned int clientId,
                            unsigned int tag, std::string payload, unsigned int* sent = nullptr)
{
    return connection.send(clientId, tag, reinterpret_cast<unsigned int*>(payload.data()),
                           static_cast<unsigned int>(payload.size()), sent);
}

} // namespace testing_support
