#include "loader/io_adapter_proxy.h"

#include <algorithm>

namespace KORVA::DTC {
namespace {

template <typename Function>
void bind(uDll& library, Function& function, char const* symbol)
{
    function = reinterpret_cast<Function>(library.GetSymbolAddress(symbol));
}

IOAdapterLibraryInterface boundTo(uDll& library)
{
    IOAdapterLibraryInterface interface;
    bind(library, interface.get_version, "DTC_Get_Version");
    bind(library, interface.get_status, "DTC_Get_Status");
    bind(library, interface.create, "DTC_IO_Create");
    bind(library, interface.open, "DTC_IO_Open");
    bind(library, interface.close, "DTC_IO_Close");
    bind(library, interface.send, "DTC_IO_Send");
    bind(library, interface.send_v2, "DTC_IO_Send_V2");
    bind(library, interface.receive_ready, "DTC_IO_Receive_Ready");
    bind(library, interface.receive, "DTC_IO_Receive");
    bind(library, interface.local_id, "DTC_IO_Local_Id");
    bind(library, interface.get_state, "DTC_IO_Get_State");
    bind(library, interface.get_error, "DTC_Get_Error");
    if (interface.get_error == nullptr)
        interface.get_error = default_error;
    return interface;
}

} // namespace

IOAdapterProxy::IOAdapterProxy() = default;

IOAdapterProxy::~IOAdapterProxy()
{
    while (!m_connections.empty())
        closeAt(m_connections.begin());
    m_library.Unload();
}

bool IOAdapterProxy::Load(char const* path)
{
    std::string wanted = path == nullptr ? "" : path;
    if (IsLoaded()) {
        if (wanted == m_libraryPath)
            return true;
        set_error("Attempt to load different adapter library");
        return false;
    }
    m_libraryPath = std::move(wanted);
    if (!m_library.Load(m_libraryPath.c_str(), -1)) {
        m_error = "Load of " + m_libraryPath + " failed";
        return false;
    }
    try {
        m_interface = boundTo(m_library);
    } catch (...) { // out of memory: a proxy that is loaded has its functions
        m_library.Unload();
        throw;
    }
    return true;
}

char const* IOAdapterProxy::get_version()
{
    if (m_interface.get_version != nullptr)
        return m_interface.get_version();
    set_error("Function DTC_Get_Version() not found");
    return "Unknown";
}

int IOAdapterProxy::get_status()
{
    if (m_interface.get_status != nullptr)
        return m_interface.get_status();
    set_error("Function DTC_Get_Status() not found");
    return 3;
}

IOAdapter_Connection* IOAdapterProxy::create(char const* service, unsigned int param)
{
    return connect(m_interface.create, "Function DTC_IO_Create() not found", service, param);
}

IOAdapter_Connection* IOAdapterProxy::open(char const* address, char const* service)
{
    return connect(m_interface.open, "Function DTC_IO_Open() not found", address, service);
}

template <typename Function, typename First, typename Second>
IOAdapter_Connection* IOAdapterProxy::connect(Function function, char const* missing, First first,
                                              Second second)
{
    if (function == nullptr) {
        set_error(missing);
        return nullptr;
    }
    void* handle = nullptr;
    if (function(first, second, &handle) != DTC_IO_SUCCESS) {
        set_error(m_interface.get_error());
        return nullptr;
    }
    return adopt(handle);
}

IOAdapter_Connection* IOAdapterProxy::adopt(void* handle)
{
    std::unique_ptr<IOAdapterProxy_Connection> connection;
    try {
        connection = std::make_unique<IOAdapterProxy_Connection>(handle, m_interface);
    } catch (...) { // out of memory: nobody owns the handle
        if (m_interface.close != nullptr)
            m_interface.close(handle);
        throw;
    }
    m_connections.push_back(std::move(connection));
    return m_connections.back().get();
}

void IOAdapterProxy::close(IOAdapter_Connection* connection)
{
    auto const found =
        std::find_if(m_connections.begin(), m_connections.end(),
                     [connection](auto const& owned) { return owned.get() == connection; });
    if (found != m_connections.end())
        closeAt(found);
}

/// Off the list first: the library may call back into a program that opens or closes others.
void IOAdapterProxy::closeAt(Connections::iterator place)
{
    std::unique_ptr<IOAdapterProxy_Connection> const connection = std::move(*place);
    m_connections.erase(place);
}

char const* IOAdapterProxy::get_error()
{
    return m_error.c_str();
}

void IOAdapterProxy::set_error(char const* text)
{
    m_error = text == nullptr ? "Unknown Error" : text;
}

} // namespace KORVA::DTC
