#pragma once

#include <cstddef>
#include <string_view>

// The grammar of a header's text form, shared by all readers of headers. It needs nothing else of this library, so
// that the operator's tool can link it too.

namespace QzLog
{
    /// The fields of a header after its time stamp, as views into the scanned text. A bracket that is absent gives a
    /// view without data (null), an empty bracket an empty view with data.
    struct HeaderFields
    {
        std::string_view mHost;
        std::string_view mServer;
        std::string_view mProcess;
        std::string_view mThread;
        std::string_view mLogger;
        std::string_view mDispatcher;
        /// Hexadecimal digits, eight where the library wrote them.
        std::string_view mMessageID;
        std::string_view mUser;
        std::string_view mSession;
        std::string_view mObject;
        /// The source location, which is absent unless all of it can be read.
        std::string_view mSourceFile;
        std::string_view mSourceFunction;
        int mSourceLine = 0;
    };

    /// Reads the brackets of a header in place: nothing is copied, and it depends on no locale.
    /// \param text  begins after the time stamp, with " [HOST:".
    /// \param fields  only valid if the header can be read.
    /// \return  the number of characters of the header; 0 if it cannot be read.
    std::size_t ScanHeader(std::string_view text, HeaderFields& fields) noexcept;
}
