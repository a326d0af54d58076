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

        /// As large a buffer as a log needs that is read alone: small enough to stay in the processor's cache between
        /// the reading and the looking.
        static constexpr std::size_t kBlock = std::size_t{256} << 10;

        /// \param block  how much is read at once, at least 16 KiB. So large is the buffer to begin with.
        explicit RecordSplitter(std::unique_ptr<ByteSource> pBytes, std::size_t block = kBlock);

        void SetNeedle(Needle const& needle) override { mNeedle = needle; }

        /// Where in its file begins what comes next, once all parts of the last record were given.
        std::uint64_t GetOffset() const { return mOffset; }

        /// How many files or stretches were begun, empty ones included.
        std::uint64_t GetBegun() const { return mBegun; }

        bool Next(Record& record) override;
        bool NextPart(std::string_view& text) override;
        bool CanGoBack() const override { return mpBytes->CanMove(); }
        void Again() override;

    private:
        bool BeginFile();
        bool Fill();
        bool SkipToNeedle();
        enum class Finding
        {
            Start,
            Nothing,
            /// What may be one cannot be told from it before more was read.
            More
        };

        bool FindEnd(bool isHead, std::size_t& end);
        Finding FindStart(std::size_t& from, std::size_t stop, std::size_t& start);
        Finding LookAtHead(std::size_t head);
        Finding LookAtHost(std::size_t host, std::size_t& start);
        bool SeesAll() const { return mIsAtEnd || mEnd - mBegin >= kLargest; }
        std::size_t FindCut() const;
        std::size_t FindOwner(std::size_t at) const;
        std::size_t FindRecordOf(std::size_t host, std::size_t from, std::size_t end) const;
        std::size_t FindMarkFrom(std::size_t from, std::size_t end) const;
        struct Start;
        Start Classify(std::size_t at) const;
        bool IsNextAt(std::size_t at);
        std::size_t FindLineEnd(std::size_t from) const;
        std::string_view Consume(std::size_t end);

        std::unique_ptr<ByteSource> const mpBytes;
        std::size_t const mBlock;
        Needle mNeedle;

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
            std::size_t mTimeLength = 0; // in bytes; 0 unless it is a record
        };
        // What FindEnd has seen after the end, so that it is not read twice.
        Start mNext;

        std::uint64_t mBegun = 0;
        std::string mPath;
        std::int64_t mTime = std::numeric_limits<std::int64_t>::min();
    };
}
