/// A client connection: talks to one server. One thread at a time may use it.
#pragma once

#include "adapter/skylark_io_adapter_connection.h"

namespace KORVA::DTC {

class skylark_Client final : public skylark_Connection
{
public:
    explicit skylark_Client(uSocket* socket);

    DTC_IO_STATUS send(unsigned int clientId, unsigned int tag, unsigned int* buffer,
                       unsigned int length, unsigned int* sent) override;
    DTC_IO_STATUS receive_ready(unsigned int timeout) override;
    DTC_IO_STATUS receive(unsigned int* clientId, unsigned int* tag, unsigned int* buffer,
                          unsigned int size, unsigned int* received, unsigned int timeout) override;
};

} // namespace KORVA::DTC
