#include "support/base/FrameNames.h"

#include "os/Fork.h"

#include <atomic>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <mutex>

#include <backtrace.h>
#include <cxxabi.h>
#include <dlfcn.h>

namespace QzBase
{
    namespace
    {
        // One state for the process: it keeps the debug information that it has read, some 20 MB, for ever.
        constinit std::atomic<backtrace_state*> gState{nullptr};

        // Serialises look-ups, and keeps the process from forking during one: the child would find the lock held
        // for ever.
        constinit QzOs::ForkMutex gMutex;

        // When the library is loaded, so that no fork happens during the first look-up. Handlers that are registered
        // first are called last before a fork: this lock is taken under those of the layers above.
        [[gnu::constructor(102)]] void HoldLockAroundForks()
        {
            auto const unlock = [] { gMutex.UnlockAfterFork(); };
            QzOs::CallAroundFork([] { gMutex.LockBeforeFork(); }, unlock, unlock);
        }

        // An error shows as a missing name.
        void IgnoreError(void*, char const*, int) {}

        backtrace_state* GetState()
        {
            backtrace_state* state = gState.load(std::memory_order_acquire);
            if (state)
                return state;
            std::lock_guard const hold(gMutex);
            state = gState.load(std::memory_order_relaxed);
            if (!state)
            {
                state = backtrace_create_state(nullptr, 1, IgnoreError, nullptr);
                gState.store(state, std::memory_order_release);
            }
            return state;
        }

        struct Source
        {
            std::string mSymbol;
            std::string mFunction;
            std::string mFile;
            int mLine = 0;
        };

        // Called for each function inlined there, innermost first; the last one is the one that has the frame.
        int TakeSource(void* data, std::uintptr_t, char const* file, int line, char const* function)
        {
            Source& source = *static_cast<Source*>(data);
            if (function)
                source.mFunction = function;
            if (file)
            {
                source.mFile = file;
                source.mLine = line;
            }
            return 0;
        }

        void TakeSymbol(void* data, std::uintptr_t, char const* name, std::uintptr_t, std::uintptr_t)
        {
            if (name)
                static_cast<Source*>(data)->mSymbol = name;
        }

        Source FindSource(std::uintptr_t address)
        {
            Source source;
            if (backtrace_state* const state = GetState())
            {
                std::lock_guard const hold(gMutex);
                backtrace_pcinfo(state, address, TakeSource, IgnoreError, &source);
                backtrace_syminfo(state, address, TakeSymbol, IgnoreError, &source);
            }
            // The symbol names namespaces and arguments also of a function that only its file sees.
            if (!source.mSymbol.empty())
                source.mFunction = source.mSymbol;
            return source;
        }

        std::string Demangle(std::string const& name)
        {
            int status = 0;
            std::unique_ptr<char, void (*)(void*)> const text(
                abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
            return text ? text.get() : name;
        }

        std::string ToHexadecimal(std::uintptr_t value)
        {
            char digits[2 * sizeof(value)];
            return "0x" + std::string(digits, std::to_chars(digits, digits + sizeof(digits), value, 16).ptr);
        }

        int TakeFrame(void* data, std::uintptr_t address)
        {
            static_cast<std::vector<std::uintptr_t>*>(data)->push_back(address);
            return 0;
        }
    }

    std::vector<std::uintptr_t> CollectFrames()
    {
        std::vector<std::uintptr_t> frames;
        // Room beforehand for any usual stack: a growth inside the unwinding is one more thing that can fail.
        frames.reserve(128);
        if (backtrace_state* const state = GetState())
            backtrace_simple(state, 0, TakeFrame, IgnoreError, &frames);
        return frames;
    }

    std::string DescribeFrame(std::uintptr_t address)
    {
        Source source = FindSource(address);
        if (!source.mFunction.empty() && !source.mFile.empty())
            return Demangle(source.mFunction) + " at " + source.mFile + ':' + std::to_string(source.mLine);

        Dl_info module = {};
        std::string place = ToHexadecimal(address);
        // A module that was loaded after the debug information was read is known only here.
        if (dladdr(reinterpret_cast<void const*>(address), &module) != 0 && module.dli_fname)
        {
            std::uintptr_t const distance = address - reinterpret_cast<std::uintptr_t>(module.dli_fbase);
            place = std::string(module.dli_fname) + '+' + ToHexadecimal(distance);
            if (source.mFunction.empty() && module.dli_sname)
                source.mFunction = module.dli_sname;
        }
        return source.mFunction.empty() ? place : Demangle(source.mFunction) + " in " + place;
    }
}
