#pragma once

#include "os/posix/Kernel.h"

#include <fcntl.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

namespace QzTest
{
    // In place of an error number: the call does half of what it is asked for, or nothing. For those that return a
    // length.
    inline constexpr int kShort = -1;
    inline constexpr int kZero = -2;
    // The process ends before the call.
    inline constexpr int kKill = -3;

    /// Counts the calls of one entry of the table, and makes some of them fail with an error number, after
    /// `skip` others. One for each entry at a time.
    template <auto entry>
    class Watch
    {
    public:
        explicit Watch(int error = 0, int skip = 0, int times = 1)
        {
            gReal = QzOs::Posix::gKernel.*entry;
            gError = error;
            gSkip = skip;
            gTimes = times;
            gCount = 0;
            QzOs::Posix::gKernel.*entry = MakeWatching(gReal);
        }

        ~Watch() { QzOs::Posix::gKernel.*entry = gReal; }
        static int GetCount() { return gCount; }
        static std::shared_ptr<void> Make(int error, int skip, int times = 1)
        {
            return std::make_shared<Watch>(error, skip, times);
        }

        static constexpr bool HasLength() { return HasLength(Entry()); }

    private:
        using Entry = std::remove_reference_t<decltype(QzOs::Posix::gKernel.*entry)>;

        template <auto other>
        static constexpr bool Is()
        {
            return std::is_same_v<std::integral_constant<decltype(entry), entry>,
                std::integral_constant<decltype(other), other>>;
        }

        using K = QzOs::Posix::Kernel;

        template <class Result, class... Arguments>
        static constexpr bool HasLength(Result (*)(Arguments...))
        {
            return Is<&K::mpWritev>() || (!std::is_pointer_v<Result> && sizeof(Result) == sizeof(size_t) &&
                                             (std::is_same_v<Arguments, size_t> || ...));
        }

        template <class Result, class... Arguments>
        static Entry MakeWatching(Result (*)(Arguments...))
        {
            return [](Arguments... arguments) -> Result
            {
                int const number = gCount++ - gSkip;
                if (number < 0 || number >= gTimes || gError == 0)
                    return gReal(arguments...);
                if (gError == kKill)
                    raise(SIGKILL);
                if constexpr (HasLength())
                    if (gError < 0)
                        return gError == kZero ? Result() : Halve(arguments...);
                // What closes something has done so also when it fails.
                if constexpr (Is<&K::mpClose>() || Is<&K::mpClosedir>() || Is<&K::mpFclose>())
                    gReal(arguments...);
                // A stream notes its failures. That bit has no name for programs, and no function sets it.
                if constexpr (std::is_same_v<std::tuple_element_t<sizeof...(Arguments) - 1, std::tuple<Arguments...>>,
                                  std::FILE*> &&
                              !Is<&K::mpFclose>())
                    std::get<std::FILE*>(std::tuple(arguments...))->_flags |= 0x20;
                errno = gError;
                if constexpr (std::is_pointer_v<Result>)
                    return nullptr;
                else
                    return std::is_signed_v<Result> ? static_cast<Result>(-1) : Result();
            };
        }

        static ssize_t Halve(int descriptor, iovec const* pieces, int)
        {
            iovec const half{pieces->iov_base, pieces->iov_len / 2};
            return gReal(descriptor, &half, 1);
        }

        template <class... Arguments>
        static auto Halve(Arguments... arguments)
        {
            size_t* length = nullptr; // the last one
            auto const note = [&](auto& each)
            {
                if constexpr (std::is_same_v<decltype(each), size_t&>)
                    length = &each;
            };
            (note(arguments), ...);
            *length /= 2;
            return gReal(arguments...);
        }

        static inline Entry gReal = nullptr;
        static inline int gError = 0;
        static inline int gSkip = 0;
        static inline int gTimes = 0;
        static inline int gCount = 0;
    };

    struct KernelCall
    {
        std::string_view mName;
        std::shared_ptr<void> (*mpFail)(int error, int skip, int times);
        int (*mpGetCount)();
        bool mHasLength;
    };

    template <auto entry>
    constexpr KernelCall MakeKernelCall(std::string_view name)
    {
        return {name, Watch<entry>::Make, Watch<entry>::GetCount, Watch<entry>::HasLength()};
    }

    /// All entries of the table.
    inline constexpr KernelCall kKernelCalls[] = {
#define QZLOG_KERNEL_CALL(Result, name, function, ...) MakeKernelCall<&QzOs::Posix::Kernel::mp##name>(#name),
        QZLOG_KERNEL_CALLS(QZLOG_KERNEL_CALL)
#undef QZLOG_KERNEL_CALL
    };

    constexpr int kAlways = INT_MAX;

    struct KernelFault
    {
        KernelCall const& mCall;
        int mError;
        int mTimes;
    };

    using CallCounts = std::map<std::string_view, int>;

    /// How often an action makes which call.
    template <class Action>
    CallCounts CountCalls(Action&& action)
    {
        std::vector<std::shared_ptr<void>> watches;
        for (KernelCall const& call : kKernelCalls)
            watches.push_back(call.mpFail(0, 0, 1));
        action();
        watches.clear();
        CallCounts counts;
        for (KernelCall const& call : kKernelCalls)
            if (int const count = call.mpGetCount(); count != 0)
                counts[call.mName] = count;
        return counts;
    }

    /// Calls `attempt` with each error of each call that `action` makes, once, twice and always, and with how many
    /// calls go well before: EIO once with all numbers, the others with one at random, or with all if QZLOG_EVERY_FAULT
    /// is set. Returns the calls.
    template <class Action, class Attempt>
    CallCounts ForEachFault(Action&& action, Attempt&& attempt)
    {
        static std::mt19937 random{std::random_device()()};
        bool const wantsAll = getenv("QZLOG_EVERY_FAULT") != nullptr;
        CallCounts counts = CountCalls(action);
        for (KernelCall const& call : kKernelCalls)
            for (int const error : {EIO, ENOSPC, EDQUOT, EACCES, EMFILE, EINTR, ENOLCK, ESTALE, kShort, kZero})
                // Signals end some time.
                for (int const times : {1, 2, error == EINTR ? 100 : kAlways})
                {
                    auto const count = counts.find(call.mName);
                    if (count == counts.end() || (error < 0 && !call.mHasLength))
                        continue;
                    bool const isEach = wantsAll || (error == EIO && times == 1);
                    int const chosen = static_cast<int>(random() % static_cast<unsigned int>(count->second));
                    for (int skip = 0; skip < count->second; ++skip)
                        if (isEach || skip == chosen)
                            attempt(KernelFault{call, error, times}, skip);
                }
        return counts;
    }

    /// Opens as in a root directory without /proc.
    inline int OpenWithoutProc(char const* path, int flags, mode_t mode)
    {
        if (std::strncmp(path, "/proc/", 6) != 0)
            return open(path, flags, mode);
        errno = ENOENT;
        return -1;
    }
}
