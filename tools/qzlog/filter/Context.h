#pragma once

#include "reading/Record.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace QzLogTool
{
    /// The records around those that a filter wants. It lives as long as its logs are read, also look after look.
    class Context
    {
    public:
        /// What it keeps at most of the records that may turn out to stand before a wanted one.
        static constexpr std::size_t kMostBytes = std::size_t{16} << 20;

        /// \param before, after  how many records before and after each wanted one.
        /// \param most  after so many wanted ones, others are shown only behind the last of them.
        Context(std::uint64_t before, std::uint64_t after, std::uint64_t most)
            : mBefore(before), mAfter(after), mMost(most)
        {
        }

        /// Whether all has been given.
        bool IsDone() const { return mWanted == mMost && mAfterLeft == 0 && !mHasWaiting; }

        /// How many records before a wanted one were left out because all would have taken more than kMostBytes.
        std::uint64_t GetLeftOut() const { return mLeftOut; }

        /// The next record around what is wanted; Record::mIsWanted tells which is which.
        /// \param source  gives all records, marked. It stays the same until this has returned false.
        bool Next(RecordSource& source, Record& record);

        /// See RecordSource.
        bool NextPart(RecordSource& source, std::string_view& text) { return !mIsKept && source.NextPart(text); }

    private:
        struct Kept
        {
            Record mRecord;
            std::string mText;
        };

        void Keep(Record const& record);
        void DropOldest();
        void Await(Record const& record);
        void Give(Record& record, bool isKept);

        std::uint64_t const mBefore;
        std::uint64_t const mAfter;
        std::uint64_t const mMost;

        // The last records that were not given, without a gap.
        std::deque<Kept> mKept;
        std::size_t mKeptBytes = 0;
        // How many records have come since the last one that was given.
        std::uint64_t mPassed = 0;

        // A wanted one, which comes when mKept is empty.
        Record mWaiting;
        bool mHasWaiting = false;

        Kept mCurrent;
        bool mIsKept = false;
        std::uint64_t mWanted = 0;
        std::uint64_t mAfterLeft = 0;
        std::uint64_t mLeftOut = 0;
        bool mHasGiven = false;
        bool mHasGap = false;
    };

    /// A source of marked records, of which a context lets pass what it wants to show.
    class ContextSource : public RecordSource
    {
    public:
        /// The context must outlive this object.
        ContextSource(std::unique_ptr<RecordSource> pSource, Context& context)
            : mpSource(std::move(pSource)), mContext(context)
        {
        }

        bool Next(Record& record) override { return mContext.Next(*mpSource, record); }
        bool NextPart(std::string_view& text) override { return mContext.NextPart(*mpSource, text); }

    private:
        std::unique_ptr<RecordSource> const mpSource;
        Context& mContext;
    };
}
