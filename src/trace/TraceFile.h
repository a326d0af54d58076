#pragma once

#include <QzBase/WideString.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace QzLog
{
    /// The text file of a print-out. Used by one thread.
    class TraceFile
    {
    public:
        /// Opens the file and empties it; see IsOpen for the outcome.
        explicit TraceFile(QzBase::WideString const& name);
        ~TraceFile() { Close(); }
        TraceFile(TraceFile const&) = delete;
        TraceFile& operator=(TraceFile const&) = delete;

        bool IsOpen() const noexcept { return mpStream != nullptr; }

        /// A failure shows in the result of Close.
        void Write(std::string_view text);

        /// Returns whether all that was written has reached the system: a full disk often shows only here.
        bool Close() noexcept;

    private:
        std::FILE* mpStream = nullptr;
        bool mIsComplete = true;
    };

    /// Opens the file, has `print` write it and closes it. Returns a result of LogTrace::PrintAllLogTrace;
    /// failures of `print` end here.
    long PrintToFile(QzBase::WideString const& name, std::function<void(TraceFile&)> const& print);

    /// Appends decimal digits, whatever the locale.
    void AppendNumber(std::string& text, std::int64_t number);
}
