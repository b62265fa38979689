#include "util/udll.h"

#include <cstring>
#include <dlfcn.h>

namespace KORVA {
namespace {

constexpr int defaultMode = -1;
constexpr char extension[] = ".so";

int orLazy(int mode)
{
    return mode == defaultMode ? RTLD_LAZY : mode;
}

/// The loader's text for what this thread has just done, "" when that went well.
char const* loaderText()
{
    char const* const text = dlerror();
    return text == nullptr ? "" : text;
}

} // namespace

int const _anyAddressInThisModuleWillDo = 0;

uDll::uDll(char const* path, int mode) : m_path(path == nullptr ? "" : path), m_mode(orLazy(mode))
{}

uDll::~uDll()
{
    if (m_handle != nullptr)
        dlclose(m_handle);
}

bool uDll::Load(char const* path, int mode)
{
    if (m_loaded)
        return true;
    if (path != nullptr)
        m_path = path;
    if (mode != defaultMode)
        m_mode = mode;
    if (m_path.empty())
        return false;
    return InternalLoad(m_path.c_str(), m_mode);
}

bool uDll::FindAndLoad(char const* name, int mode)
{
    if (name == nullptr)
        return false;
    std::string platformName;
    GetPlatformName(platformName, name);
    return Load(platformName.c_str(), mode);
}

bool uDll::InternalLoad(char const* filename, int mode)
{
    void* const before = m_handle;
    if (mode == defaultMode)
        m_mode = RTLD_LAZY;
    m_error.clear();
    m_handle = dlopen(filename, orLazy(mode));
    m_loaded = m_handle != nullptr;
    if (!m_loaded)
        m_error = loaderText();
    if (before != nullptr)
        dlclose(before); // after the other, so that one in use by both is not begun anew
    return m_loaded;
}

bool uDll::Unload()
{
    if (!m_loaded || m_handle == nullptr)
        return false;
    void* const handle = m_handle;
    m_loaded = false;
    m_handle = nullptr;
    m_error.clear();
    if (dlclose(handle) != 0)
        m_error = loaderText();
    return m_error.empty();
}

void* uDll::GetSymbolAddress(char const* symbol)
{
    return m_loaded ? InternalGetAddress(symbol, true) : nullptr;
}

void* uDll::InternalGetAddress(char const* symbol, bool recordError)
{
    dlerror(); // a symbol may have the address null: only a text of this very call tells
    void* const address = dlsym(m_handle, symbol);
    if (recordError)
        m_error = address == nullptr ? loaderText() : "";
    return address;
}

void uDll::GetModulePath(std::string& out) const
{
    Dl_info info{};
    if (m_loaded && dladdr(&_anyAddressInThisModuleWillDo, &info) != 0)
        out += info.dli_fname;
}

bool uDll::hasExtension(char const* name)
{
    return name != nullptr && std::strstr(name, extension) != nullptr &&
           std::strcmp(name, extension) != 0;
}

void uDll::GetPlatformName(std::string& out, char const* name)
{
    if (name == nullptr)
        return;
    if (hasExtension(name))
        out += name;
    else
        out += std::string("lib") + name + extension;
}

void uDll::GetUniversalName(std::string& out, char const* name)
{
    if (name == nullptr)
        return;
    std::string const whole = name;
    constexpr std::size_t affixes = 6; // as long as "lib" and ".so" together
    if (!hasExtension(name))
        out += whole;
    else if (whole.size() < affixes)
        out += whole.substr(3);
    else
        out += whole.substr(3, whole.size() - affixes);
}

} // namespace KORVA
