/// Drives another adapter library through the classes that this library's own adapter offers.
///
/// A function that the library lacks shows as a failure with a text, never as a crash. Only want of
/// memory throws. Nothing here is locked: one thread at a time may use a proxy and its connections.
#pragma once

#include "../adapter/io_adapter.h"
#include "../util/export.h"
#include "../util/udll.h"
#include "io_adapter_library_interface.h"
#include "io_adapter_proxy_connection.h"

#include <memory>
#include <string>
#include <vector>

namespace KORVA::DTC {

/// Owns the library and every connection that it makes with it.
class KORVA_API IOAdapterProxy : public IOAdapter
{
public:
    /// Loads nothing.
    IOAdapterProxy();

    /// Closes the connections still open, in the order in which they were made, and then unloads
    /// the library.
    ~IOAdapterProxy() override;
    IOAdapterProxy(IOAdapterProxy const&) = delete;
    IOAdapterProxy& operator=(IOAdapterProxy const&) = delete;

    /// Loads the library and finds its functions; it need have none of them. path is a path, or a
    /// file name for the dynamic loader to look for, see uDll. A proxy drives one library for all
    /// its life: the same path again is true, another one false. After a failed load it may be
    /// tried again.
    bool Load(char const* path);
    bool IsLoaded() const { return m_library.IsLoaded(); }

    /// The library's answer; "Unknown" and a text when it cannot be asked.
    char const* get_version() override;

    /// The library's answer; 3 and a text when it cannot be asked.
    int get_status() override;

    /// The new connection belongs to the proxy, and is gone after close and with the proxy. The
    /// status alone tells whether the library made one. Null, with a text, on failure.
    IOAdapter_Connection* create(char const* service, unsigned int param) override;
    IOAdapter_Connection* open(char const* address, char const* service) override;

    /// Closes and destroys a connection; one that this proxy does not hold is left alone.
    void close(IOAdapter_Connection* connection) override;

    /// The text of the last failure, a copy of the library's own where it comes from there; ""
    /// before the first. Valid until the next failure.
    char const* get_error() override;

    /// Replaces the error text; null gives "Unknown Error".
    virtual void set_error(char const* text);

private:
    template <typename Function, typename First, typename Second>
    IOAdapter_Connection* connect(Function function, char const* missing, First first,
                                  Second second);
    using Connections = std::vector<std::unique_ptr<IOAdapterProxy_Connection>>;
    IOAdapter_Connection* adopt(void* handle);
    void closeAt(Connections::iterator place);

    IOAdapterLibraryInterface m_interface;
    Connections m_connections;
    uDll m_library{nullptr, -1};
    std::string m_error;
    std::string m_libraryPath;
};

} // namespace KORVA::DTC
