#include "tools/dtcctl_adapter_library.h"

#include <dlfcn.h>
#include <link.h>

namespace dtcctl {

bool AdapterLibrary::load(std::string const& file)
{
    CallMark const mark(m_running, "its loading");
    if (!m_dll.Load(file.c_str(), -1))
        return false;
    for (std::size_t i = 0; i < entryNames.size(); ++i)
        m_addresses[i] = m_dll.GetSymbolAddress(entryNames[i]);
    return true;
}

bool AdapterLibrary::unload()
{
    CallMark const mark(m_running, "its unloading");
    m_addresses = {};
    return m_dll.Unload();
}

std::string AdapterLibrary::path() const
{
    link_map* found = nullptr;
    bool const isKnown = dlinfo(m_dll.GetLibHandle(), RTLD_DI_LINKMAP, &found) == 0;
    return isKnown ? found->l_name : "";
}

} // namespace dtcctl
