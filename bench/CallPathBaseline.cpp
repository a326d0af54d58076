#include "CallPathBaseline.h"

#include <cstring>
#include <ctime>

#include <sys/types.h>
#include <unistd.h>

namespace Baseline
{
    namespace
    {
        struct ThreadState
        {
            std::time_t mMinute = -1;
            char mPrefix[32];
            char mIdentity[256];
            std::size_t mIdentityLength = 0;
        };

        thread_local ThreadState tState;

        char* AppendDigits(char* out, long value, int digits)
        {
            for (int i = digits - 1; i >= 0; --i, value /= 10)
                out[i] = static_cast<char>('0' + value % 10);
            return out + digits;
        }

        void StartMinute(ThreadState& state, std::time_t seconds)
        {
            std::tm local;
            localtime_r(&seconds, &local);
            state.mMinute = seconds / 60;
            std::strftime(state.mPrefix, sizeof(state.mPrefix), "%Y-%m-%d %H:%M:", &local);
        }

        void MakeIdentity(ThreadState& state)
        {
            char* out = state.mIdentity;
            auto const append = [&out](char const* text)
            {
                std::size_t const length = std::strlen(text);
                std::memcpy(out, text, length);
                out += length;
            };
            append(" [HOST:ws01][SERVER:Engine][PID:");
            out = AppendDigits(out, getpid(), 5);
            append("][THR:");
            out = AppendDigits(out, gettid(), 5);
            append("][Kernel][Info][UID:0][SID:0][OID:0]");
            state.mIdentityLength = static_cast<std::size_t>(out - state.mIdentity);
        }
    }

    __attribute__((noinline)) void LogDisabled(
        Switch const& switchedOff, char const* text, char const* file, char const* function, int line)
    {
        if (!switchedOff.mEnabled.load(std::memory_order_relaxed))
            return;
        asm volatile("" : : "r"(text), "r"(file), "r"(function), "r"(line) : "memory");
    }

    std::size_t FormatHeader(char* buffer)
    {
        ThreadState& state = tState;
        timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        if (now.tv_sec / 60 != state.mMinute)
            StartMinute(state, now.tv_sec);
        if (state.mIdentityLength == 0)
            MakeIdentity(state);

        char* out = buffer;
        std::memcpy(out, state.mPrefix, 17);
        out = AppendDigits(out + 17, now.tv_sec % 60, 2);
        *out++ = '.';
        out = AppendDigits(out, now.tv_nsec / 1000000, 3);
        std::memcpy(out, state.mIdentity, state.mIdentityLength);
        return static_cast<std::size_t>(out - buffer) + state.mIdentityLength;
    }

    __attribute__((noinline)) void LogEnabled(Switch const& switchedOn, Sink& sink, char const* text)
    {
        if (!switchedOn.mEnabled.load(std::memory_order_relaxed))
            return;
        char header[512];
        std::size_t const length = FormatHeader(header);
        sink.Write(header, length, text);
    }
}
