#pragma once

#include <string>

// Shared objects that belong to this library and are loaded only when they are needed.

namespace QzOs
{
    /// Loads the shared object `fileName` from the folder of this library: the one that the library was loaded from,
    /// else the one where its file really stands, if that was reached through symbolic links. No other folder is
    /// searched. Returns the address of `symbol` in it, or null with the reasons (UTF-8, with the paths). What was
    /// loaded is never unloaded. Any thread, not to be cancelled meanwhile.
    void* FindInOwnModule(std::string const& fileName, char const* symbol, std::string& reasons);
}
