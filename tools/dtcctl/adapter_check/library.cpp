#include "tools/dtcctl/adapter_check/library.h"

#include <dlfcn.h>
#include <link.h>

namespace dtcctl {

bool AdapterLibrary::load(std::string const& file)
{
    m_running = "its loading";
    bool const isLoaded = m_dll.Load(file.c_str(), -1);
    m_running = nullptr;
    for (std::size_t i = 0; isLoaded && i < entryNames.size(); ++i)
        m_addresses[i] = m_dll.GetSymbolAddress(entryNames[i]);
    return isLoaded;
}

bool AdapterLibrary::unload()
{
    m_addresses = {};
    m_running = "its unloading";
    bool const isUnloaded = m_dll.Unload();
    m_running = nullptr;
    return isUnloaded;
}

std::string AdapterLibrary::path() const
{
    link_map* found = nullptr;
    return dlinfo(m_dll.GetLibHandle(), RTLD_DI_LINKMAP, &found) == 0 ? found->l_name : "";
}

} // namespace dtcctl
