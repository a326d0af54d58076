#include "reading/RecordSplitter.h"

#include "reading/HeaderParser.h"
#include "reading/RecordStart.h"

#include <algorithm>
#include <cstring>

namespace QzLogTool
{
    namespace
    {
        // Small enough to stay in the processor's cache between the reading and the looking.
        constexpr std::size_t kBlock = std::size_t{256} << 10;

        constexpr std::string_view kHost = " [HOST:";
        // Of the time in front of it, without and with its distance from UTC.
        constexpr std::size_t kShortestTime = 23;
        constexpr std::size_t kLongestTime = 29;
    }

    RecordSplitter::RecordSplitter(std::unique_ptr<ByteSource> pBytes) : mpBytes(std::move(pBytes)), mBuffer(kBlock) {}

    bool RecordSplitter::Next(Record& record)
    {
        std::string_view rest;
        while (NextPart(rest))
            continue;
        for (;;)
        {
            if (!mIsOpen && !BeginFile())
                return false;
            bool const hasMore = (mBegin != mEnd || Fill()) && (mNeedle.empty() || SkipToNeedle());
            if (hasMore)
                break;
            mIsOpen = false;
        }
        while (mEnd - mBegin < kGlance && Fill())
            continue;
        if (mNext.mOffset != mOffset)
            IsNextAt(mBegin);
        record.mKind = mNext.mKind;
        record.mTime = mTime = mNext.mKind == Record::Kind::Message ? mNext.mTime : mTime;
        record.mpPath = &mPath;
        record.mOffset = mStartOffset = mOffset;
        std::size_t end = 0;
        record.mIsWhole = FindEnd(record.mKind == Record::Kind::Head, end);
        mIsInside = !record.mIsWhole;
        record.mText = Consume(end);
        return true;
    }

    bool RecordSplitter::NextPart(std::string_view& text)
    {
        if (!mIsInside)
            return false;
        std::size_t end = 0;
        mIsInside = !FindEnd(false, end);
        text = Consume(end);
        return !text.empty();
    }

    bool RecordSplitter::Again()
    {
        if (!mpBytes->MoveTo(mStartOffset))
            return false;
        mBegin = mEnd = 0;
        mOffset = mHostFrom = mHostUpTo = mStartOffset;
        mIsAtEnd = mIsInside = false;
        mNext = Start();
        return true;
    }

    bool RecordSplitter::BeginFile()
    {
        if (!mpBytes->OpenNext())
            return false;
        mPath = mpBytes->GetPath();
        mBegin = mEnd = 0;
        mOffset = mpBytes->GetOffset();
        mIsAtEnd = false;
        mNext = Start();
        mHostFrom = mHostUpTo = mOffset;
        mIsOpen = true;
        return true;
    }

    /// Reads on behind what is there. False at the end of the file.
    bool RecordSplitter::Fill()
    {
        std::size_t const kept = mEnd - mBegin;
        std::memmove(mBuffer.data(), mBuffer.data() + mBegin, kept);
        mBegin = 0;
        mEnd = kept;
        // In proportion to what is kept, so that a long record is looked through a few times and not at each block.
        std::size_t const room = std::max(kBlock, std::min(kept, kLargest));
        if (mBuffer.size() < kept + room)
            mBuffer.resize(kept + room);
        std::size_t const count = mIsAtEnd ? 0 : mpBytes->Read(mBuffer.data() + mEnd, room);
        mIsAtEnd = count == 0;
        mEnd += count;
        return count != 0;
    }

    /// Moves on to the record that holds the next needle. False when none follows in this file.
    bool RecordSplitter::SkipToNeedle()
    {
        std::size_t searched = 0;
        for (;;)
        {
            char const* const from = mBuffer.data() + mBegin + searched;
            void const* const hit = memmem(from, mEnd - mBegin - searched, mNeedle.data(), mNeedle.size());
            std::size_t const at =
                hit ? static_cast<std::size_t>(static_cast<char const*>(hit) - mBuffer.data()) : mEnd - 1;
            if (!hit && mIsAtEnd)
            {
                Consume(mEnd);
                return false;
            }
            Consume(FindStart(at));
            if (hit || mEnd - mBegin >= kLargest)
                return true;
            std::size_t const kept = mEnd - mBegin;
            searched = kept - std::min(kept, mNeedle.size() - 1);
            Fill();
        }
    }

    /// Where what begins at mBegin ends; the head is one line.
    /// \return  false when it is too long; `end` is then where its first part ends.
    bool RecordSplitter::FindEnd(bool isHead, std::size_t& end)
    {
        // How many bytes from mBegin on are known to belong to it, and are complete lines.
        std::size_t verified = 0;
        std::size_t from = 0;
        for (;;)
        {
            std::size_t const lineEnd = FindLineEnd(mBegin + from);
            bool const isLine = lineEnd != mEnd;
            bool const isTooLong = mEnd - mBegin >= kLargest;
            if (isLine || mIsAtEnd || isTooLong)
            {
                // The record that begins at mBegin itself is the one whose end is looked for, unless it is a part that
                // goes on there.
                end = FindBuried(std::max(mBegin + verified, mBegin + (mIsInside ? 0 : 1)), lineEnd);
                if (end != lineEnd)
                    return true;
            }
            bool const seesNext = isLine && (mIsAtEnd || mEnd - lineEnd > kGlance || isHead);
            end = isLine ? lineEnd + 1 : mEnd;
            if (seesNext && (isHead || end == mEnd || IsNextAt(end)))
                return true;
            if (seesNext)
            {
                verified = from = end - mBegin;
                continue;
            }
            if (!isLine && mIsAtEnd)
                return true;
            if (isTooLong)
            {
                end = verified != 0 ? mBegin + verified : FindCut(lineEnd);
                return false;
            }
            from = lineEnd - mBegin;
            Fill();
        }
    }

    /// Where a line that is too long is cut: between two characters, and not after the start of a header that is still
    /// to be read.
    std::size_t RecordSplitter::FindCut(std::size_t limit) const
    {
        std::size_t const cut = std::min(limit, mBegin + kLargest - kLongestHeader);
        std::size_t start = cut;
        while (start > cut - 3 && (static_cast<unsigned char>(mBuffer[start]) & 0xC0) == 0x80)
            --start;
        return start;
    }

    /// Keeps what begins at a line, and tells whether that is anything but one more line of what stands before it.
    bool RecordSplitter::IsNextAt(std::size_t at)
    {
        mNext.mKind = Classify(at, mNext.mTime);
        mNext.mOffset = mOffset + (at - mBegin);
        return mNext.mKind != Record::Kind::Loose;
    }

    /// Where the record, or the other thing, to which a byte belongs begins.
    std::size_t RecordSplitter::FindStart(std::size_t at) const
    {
        char const* const begin = mBuffer.data() + mBegin;
        std::int64_t time;
        for (;;)
        {
            void const* const found = memrchr(begin, '\n', at - mBegin);
            std::size_t const line =
                found ? static_cast<std::size_t>(static_cast<char const*>(found) - mBuffer.data()) + 1 : mBegin;
            // The last one within the line that begins not after the byte.
            std::size_t start = line;
            std::size_t const hostEnd = std::min(at + kLongestTime + 1, mEnd);
            for (std::size_t host = line; (host = FindHost(host, hostEnd)) != hostEnd; ++host)
                if (std::size_t const buried = FindRecordOf(host, line + 1, at + 1); buried <= at)
                    start = buried;
            if (start != line || !found || Classify(line, time) != Record::Kind::Loose)
                return start;
            at = line - 1;
        }
    }

    /// The first record from one place to another that begins within a line; `end` when there is none.
    std::size_t RecordSplitter::FindBuried(std::size_t from, std::size_t end)
    {
        std::size_t start = end;
        for (std::size_t host = FindNextHost(from); host < std::min(end + kLongestTime, mEnd) && start == end;
             host = FindNextHost(host + 1))
            start = FindRecordOf(host, from, end);
        return start;
    }

    /// Where the record begins that a host bracket belongs to, if that is from one place to another; otherwise `end`.
    std::size_t RecordSplitter::FindRecordOf(std::size_t host, std::size_t from, std::size_t end) const
    {
        for (std::size_t const length : {kShortestTime, kLongestTime})
        {
            std::size_t const start = host - std::min(host, length);
            std::size_t const size = std::min(mEnd - start, kLongestHeader);
            if (start >= from && start < end && BeginsWithWholeHeader({mBuffer.data() + start, size}))
                return start;
        }
        return end;
    }

    /// The first host bracket from a place on, or mEnd. It is asked for line by line, and looked for once.
    std::size_t RecordSplitter::FindNextHost(std::size_t from)
    {
        std::uint64_t const start = mOffset - mBegin; // of mBuffer in its file
        if (start + from < mHostFrom || start + from > mHostUpTo)
            mHostFrom = mHostUpTo = start + from;
        std::size_t const at = static_cast<std::size_t>(mHostUpTo - start);
        std::size_t const host = FindHost(at, mEnd);
        // One may begin in the last bytes.
        mHostUpTo = start + (host != mEnd ? host : std::max(at, mEnd - std::min(mEnd, kHost.size() - 1)));
        return host;
    }

    /// The first host bracket that begins from one place to another; `end` when there is none.
    std::size_t RecordSplitter::FindHost(std::size_t from, std::size_t end) const
    {
        // By its rarest character, in half the time that a search for all of it takes.
        constexpr std::size_t kRare = kHost.find('H');
        char const* const stop = mBuffer.data() + std::min(end + kHost.size() - 1, mEnd);
        char const* at = mBuffer.data() + from + kRare;
        while (at < stop && (at = static_cast<char const*>(std::memchr(at, 'H', static_cast<std::size_t>(stop - at)))))
        {
            if (std::string_view(at - kRare, static_cast<std::size_t>(stop - at) + kRare).starts_with(kHost))
                return static_cast<std::size_t>(at - kRare - mBuffer.data());
            ++at;
        }
        return end;
    }

    /// What begins at a line. `time` is changed for a record only.
    Record::Kind RecordSplitter::Classify(std::size_t at, std::int64_t& time) const
    {
        std::string_view const line(mBuffer.data() + at, mEnd - at);
        if (BeginsHead(line))
            return Record::Kind::Head;
        return BeginsRecord(line, time) ? Record::Kind::Message : Record::Kind::Loose;
    }

    /// The next LF, or mEnd.
    std::size_t RecordSplitter::FindLineEnd(std::size_t from) const
    {
        void const* const found = std::memchr(mBuffer.data() + from, '\n', mEnd - from);
        return found ? static_cast<std::size_t>(static_cast<char const*>(found) - mBuffer.data()) : mEnd;
    }

    std::string_view RecordSplitter::Consume(std::size_t end)
    {
        std::string_view const text(mBuffer.data() + mBegin, end - mBegin);
        mOffset += text.size();
        mBegin = end;
        return text;
    }
}
