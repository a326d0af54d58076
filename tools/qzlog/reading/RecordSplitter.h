#pragma once

#include "reading/ByteSource.h"
#include "reading/Record.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QzLogTool
{
    /// Splits the files of a ByteSource into records. It holds one buffer, which grows with the records up to kLargest
    /// bytes; records beyond that come in parts.
    ///
    /// A record begins where a line begins with a header, or where a whole header stands within a line: the writer of
    /// the record before was stopped in the middle of it, which is given without a line end.
    class RecordSplitter : public RecordSource
    {
    public:
        static constexpr std::size_t kLargest = std::size_t{16} << 20;

        /// A header within a line is seen up to this length, which is more than headers have.
        static constexpr std::size_t kLongestHeader = 4096;

        explicit RecordSplitter(std::unique_ptr<ByteSource> pBytes);

        /// From now on gives only records that contain these bytes; the others are passed over without a look at
        /// where each of them begins, which is several times as fast. A record that is not whole comes anyway.
        void SetNeedle(std::string needle) { mNeedle = std::move(needle); }

        bool Next(Record& record) override;
        bool NextPart(std::string_view& text) override;
        bool Again() override;

    private:
        bool BeginFile();
        bool Fill();
        bool SkipToNeedle();
        bool FindEnd(bool isHead, std::size_t& end);
        std::size_t FindCut(std::size_t limit) const;
        std::size_t FindStart(std::size_t at) const;
        std::size_t FindBuried(std::size_t from, std::size_t end);
        std::size_t FindRecordOf(std::size_t host, std::size_t from, std::size_t end) const;
        std::size_t FindNextHost(std::size_t from);
        std::size_t FindHost(std::size_t from, std::size_t end) const;
        Record::Kind Classify(std::size_t at, std::int64_t& time) const;
        bool IsNextAt(std::size_t at);
        std::size_t FindLineEnd(std::size_t from) const;
        std::string_view Consume(std::size_t end);

        std::unique_ptr<ByteSource> const mpBytes;
        std::string mNeedle;

        // [mBegin, mEnd) is what was read and not given yet. Between two calls mBegin stands where a record or
        // something else begins, unless mIsInside.
        std::vector<char> mBuffer;
        std::size_t mBegin = 0;
        std::size_t mEnd = 0;
        std::uint64_t mOffset = 0; // of mBegin in its file
        bool mIsOpen = false;
        bool mIsAtEnd = false;

        // In the middle of a record that is given in parts.
        bool mIsInside = false;
        std::uint64_t mStartOffset = 0;

        // What begins at a place, and the time when it is a record.
        struct Start
        {
            std::uint64_t mOffset = std::numeric_limits<std::uint64_t>::max();
            Record::Kind mKind = Record::Kind::Loose;
            std::int64_t mTime = 0;
        };
        // What FindEnd has seen behind the end, so that it is not looked at twice.
        Start mNext;

        // Between these two places in the file no host bracket begins: FindNextHost has looked.
        std::uint64_t mHostFrom = 0;
        std::uint64_t mHostUpTo = 0;

        std::string mPath;
        std::int64_t mTime = std::numeric_limits<std::int64_t>::min();
    };
}
