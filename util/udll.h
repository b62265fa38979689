/// One dynamically loaded shared library.
///
/// Remembers the library's path, the mode of loading, the loader's handle and the loader's text of
/// the last failed operation; an operation that succeeds leaves that text empty. No directory is
/// searched here: a name without a slash is looked for by the dynamic loader itself, in
/// LD_LIBRARY_PATH and its configured directories, see dlopen(3). Only want of memory throws.
/// Pointers must not be null, where nothing else is said. One thread at a time may use an object.
#pragma once

#include "export.h"

#include <string>

namespace KORVA {

extern "C" {
/// A word of no value; inside skylark_io.so its address tells the library's file.
extern KORVA_API int const _anyAddressInThisModuleWillDo;
}

class KORVA_API uDll
{
public:
    /// Loads nothing. path, a file name or a path, may be null for none yet. mode holds the flags
    /// of dlopen(3); here and below -1 stands for a default, which at first is RTLD_LAZY.
    uDll(char const* path, int mode);

    /// Unloads the library, if one is loaded.
    ~uDll();
    uDll(uDll const&) = delete;
    uDll& operator=(uDll const&) = delete;

    /// Loads a library by file name or path; null and -1 stand for those used last. True, with
    /// nothing changed, when one is loaded already. False without a text when there is no path.
    bool Load(char const* path, int mode);

    /// The same by the platform name of name, see GetPlatformName; false for null.
    bool FindAndLoad(char const* name, int mode);

    /// Gives the library back: it leaves the process with its last user. False when nothing is
    /// loaded, and when the loader fails; nothing is loaded afterwards in any case.
    bool Unload();

    /// The address of a symbol that the loaded library exports; null when it has none, and, with
    /// the text as it was, when nothing is loaded.
    void* GetSymbolAddress(char const* symbol);

    /// Loads without touching the path; a mode other than -1 is not kept, and -1 is RTLD_LAZY. A
    /// library that is loaded already is given back, whether that succeeds or not.
    bool InternalLoad(char const* filename, int mode);

    /// The address of a symbol; when nothing is loaded, among the global symbols of the process.
    /// Leaves the text alone unless recordError is set.
    void* InternalGetAddress(char const* symbol, bool recordError);

    bool IsLoaded() const { return m_loaded; }
    void* GetLibHandle() const { return m_handle; } ///< The loader's; null when nothing is loaded.
    int GetMode() const { return m_mode; }
    char const* GetPath() const { return m_path.c_str(); }
    char const* GetError() const { return m_error.c_str(); }

    /// Appends the file name of the library that holds this class, not that of the loaded one;
    /// nothing when none is loaded.
    void GetModulePath(std::string& out) const;

    /// Whether a name counts as that of a file: ".so" stands somewhere in it and is not all of it.
    static bool hasExtension(char const* name);

    /// Appends "lib" + name + ".so", or name alone when it has the extension; nothing for null.
    static void GetPlatformName(std::string& out, char const* name);

    /// Appends name without its first and last three characters when it has the extension, whatever
    /// they are ("libfoo.so" gives "foo"), otherwise the whole of it; nothing for null.
    static void GetUniversalName(std::string& out, char const* name);

private:
    bool m_loaded = false;
    std::string m_path;
    int m_mode;
    void* m_handle = nullptr;
    std::string m_error;
};

} // namespace KORVA
