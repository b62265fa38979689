#include "tools/dtcctl/adapter_check/library.h"

#include "tools/dtcctl/adapter_check/binding.h"

#include <dlfcn.h>
#include <link.h>

namespace dtcctl {
namespace {

link_map const* linkMap(void* handle)
{
    link_map* found = nullptr;
    return dlinfo(handle, RTLD_DI_LINKMAP, &found) == 0 ? found : nullptr;
}

} // namespace

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
    link_map const* const map = linkMap(m_dll.GetLibHandle());
    return map == nullptr ? "" : map->l_name;
}

std::vector<std::string> AdapterLibrary::looseEntries() const
{
    link_map const* const map = linkMap(m_dll.GetLibHandle());
    return map == nullptr ? std::vector<std::string>() : dtcctl::looseEntries(*map);
}

} // namespace dtcctl
