#pragma once

#include <QzBase/Export.h>

#include <cstdint>

namespace QzBase
{
    /// Adds up elapsed time. Not synchronised.
    class TotalTimer
    {
    public:
        /// Measures the time from construction to Stop, or to destruction if Stop was not called.
        class QZLOG_API Timer
        {
        public:
            explicit Timer(TotalTimer& total);
            ~Timer() { Stop(); }
            Timer(Timer const&) = delete;
            Timer& operator=(Timer const&) = delete;

            /// Adds the time since construction to the total. Later calls do nothing.
            void Stop() noexcept;

        private:
            TotalTimer* mpTotal;
            std::int64_t mStart;
        };

        /// The sum in nanoseconds.
        std::int64_t GetTotalNanoseconds() const noexcept { return mTotal; }

    private:
        std::int64_t mTotal = 0;
    };
}
