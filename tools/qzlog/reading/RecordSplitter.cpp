#include "reading/RecordSplitter.h"

#include "Characters.h"
#include "reading/HeaderParser.h"
#include "reading/RecordStart.h"

#include <algorithm>
#include <cstring>

namespace QzLogTool
{
    namespace
    {
        // Of the time in front of it, without and with its distance from UTC.
        constexpr std::size_t kShortestTime = 23;
        constexpr std::size_t kLongestTime = 29;
        // Of that in front of a host at the start of a line, where it may have other forms: no more is looked at.
        constexpr std::size_t kLongestLineTime = kGlance - kHost.size();
    }

    RecordSplitter::RecordSplitter(std::unique_ptr<ByteSource> pBytes, std::size_t block)
        : mpBytes(std::move(pBytes)), mBlock(block), mBuffer(block)
    {
    }

    bool RecordSplitter::Next(Record& record)
    {
        std::string_view rest;
        while (NextPart(rest))
            continue;
        for (;;)
        {
            if (!mIsOpen && !BeginFile())
                return false;
            bool const hasMore = (mBegin != mEnd || Fill()) && (mNeedle.IsEmpty() || SkipToNeedle());
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

    void RecordSplitter::Again()
    {
        mpBytes->MoveTo(mStartOffset);
        mBegin = mEnd = 0;
        mOffset = mStartOffset;
        mIsAtEnd = mIsInside = false;
        mNext = Start();
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
        mIsOpen = true;
        ++mBegun;
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
        std::size_t const room = std::max(mBlock, std::min(kept, kLargest));
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
            char const* const hit = mNeedle.FindIn({mBuffer.data() + mBegin + searched, mEnd - mBegin - searched});
            std::size_t const at = hit ? static_cast<std::size_t>(hit - mBuffer.data()) : mEnd - 1;
            if (!hit && mIsAtEnd)
            {
                Consume(mEnd);
                return false;
            }
            Consume(FindOwner(at));
            if (hit || mEnd - mBegin >= kLargest)
                return true;
            std::size_t const kept = mEnd - mBegin;
            searched = kept - std::min(kept, mNeedle.GetSize() - 1);
            Fill();
        }
    }

    /// Where what begins at mBegin ends; the head is one line.
    /// \return  false when it is too long; `end` is then where its first part ends.
    bool RecordSplitter::FindEnd(bool isHead, std::size_t& end)
    {
        // Nothing else begins between mBegin and this place, counted from there. Its own host is passed over.
        std::size_t from = mIsInside ? 0 : mNext.mTimeLength + 1;
        for (;;)
        {
            std::size_t const lineEnd = isHead ? FindLineEnd(mBegin) : mEnd;
            std::size_t const stop = std::min(lineEnd + 1, mEnd);
            Finding const finding = FindStart(from, stop, end);
            if (finding == Finding::Start)
                return true;
            end = stop;
            if (finding == Finding::Nothing && (mIsAtEnd || lineEnd != mEnd))
                return true;
            if (SeesAll())
            {
                end = FindCut();
                return false;
            }
            Fill();
        }
    }

    /// Looks for the first thing that begins from a place on, counted from mBegin, up to another; but not at mBegin.
    /// \param from  is moved to where there is still something to see.
    RecordSplitter::Finding RecordSplitter::FindStart(std::size_t& from, std::size_t stop, std::size_t& start)
    {
        for (std::size_t mark = mBegin + from; (mark = FindMarkFrom(mark, stop)) != stop; ++mark)
        {
            bool const isHead = mBuffer[mark] == kHead[0];
            start = mark;
            Finding const finding = isHead ? LookAtHead(mark) : LookAtHost(mark, start);
            if (finding == Finding::More)
                from = mark - mBegin;
            if (finding != Finding::Nothing)
                return finding;
        }
        // Another mark may have its first bytes here.
        std::size_t const size = mEnd - mBegin;
        from = std::max(from, size - std::min(size, kHost.size() - 1));
        return Finding::Nothing;
    }

    RecordSplitter::Finding RecordSplitter::LookAtHead(std::size_t head)
    {
        if (head == mBegin || mBuffer[head - 1] != '\n')
            return Finding::Nothing;
        if (mEnd - head < kGlance && !SeesAll())
            return Finding::More;
        return IsNextAt(head) ? Finding::Start : Finding::Nothing;
    }

    /// Whether a record begins in front of a host, at the start of the line or within it.
    RecordSplitter::Finding RecordSplitter::LookAtHost(std::size_t host, std::size_t& start)
    {
        char const* const window = mBuffer.data() + host - std::min(host - mBegin, kLongestLineTime + 1);
        char const* const end = mBuffer.data() + host;
        void const* const found = memrchr(window, '\n', static_cast<std::size_t>(end - window));
        if (found)
            start = static_cast<std::size_t>(static_cast<char const*>(found) - mBuffer.data()) + 1;
        if (found && IsNextAt(start))
            return Finding::Start;
        bool const seesHeader = mEnd - host >= kLongestHeader || FindLineEnd(host) != mEnd;
        if (!seesHeader && !SeesAll())
            return Finding::More;
        // The record that begins at mBegin is the one whose end is looked for, unless it is a part that goes on there.
        start = FindRecordOf(host, mBegin + (mIsInside ? 0 : 1), host);
        return start != host ? Finding::Start : Finding::Nothing;
    }

    /// Where a record is cut that is too long: behind a line, of which is known that no other thing begins there; or
    /// else between two characters of the line, and not after the start of a header that is still to be read.
    std::size_t RecordSplitter::FindCut() const
    {
        if (void const* const found = memrchr(mBuffer.data() + mBegin, '\n', mEnd - mBegin - kGlance))
            return static_cast<std::size_t>(static_cast<char const*>(found) - mBuffer.data()) + 1;
        std::size_t const cut = mBegin + kLargest - kLongestHeader;
        std::size_t start = cut;
        while (start > cut - 3 && ContinuesCharacter(mBuffer[start]))
            --start;
        return start;
    }

    /// Keeps what begins at a line, and tells whether that is anything but one more line of what stands before it.
    bool RecordSplitter::IsNextAt(std::size_t at)
    {
        mNext = Classify(at);
        return mNext.mKind != Record::Kind::Loose;
    }

    /// Where the record, or the other thing, to which a byte belongs begins.
    std::size_t RecordSplitter::FindOwner(std::size_t at) const
    {
        char const* const begin = mBuffer.data() + mBegin;
        for (;;)
        {
            void const* const found = memrchr(begin, '\n', at - mBegin);
            std::size_t const line =
                found ? static_cast<std::size_t>(static_cast<char const*>(found) - mBuffer.data()) + 1 : mBegin;
            // The last one within the line that begins not after the byte.
            std::size_t start = line;
            std::size_t const end = std::min(at + kLongestTime + kHost.size(), mEnd);
            for (std::size_t mark = line; (mark = FindMarkFrom(mark, end)) != end; ++mark)
                if (std::size_t const buried = FindRecordOf(mark, line + 1, at + 1); buried <= at)
                    start = buried;
            if (start != line || !found || Classify(line).mKind != Record::Kind::Loose)
                return start;
            at = line - 1;
        }
    }

    /// Where the record begins within a line that a host belongs to, if that is from one place to another; otherwise
    /// `end`.
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

    /// See FindMark.
    std::size_t RecordSplitter::FindMarkFrom(std::size_t from, std::size_t end) const
    {
        char const* const mark = FindMark(mBuffer.data() + std::min(from, end), mBuffer.data() + end);
        return static_cast<std::size_t>(mark - mBuffer.data());
    }

    /// What begins at a line.
    RecordSplitter::Start RecordSplitter::Classify(std::size_t at) const
    {
        std::string_view const line(mBuffer.data() + at, mEnd - at);
        Start start{.mOffset = mOffset + (at - mBegin)};
        if (BeginsHead(line))
            start.mKind = Record::Kind::Head;
        else if ((start.mTimeLength = BeginsRecord(line, start.mTime)) != 0)
            start.mKind = Record::Kind::Message;
        return start;
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
