#pragma once

#include "reading/Needle.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

// The reading layer, from the bottom up:
//
//   InputFile        what the system knows of a file; the only place that calls it for reading
//   Backups          which back-ups a log has, the oldest first
//   LogBytes         a log and its back-ups as one stream of bytes, also while it is rolled over
//   RecordSplitter   bytes into records, in order of age; knows where a record begins. A RecordSource
//   Merger           several RecordSources as one, in order of time
//   HeaderParser     the fields of a record's header, and its message
//
// Nothing here holds more than one buffer of bounded size for each log, whatever the size of logs and records.

namespace QzLogTool
{
    /// One record as it stands in a log, or one of the things between records.
    struct Record
    {
        enum class Kind
        {
            /// The line that a log begins with.
            Head,
            /// Begins like a header line; HeaderParser knows whether the header can be read. Goes up to
            /// the next header line: further lines and call stacks belong to it.
            Message,
            /// Lines that no record owns.
            Loose
        };

        Kind mKind = Kind::Loose;

        /// The bytes with their line ends. They belong to the source and are valid until it is asked for anything.
        std::string_view mText;

        /// Milliseconds since 1970-01-01 00:00 UTC. Whatever is not of the kind Message has the time of the record
        /// before it, so that it keeps its place among other logs.
        std::int64_t mTime = std::numeric_limits<std::int64_t>::min();

        /// The file, and where in it the record begins. The path belongs to the source.
        std::string const* mpPath = nullptr;
        std::uint64_t mOffset = 0;

        /// False when the record is so long that it comes in parts: mText is its first one.
        bool mIsWhole = true;

        /// False when it is shown only because of another one near it, and whether records are left out in front of
        /// it. See Context.
        bool mIsWanted = true;
        bool mFollowsGap = false;
    };

    /// Gives records, one after the other. Used by one thread. Operations throw Trouble when a file cannot be read.
    class RecordSource
    {
    public:
        virtual ~RecordSource() = default;

        /// The next record; what is left of a long one is skipped. False at the end.
        virtual bool Next(Record& record) = 0;

        /// The next part of a record that is not whole. False when there is none.
        virtual bool NextPart(std::string_view& text) = 0;

        /// From now on gives only records that contain these bytes. The others are skipped without finding where each
        /// of them begins, which is several times as fast. Records that are not whole are given anyway, and so are
        /// others where skipping gains nothing.
        virtual void SetNeedle(Needle const&) {}

        /// Whether Again can be called.
        virtual bool CanGoBack() const { return false; }

        /// Makes Next give its last record once more, from its start. Only for one that is not whole.
        virtual void Again() {}
    };
}
