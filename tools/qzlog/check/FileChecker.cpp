#include "check/FileChecker.h"

#include "output/Lines.h"
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
        constexpr std::size_t kShownLength = 60;

        /// The start of a text, in quotes.
        std::string Quote(std::string_view text)
        {
            return '\'' + std::string(text.substr(0, kShownLength)) + (text.size() > kShownLength ? "...'" : "'");
        }

        std::string_view GetLine(std::string_view text)
        {
            return WithoutLineEnd(text.substr(0, text.find('\n')));
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
            Fault("a record begins within the line, so the one before it is cut: " + Quote(GetLine(text)));
        else if (record.mOffset != 0)
        {
            if (isHead)
                Fault("a head in the middle of the file");
            else if (record.mKind == Record::Kind::Loose)
                Fault("no record owns the line " + Quote(GetLine(text)));
        }
        else if (!text.starts_with(kByteOrderMark))
            Fault("the file does not begin with a byte order mark");
        else if (!isHead)
            Fault("the file does not begin with the head '" + std::string(kHeadText) + '\'');
        else if (!text.starts_with(kHead.substr(0, kHead.size() - 2)))
            Fault("the head is of another version: " + Quote(WithoutLineEnd(text)));
        mIsInLine = false;
    }

    void FileChecker::TakeMessage(Record const& record)
    {
        ++mRecordCount;
        if (!mParser.Parse(record.mText))
        {
            // One that is cut is no fault of its own.
            bool const isCut = record.mIsWhole && record.mText.find('\n') == std::string_view::npos;
            if (!isCut)
                Fault("the header cannot be read: " + Quote(GetLine(record.mText)));
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
        if (!line.empty() && IsPlain(line))
            return;
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
