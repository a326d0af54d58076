#pragma once

#include "os/posix/Kernel.h"

#include <memory>
#include <type_traits>

namespace QzTest
{
    /// Ends a replacement of a kernel call.
    class KernelFault
    {
    public:
        virtual ~KernelFault() = default;
    };

    /// Makes one entry of the table fail, once, with an error number, after it has been called `skip` times.
    /// Only one for each entry at a time.
    template <auto entry>
    class FailOnce : public KernelFault
    {
    public:
        explicit FailOnce(int error, int skip = 0)
        {
            gSkip = skip;
            gReal = QzOs::Posix::gKernel.*entry;
            gError = error;
            QzOs::Posix::gKernel.*entry = MakeFailing(gReal);
        }

        ~FailOnce() override { QzOs::Posix::gKernel.*entry = gReal; }

        static std::unique_ptr<KernelFault> Make(int error, int skip)
        {
            return std::make_unique<FailOnce>(error, skip);
        }

    private:
        using Entry = std::remove_reference_t<decltype(QzOs::Posix::gKernel.*entry)>;

        template <class Result, class... Arguments>
        static Entry MakeFailing(Result (*)(Arguments...))
        {
            return [](Arguments... arguments) -> Result
            {
                if (gSkip-- > 0)
                    return gReal(arguments...);
                QzOs::Posix::gKernel.*entry = gReal;
                errno = gError;
                if constexpr (std::is_pointer_v<Result>)
                    return nullptr;
                else
                    return static_cast<Result>(-1);
            };
        }

        static inline Entry gReal = nullptr;
        static inline int gError = 0;
        static inline int gSkip = 0;
    };

    /// Counts the calls of one entry.
    template <auto entry>
    class CountCalls
    {
    public:
        CountCalls()
        {
            gCount = 0;
            gReal = QzOs::Posix::gKernel.*entry;
            QzOs::Posix::gKernel.*entry = MakeCounting(gReal);
        }

        ~CountCalls() { QzOs::Posix::gKernel.*entry = gReal; }

        static int Get() { return gCount; }

    private:
        using Entry = std::remove_reference_t<decltype(QzOs::Posix::gKernel.*entry)>;

        template <class Result, class... Arguments>
        static Entry MakeCounting(Result (*)(Arguments...))
        {
            return [](Arguments... arguments) -> Result
            {
                ++gCount;
                return gReal(arguments...);
            };
        }

        static inline Entry gReal = nullptr;
        static inline int gCount = 0;
    };
}
