#include "CallPathBaseline.h"

#include <charconv>
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
            /// The machine, the process and the thread.
            char mOrigin[128];
            std::size_t mOriginLength = 0;
        };

        thread_local ThreadState tState;

        char* AppendText(char* out, char const* text)
        {
            std::size_t const length = std::strlen(text);
            std::memcpy(out, text, length);
            return out + length;
        }

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

        void MakeOrigin(ThreadState& state)
        {
            char* out = AppendText(state.mOrigin, " [HOST:ws01][SERVER:Engine][PID:");
            out = AppendDigits(out, getpid(), 5);
            out = AppendText(out, "][THR:");
            out = AppendDigits(out, gettid(), 5);
            state.mOriginLength = static_cast<std::size_t>(AppendText(out, "][") - state.mOrigin);
        }

        char* AppendTimeAndOrigin(char* out)
        {
            ThreadState& state = tState;
            timespec now;
            clock_gettime(CLOCK_REALTIME, &now);
            if (now.tv_sec / 60 != state.mMinute)
                StartMinute(state, now.tv_sec);
            if (state.mOriginLength == 0)
                MakeOrigin(state);

            std::memcpy(out, state.mPrefix, 17);
            out = AppendDigits(out + 17, now.tv_sec % 60, 2);
            *out++ = '.';
            out = AppendDigits(out, now.tv_nsec / 1000000, 3);
            std::memcpy(out, state.mOrigin, state.mOriginLength);
            return out + state.mOriginLength;
        }

        char* AppendHex(char* out, unsigned int value)
        {
            for (int shift = 28; shift >= 0; shift -= 4)
                *out++ = "0123456789ABCDEF"[value >> shift & 15];
            return out;
        }

        char* AppendLocation(char* out, CallPath::Call const& call)
        {
            char const* const slash = std::strrchr(call.mpFile, '/');
            *out++ = '[';
            out = AppendText(out, slash ? slash + 1 : call.mpFile);
            *out++ = ':';
            out = AppendText(out, call.mpFunction);
            out = AppendText(out, " at line:");
            out = std::to_chars(out, out + 11, call.mLine).ptr;
            *out++ = ']';
            return out;
        }

        std::size_t FormatCallHeader(char* buffer, CallPath::Call const& call)
        {
            char* out = AppendText(AppendTimeAndOrigin(buffer), call.mpLogger);
            out = AppendText(out, "][");
            out = AppendText(out, call.mpDispatcher);
            if (call.mMessageID != 0)
            {
                out = AppendText(out, "][0x");
                out = AppendHex(out, call.mMessageID);
            }
            out = AppendText(out, "][UID:");
            out = AppendText(out, call.mpUser);
            out = AppendText(out, "][SID:0][OID:0]");
            if (call.IsError())
                out = AppendLocation(out, call);
            return static_cast<std::size_t>(out - buffer);
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
        static constexpr char kRest[] = "Kernel][Info][UID:0][SID:0][OID:0]";
        char* const out = AppendTimeAndOrigin(buffer);
        std::memcpy(out, kRest, sizeof kRest - 1);
        return static_cast<std::size_t>(out - buffer) + sizeof kRest - 1;
    }

    __attribute__((noinline)) void LogEnabled(Switch const& switchedOn, Sink& sink, char const* text)
    {
        if (!switchedOn.mEnabled.load(std::memory_order_relaxed))
            return;
        char header[512];
        std::size_t const length = FormatHeader(header);
        sink.Write(header, length, text);
    }

    __attribute__((noinline)) void LogCall(
        Switch const& switchedOn, Sink& sink, CallPath::Call const& call, char const* text)
    {
        if (!switchedOn.mEnabled.load(std::memory_order_relaxed))
            return;
        char header[512];
        std::size_t const length = FormatCallHeader(header, call);
        sink.Write(header, length, text);
    }
}
