#pragma once

#include "message/HeaderScanner.h"

#include <QzBase/CountedPtr.h>
#include <QzLog/MessageHeader.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace QzLogTool
{
    using QzLog::HeaderFields;

    /// Reads the header of a record: its brackets in place, by the library's own scanner, at a tenth of the cost of
    /// ParseHeaderText, which fills an object with copies; and by way of that for whoever wants the object.
    class HeaderParser
    {
    public:
        HeaderParser();

        /// \param text  a record, or its first part. What is read belongs to it.
        /// \return  false when it has no header that can be read.
        bool Parse(std::string_view text);

        /// Of the last record that could be read. A "0" in place of a user, session or object ID means that there is
        /// none, and reads as the empty text.
        HeaderFields const& GetFields() const { return mFields; }

        /// The same record's header, by way of the library, without a "0" in place of an ID. Null when the library
        /// cannot read it.
        QzLog::MessageHeader* ReadHeader();

        /// The header's length in bytes, without the blank after it.
        std::size_t GetLength() const { return mLength; }

        /// As it stands in the record.
        std::string_view GetHeader() const { return mText.substr(0, mLength); }
        std::size_t GetTimeLength() const { return mTimeLength; }

        /// What follows the header, without the final line end. In one part of a long record it is what that part has.
        std::string_view GetMessage() const;

    private:
        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader;
        std::string_view mText;
        HeaderFields mFields;
        std::size_t mLength = 0;
        std::size_t mTimeLength = 0;
        std::string mCopy;
    };

    /// Whether a text begins with a header that is whole and has all that the library writes. Within a line nothing
    /// less begins a record: a message may quote a time or part of a header.
    bool BeginsWithWholeHeader(std::string_view text);

    /// A missed-messages line's content.
    struct MissedMessages
    {
        unsigned long mCount = 0;
        std::string_view mSince;
        std::string_view mReason;
    };

    /// Whether the record that was parsed last reports messages that its log has lost, and what it reports.
    bool ReadMissedMessages(HeaderParser const& parser, MissedMessages& missed);

    /// Without the line end that it ends with, if any.
    std::string_view WithoutLineEnd(std::string_view text);
}
