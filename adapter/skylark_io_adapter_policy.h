/// How the two services differ: from how many machines clients may come, and what is recorded of
/// them. Who is admitted tells skylark_io_adapter_admission.h.
#pragma once

#include "adapter/skylark_io_adapter_server.h"

/// Serves one client machine at a time: "dtc_io".
class skylark_Server_SingleAccess final : public KORVA::DTC::skylark_Server
{
public:
    using skylark_Server::skylark_Server;

    bool is_multiclient_allowed() override { return false; }
    void on_first_client_added(char const* address) noexcept override;
    void on_last_client_removed() noexcept override;
};

/// Serves clients from any number of machines: "dtc_conf".
class skylark_Server_SharedAccess final : public KORVA::DTC::skylark_Server
{
public:
    using skylark_Server::skylark_Server;

    bool is_multiclient_allowed() override { return true; }
    void on_first_client_added(char const* /*address*/) noexcept override {}
    void on_last_client_removed() noexcept override {}
};
