#include "loader/io_adapter_listener.h"

#include "loader/io_adapter_proxy.h"

#include <cstdio>
#include <new>

namespace KORVA::DTC {
namespace {

constexpr unsigned int createParam = 10;

/// The file name of a device's adapter library.
std::string libraryFileName(char const* device)
{
    static constexpr char prefix[] = R"(\\.\)";
    std::string name = device;
    std::size_t const found = name.find(prefix);
    if (found != std::string::npos)
        name.erase(0, found + sizeof prefix - 1);
    if (!name.empty())
        name.pop_back(); // the device's number
    return name + "_io" + ".so";
}

} // namespace

IOAdapterListener::IOAdapterListener(std::vector<std::string>& devices, char const* service,
                                     DTC_Logger& logger)
{
    for (std::string const& device : devices)
        add_connection(device.c_str(), service, logger);
    if (m_connections.empty())
        std::printf("No connections exist for %s\n", service);
    logger.log_info("Listening to %d connections\n", static_cast<int>(connection_count()));
}

IOAdapterListener::~IOAdapterListener()
{
    for (auto& record : m_connections) {
        if (record->proxy != nullptr && record->connection != nullptr)
            record->proxy->close(record->connection);
        record.reset();
    }
}

bool IOAdapterListener::add_connection(char const* device, char const* service, DTC_Logger& logger)
{
    std::unique_ptr<IOAdapterProxy> proxy(new (std::nothrow) IOAdapterProxy);
    if (proxy == nullptr) {
        logger.log_error("Failed to allocate IOAdapterProxy object");
        return false;
    }
    IOAdapter_Connection* connection = nullptr;
    if (proxy->Load(libraryFileName(device).c_str()))
        connection = proxy->create(service, createParam);
    if (connection != nullptr)
        return addRecord(std::move(proxy), connection);
    logger.log_error("%s", proxy->get_error());
    std::puts(proxy->get_error());
    return false;
}

/// Without memory for the record the proxy goes, and closes the connection.
bool IOAdapterListener::addRecord(std::unique_ptr<IOAdapterProxy> proxy,
                                  IOAdapter_Connection* connection)
{
    try {
        m_connections.push_back(
            std::make_unique<connection_data>(connection_data{std::move(proxy), connection}));
    } catch (std::bad_alloc const&) {
        return false;
    }
    return true;
}

IOAdapter_Connection* IOAdapterListener::listen(unsigned int timeout)
{
    if (m_connections.empty())
        return nullptr;
    unsigned int const share = timeout / connection_count();
    for (auto const& record : m_connections) {
        if (record->connection != nullptr &&
            record->connection->receive_ready(share) == DTC_IO_SUCCESS)
            return record->connection;
    }
    return nullptr;
}

unsigned int IOAdapterListener::connection_count() const
{
    return static_cast<unsigned int>(m_connections.size());
}

} // namespace KORVA::DTC
