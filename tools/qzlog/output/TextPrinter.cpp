#include "output/TextPrinter.h"

#include "output/Lines.h"
#include "time/LogTime.h"
#include "time/Moments.h"

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kLong = std::size_t{64} << 10;

        // Control sequences of terminals.
        constexpr char kPlain[] = "\x1B[0m";
        constexpr char kMoment[] = "\x1B[36m";
        constexpr char kFaint[] = "\x1B[2m";
        constexpr char kName[] = "\x1B[32m";
        constexpr char kError[] = "\x1B[1;31m";
        constexpr char kFound[] = "\x1B[1;7m";
        constexpr char kGap[] = "--";
        constexpr char kNoMessage[] = "\x1B[33m";
    }

    TextPrinter::TextPrinter(Output& output, TextMatcher const& marked, bool usesColor, bool usesUTC)
        : mOutput(output), mMarked(marked), mUsesColor(usesColor), mUsesUTC(usesUTC)
    {
    }

    void TextPrinter::Print(Record const& record, RecordSource& source)
    {
        std::string_view text = record.mText;
        if (record.mFollowsGap)
            mText += mUsesColor ? std::string(kFaint) + kGap + kPlain + '\n' : std::string(kGap) + '\n';
        if (mUsesColor && record.mKind == Record::Kind::Message && mParser.Parse(text))
        {
            AppendHeader(text.substr(0, mParser.GetLength()), record.mTime);
            text.remove_prefix(mParser.GetLength());
        }
        else
        {
            if (mUsesColor)
                mText += kNoMessage;
            std::int64_t moment;
            if (mUsesUTC && record.mKind == Record::Kind::Message)
            {
                AppendTime(std::string_view(), record.mTime);
                text.remove_prefix(ReadTime(text, moment));
            }
        }
        PrintText(text);
        std::string_view part;
        while (source.NextPart(part))
            PrintText(part);
        if (mIsInLine)
            EndLine();
        mOutput.Write(mText);
        mText.clear();
    }

    void TextPrinter::PrintText(std::string_view text)
    {
        while (!text.empty())
        {
            bool isEnded;
            std::string_view const line = TakeLine(text, isEnded);
            AppendMarked(line);
            mIsInLine = !isEnded;
            if (isEnded)
                EndLine();
            if (mText.size() >= kLong)
                Flush();
        }
        Flush();
    }

    void TextPrinter::Flush()
    {
        mOutput.Write(mText);
        mText.clear();
    }

    void TextPrinter::EndLine()
    {
        if (mUsesColor)
            mText += kPlain;
        mText += '\n';
        mIsInLine = false;
    }

    /// The time, and the logger with its dispatcher, have a colour. The rest is faint.
    void TextPrinter::AppendHeader(std::string_view header, std::int64_t moment)
    {
        HeaderFields const& fields = mParser.GetFields();
        std::size_t const timeLength = mParser.GetTimeLength();
        // From the bracket before the logger to that behind the dispatcher.
        std::size_t const at = static_cast<std::size_t>(fields.mLogger.data() - header.data()) - 1;
        std::size_t const end =
            static_cast<std::size_t>(fields.mDispatcher.data() - header.data()) + fields.mDispatcher.size() + 1;

        mText += kMoment;
        AppendTime(header.substr(0, timeLength), moment);
        (mText += kPlain) += kFaint;
        AppendText(header.substr(timeLength, at - timeLength));
        (mText += kPlain) += fields.mDispatcher == "Error" ? kError : kName;
        AppendText(header.substr(at, end - at));
        (mText += kPlain) += kFaint;
        AppendText(header.substr(end));
        mText += kPlain;
    }

    /// As it is in the log, or in UTC.
    void TextPrinter::AppendTime(std::string_view time, std::int64_t moment)
    {
        if (mUsesUTC)
            mText += FormatMoment(moment);
        else
            mText += time;
    }

    void TextPrinter::AppendMarked(std::string_view line)
    {
        std::size_t from = 0;
        std::size_t at;
        std::size_t length;
        while (mUsesColor && mMarked.Find(line, from, at, length))
        {
            AppendText(line.substr(from, at - from));
            mText += kFound;
            AppendText(line.substr(at, length));
            mText += kPlain;
            from = at + length;
        }
        AppendText(line.substr(from));
    }

    void TextPrinter::AppendText(std::string_view text)
    {
        if (mOutput.IsTerminal())
            AppendVisible(mText, text);
        else if (text.size() < kLong)
            mText += text;
        else
        {
            // Not copied: there may be 16 MB of it.
            Flush();
            mOutput.Write(text);
        }
    }
}
