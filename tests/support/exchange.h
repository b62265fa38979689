#pragma once

#include "adapter/io_adapter.h"

#include <string>

namespace testing_support {

/// What one receive brought. Numbers that it leaves alone are 99.
struct Incoming
{
    DTC_IO_STATUS status = 0;
    unsigned int clientId = 99;
    unsigned int tag = 99;
    unsigned int length = 99;
    std::string buffer;
    std::string payload;
};

inline Incoming receiveFrom(KORVA::DTC::IOAdapter_Connection& connection, unsigned int timeoutMs,
                            unsigned int sizeBytes = 64)
{
    Incoming result;
    result.buffer.assign(sizeBytes, '\0');
    result.status = connection.receive(&result.clientId, &result.tag,
                                       reinterpret_cast<unsigned int*>(result.buffer.data()),
                                       sizeBytes, &result.length, timeoutMs);
    result.payload = result.buffer.substr(0, result.status == DTC_IO_SUCCESS ? result.length : 0);
    return result;
}

inline DTC_IO_STATUS sendTo(KORVA::DTC::IOAdapter_Connection& connection, unsigned int clientId,
                            unsigned int tag, std::string payload, unsigned int* sent = nullptr)
{
    return connection.send(clientId, tag, reinterpret_cast<unsigned int*>(payload.data()),
                           static_cast<unsigned int>(payload.size()), sent);
}

} // namespace testing_support
