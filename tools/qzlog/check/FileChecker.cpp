#include "check/FileChecker.h"

#include "output/Lines.h"
#include "reading/InputFile.h"
#include "reading/RecordStart.h"
#include "time/Moments.h"

#include <utf8.h>

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kByteOrderMark = kHead.substr(0, 3);
        constexpr std::string_view kHeadText = kHead.substr(3, kHead.size() - 5);
        constexpr std::size_t kShownLength = 60;

        /// The start of a text, in quotes.
        std::string QuoteStart(std::string_view text)
        {
            return '\'' + std::string(text.substr(0, kShownLength)) + (text.size() > kShownLength ? "...'" : "'");
        }

        std::string_view GetLine(std::string_view text)
        {
            return WithoutLineEnd(text.substr(0, text.find('\n')));
        }
    }

    FileChecker::FileChecker(std::string path, bool isLog, RecordHistory& history, Listener& listener)
        : mPath(std::move(path)), mIsLog(isLog), mHistory(history), mListener(listener)
    {
    }

    void FileChecker::Take(Record const& record, RecordSource& source)
    {
        TakeStart(record);
        if (record.mKind == Record::Kind::Message)
            TakeMessage(record);
        TakeLines(record.mText);
        std::string_view part;
        while (source.NextPart(part))
            TakeLines(part);
    }

    void FileChecker::TakeStart(Record const& record)
    {
        std::string_view const text = record.mText;
        bool const isHead = record.mKind == Record::Kind::Head;
        if (mIsInLine)
            Fault(Finding::Cut,
                "a record begins within the line, so the one before it is cut: " + QuoteStart(GetLine(text)));
        else if (record.mOffset != 0)
        {
            if (isHead)
                Fault(Finding::HeadWithin, "a head in the middle of the file");
            else if (record.mKind == Record::Kind::Loose)
                Fault(Finding::Loose, "a line outside of records: " + QuoteStart(GetLine(text)));
        }
        else if (!text.starts_with(kByteOrderMark))
            Fault(Finding::NoHead, "the file does not begin with a byte order mark");
        else if (!isHead)
            Fault(Finding::NoHead, "the file does not begin with the head '" + std::string(kHeadText) + '\'');
        else if (!text.starts_with(kHead.substr(0, kHead.size() - 2)))
            Fault(Finding::NoHead, "the head is of another version: " + QuoteStart(WithoutLineEnd(text)));
        mIsInLine = false;
    }

    void FileChecker::TakeMessage(Record const& record)
    {
        if (!mParser.Parse(record.mText))
        {
            // One that is cut is no fault of its own.
            bool const isCut = record.mIsWhole && record.mText.find('\n') == std::string_view::npos;
            if (!isCut)
                Fault(Finding::Header, "the header cannot be read: " + QuoteStart(GetLine(record.mText)));
            return;
        }
        MissedMessages missed;
        if (ReadMissedMessages(mParser, missed))
            mListener.OnMissed(mLine, missed);
        else
        {
            LookForHeader(record.mText);
            // One that is cut is a fault already, and no copy of any other.
            if (!record.mIsWhole || record.mText.ends_with('\n'))
                CheckOrder(record);
        }
    }

    /// A whole one would have begun a record.
    void FileChecker::LookForHeader(std::string_view text)
    {
        char const* const end = text.data() + text.size();
        char const* const found = FindMark(text.data() + mParser.GetLength(), end);
        // The head of a log within a message looks like nothing but itself.
        if (found == end || *found != kHost[0])
            return;
        std::size_t const at = static_cast<std::size_t>(found - text.data());
        std::size_t const lines =
            static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        mListener.OnFinding(mLine + lines, Finding::LookAlike,
            "within a message stands what looks like a header: " + QuoteStart(GetLine(text.substr(at + 1))));
    }

    void FileChecker::CheckOrder(Record const& record)
    {
        RecordHistory::Order const order = mHistory.Take(mParser, record.mText, record.mTime, mLine);
        if (order == RecordHistory::Order::Backwards)
        {
            HeaderFields const& fields = mParser.GetFields();
            Fault(Finding::Backwards, "time goes back by " + FormatSpan(static_cast<double>(mHistory.GetStepBack())) +
                                          " within thread " + std::string(fields.mThread) + " of process " +
                                          std::string(fields.mProcess));
        }
        if (order != RecordHistory::Order::Repeated)
            return;
        RecordHistory::Place const first = mHistory.GetFirstPlace();
        std::string const& path = mHistory.GetPath(first);
        // The first record of a file: all of it is repeated.
        if (path != mPath && first.mLine == mLine && mLine <= 2)
            mListener.OnFinding(mLine, Finding::Leftover, "the records of " + path + " stand here once more");
        else
            Fault(Finding::Repeated,
                "the record stands here once more, after " + path + ':' + std::to_string(first.mLine));
    }

    void FileChecker::TakeLines(std::string_view text)
    {
        mSize += text.size();
        while (!text.empty())
        {
            std::size_t const end = text.find('\n');
            bool const isEnded = end != std::string_view::npos;
            TakeLine(text.substr(0, end), isEnded);
            text.remove_prefix(isEnded ? end + 1 : text.size());
            mIsInLine = !isEnded;
            mLine += isEnded;
        }
    }

    /// A line, or the next part of one; LF is taken off.
    void FileChecker::TakeLine(std::string_view line, bool isEnded)
    {
        bool const hasCR = line.ends_with('\r');
        if (isEnded && !hasCR)
            Fault(Finding::LineEnd, "the line ends with LF, not with CR LF");
        line = line.substr(0, line.size() - hasCR);
        if (!line.empty() && IsPlain(line))
            return;
        if (line.empty() && isEnded && !mIsInLine)
            Fault(Finding::LineEnd, "an empty line");
        if (line.find('\r') != std::string_view::npos)
            Fault(Finding::LineEnd, "a CR within the line");
        if (line.find('\0') != std::string_view::npos)
            Fault(Finding::Bytes, "a NUL byte");
        // What is still being written may end within a character.
        auto const malformed = utf8::find_invalid(line.begin(), line.end());
        if (malformed != line.end() && (isEnded || line.end() - malformed > 3))
            Fault(Finding::Bytes, "a byte that is no UTF-8");
    }

    void FileChecker::Finish()
    {
        if (mIsInLine && !IsBeingWritten())
            Fault(Finding::Cut, "the last record is cut: the file ends without CR LF");
    }

    /// Whether a record at the end of the log is only half there because its writer is not ready yet.
    bool FileChecker::IsBeingWritten() const
    {
        if (!mIsLog)
            return false;
        InputFile const file(mPath);
        InputFile::WriterPause const pause(file);
        return file.GetStatus().mIdentity.mSize != mSize;
    }
}
