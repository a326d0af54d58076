#include "os/OwnModules.h"

#include <climits>
#include <cstdlib>
#include <memory>
#include <vector>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace QzOs
{
    namespace
    {
        std::string GetFolder(std::string const& path)
        {
            return path.substr(0, path.rfind('/') + 1);
        }

        std::string Resolve(char const* path)
        {
            std::unique_ptr<char, void (*)(void*)> const resolved(realpath(path, nullptr), std::free);
            return resolved ? resolved.get() : "";
        }

        /// The absolute path by which the file with this code was loaded.
        std::string GetOwnFile()
        {
            static char const gHere = 0;
            Dl_info info;
            void* entry = nullptr;
            if (!dladdr1(&gHere, &info, &entry, RTLD_DL_LINKMAP))
                return "";
            std::string name = static_cast<link_map const*>(entry)->l_name;
            // This code is linked into the program itself.
            if (name.empty())
                return Resolve("/proc/self/exe");
            if (name.starts_with('/'))
                return name;
            // It was relative to what was the current directory then.
            char folder[PATH_MAX];
            if (dlinfo(entry, RTLD_DI_ORIGIN, folder) != 0)
                return "";
            return std::string(folder) + name.substr(name.rfind('/'));
        }

        std::vector<std::string> GetOwnFolders()
        {
            std::string const own = GetOwnFile();
            std::vector<std::string> folders{GetFolder(own)};
            if (std::string resolved = GetFolder(Resolve(own.c_str())); resolved != folders.front())
                folders.push_back(std::move(resolved));
            // Empty where the path is unknown, or the file is not there any more. The loader would search its own
            // folders for a name without one.
            std::erase(folders, "");
            return folders;
        }

        void AddReason(std::string const& path, std::string& reasons)
        {
            std::string text = dlerror();
            // Most texts begin with the path, but not all.
            if (text.starts_with(path + ": "))
                text.erase(0, path.size() + 2);
            reasons += (reasons.empty() ? "'" : "; '") + path + "': " + text;
        }
    }

    void* FindInOwnModule(std::string const& fileName, char const* symbol, std::string& reasons)
    {
        std::vector<std::string> const folders = GetOwnFolders();
        if (folders.empty())
            reasons = "'" + fileName + "': the folder of this library is not known";
        for (std::string const& folder : folders)
        {
            std::string const path = folder + fileName;
            void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
            void* const found = module ? dlsym(module, symbol) : nullptr;
            if (found)
                return found;
            AddReason(path, reasons);
        }
        return nullptr;
    }
}
