#include "check/FileChecker.h"

#include "reading/InputFile.h"
#include "reading/RecordStart.h"

#include <utf8.h>

#include <optional>

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kByteOrderMark = kHead.substr(0, 3);
        constexpr std::string_view kHeadText = kHead.substr(3, kHead.size() - 5);
        constexpr std::string_view kFirstField = " [HOST:";
        constexpr std::size_t kShownLength = 60;

        /// The start of a text, in quotes.
        std::string Quote(std::string_view text)
        {
            return '\'' + std::string(text.substr(0, kShownLength)) + (text.size() > kShownLength ? "...'" : "'");
        }
    }

    FileChecker::FileChecker(std::string path, bool isLog, Listener& listener)
        : mPath(std::move(path)), mIsLog(isLog), mListener(listener)
    {
    }

    void FileChecker::Take(Record const& record, RecordSource& source)
    {
        TakeStart(record);
        if (record.mKind == Record::Kind::Message)
            TakeMessage(record.mText);
        TakeLines(record.mText);
        std::string_view part;
        while (source.NextPart(part))
            TakeLines(part);
    }

    void FileChecker::TakeStart(Record const& record)
    {
        std::string_view const text = record.mText;
        bool const isHead = record.mKind == Record::Kind::Head;
        if (record.mOffset != 0)
        {
            if (isHead)
                Fault("a head in the middle of the file");
            else if (record.mKind == Record::Kind::Loose)
                Fault("no record owns the line " + Quote(WithoutLineEnd(text.substr(0, text.find('\n')))));
        }
        else if (!text.starts_with(kByteOrderMark))
            Fault("the file does not begin with a byte order mark");
        else if (!isHead)
            Fault("the file does not begin with the head '" + std::string(kHeadText) + '\'');
        else if (!text.starts_with(kHead.substr(0, kHead.size() - 2)))
            Fault("the head is of another version: " + Quote(WithoutLineEnd(text)));
    }

    void FileChecker::TakeMessage(std::string_view text)
    {
        ++mRecordCount;
        if (!mParser.Parse(text) || !mParser.ReadHeader())
        {
            Fault("the header cannot be read: " + Quote(text.substr(0, text.find_first_of("\r\n"))));
            return;
        }
        MissedMessages missed;
        if (ReadMissedMessages(mParser, missed))
            mListener.OnMissed(mLine, missed);
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
            Fault("the line ends with LF, not with CR LF");
        line = line.substr(0, line.size() - hasCR);
        if (line.empty() && isEnded && !mIsInLine)
            Fault("an empty line");
        if (line.find('\r') != std::string_view::npos)
            Fault("a CR within the line");
        if (line.find('\0') != std::string_view::npos)
            Fault("a NUL byte");
        // What is still being written may end within a character.
        auto const malformed = utf8::find_invalid(line.begin(), line.end());
        if (malformed != line.end() && (isEnded || line.end() - malformed > 3))
            Fault("a byte that is no UTF-8");
        FindBuriedRecord(line);
    }

    /// A record that was not written to its end has no line end, and the next one follows in its line.
    void FileChecker::FindBuriedRecord(std::string_view line)
    {
        // A time is 23 characters long, or 29 with its distance from UTC.
        constexpr std::size_t kTimeLengths[] = {23, 29};
        for (std::size_t at = 0; (at = line.find(kFirstField, at)) != std::string_view::npos; ++at)
            for (std::size_t const length : kTimeLengths)
            {
                std::int64_t time;
                bool const isBuried = at > length && BeginsRecord(line.substr(at - length), time) &&
                                      mParser.Parse(line.substr(at - length));
                if (isBuried)
                    return Fault("a record begins within the line, so the one before it is cut: " +
                                 Quote(line.substr(at - length)));
            }
    }

    void FileChecker::Finish()
    {
        if (mIsInLine && !IsBeingWritten())
            Fault("the last record is cut: the file ends without CR LF");
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
