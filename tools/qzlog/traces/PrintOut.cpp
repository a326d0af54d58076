#include "traces/PrintOut.h"

#include "Trouble.h"
#include "output/Lines.h"
#include "time/LogTime.h"

#include <algorithm>
#include <charconv>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kMostRows = 65'536;
        constexpr std::size_t kLongestShown = 60;
        constexpr std::size_t kLongestDestination = 200;
        // A file that is something else should not fill the screen.
        constexpr std::uint64_t kMostReports = 20;

        /// "'<the field, cut>' is not ".
        std::string Refuse(std::string_view field)
        {
            std::string text(1, '\'');
            return text.append(field.substr(0, kLongestShown)).append("' is not ");
        }

        /// A number, and what follows it, which is taken off too.
        template <class Number>
        bool Take(std::string_view& text, Number& number, std::string_view following)
        {
            auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
            text.remove_prefix(static_cast<std::size_t>(end - text.data()));
            if (error != std::errc() || !text.starts_with(following))
                return false;
            text.remove_prefix(following.size());
            return true;
        }

        /// What a line of a command trace begins with: "4/10(40.00%)", of clusters and altogether.
        bool ReadHead(std::string_view field, std::int64_t& total)
        {
            std::int64_t cluster = 0;
            return Take(field, cluster, "/") && Take(field, total, "(") && field.ends_with("%)");
        }

        /// A text with a destination is padded to a width.
        std::string TrimRight(std::string const& text)
        {
            return text.substr(0, std::min(text.find_last_not_of(' ') + 1, kLongestDestination));
        }
    }

    PrintOut::PrintOut(std::string const& path, std::function<void(std::string const&)> const& report)
        : mPath(path), mReport(report)
    {
        FieldReader reader(path);
        std::string field;
        FieldReader::End const end = reader.Read(field);
        std::int64_t number = 0;
        std::int64_t time = 0;
        if (end == FieldReader::End::File && field.empty())
            return;
        if (end == FieldReader::End::Tab && ReadHead(field, number))
            ReadCommands(reader, field, end);
        else if (end == FieldReader::End::Line && ReadTime(field, time) != 0)
        {
            mStart = field;
            ReadMessages(reader);
        }
        else
            throw Trouble(mPath + ": is no print-out of a command or message trace: it begins with neither "
                                  "\"COUNT/COUNT(SHARE%)\" and a tab nor a time alone in its line");
    }

    /// Lines of a head, an empty field and the figures, each of which a tab ends.
    void PrintOut::ReadCommands(FieldReader& reader, std::string& field, FieldReader::End end)
    {
        mKind = Kind::Command;
        std::int64_t total = 0;
        std::int64_t sum = 0;
        bool isHead = true;
        bool isReadable = true;
        for (;; end = reader.Read(field))
        {
            bool const isLast = end != FieldReader::End::Tab;
            if (end == FieldReader::End::File && isHead && field.empty())
                return;
            bool const isKnown = isHead ? ReadHead(field, total) : field.empty() || AddCommand(field, sum);
            if (isReadable && !isKnown)
                Report(reader, Refuse(field) + (isHead ? "COUNT/COUNT(SHARE%)" : "ID:COUNT(MIN/MEAN/MAX)"));
            isReadable = isReadable && isKnown;
            isHead = isLast;
            if (end == FieldReader::End::File)
                return Report(reader, "the line is cut: the file ends within it");
            if (!isLast)
                continue;
            if (isReadable && sum != total)
                Report(reader, "the figures have " + std::to_string(sum) +
                                   " commands, and the start of the line says " + std::to_string(total));
            ++mPeriods;
            sum = 0;
            isReadable = true;
        }
    }

    /// Lines of the period's number, the destination and the figures, each of which a tab ends but the last.
    void PrintOut::ReadMessages(FieldReader& reader)
    {
        mKind = Kind::Message;
        std::string field;
        std::string destination;
        for (bool isReadable = true;;)
        {
            FieldReader::End const end = reader.Read(field);
            std::uint64_t const column = reader.GetColumn();
            if (end == FieldReader::End::File && column == 1 && field.empty())
                return;
            bool isKnown = true;
            std::string_view rest = field;
            std::uint64_t period = 0;
            if (column == 1)
            {
                isReadable = isKnown = Take(rest, period, "") && rest.empty() && end == FieldReader::End::Tab;
                mPeriods = std::max(mPeriods, isKnown ? period : 0);
            }
            else if (column == 2)
                destination = TrimRight(field);
            else
                isKnown = !isReadable || field.empty() || AddMessages(field, destination);
            if (!isKnown)
                Report(reader, Refuse(field) + (column == 1 ? "NUMBER" : "ID(FIRST-SECOND-THIRD:MEAN)"));
            isReadable = isReadable && isKnown;
            if (end == FieldReader::End::File)
                return Report(reader, "the line is cut: the file ends within it");
        }
    }

    bool PrintOut::AddCommand(std::string_view field, std::int64_t& count)
    {
        int id = 0;
        std::int64_t number = 0;
        std::int64_t minimum = 0;
        std::int64_t mean = 0;
        std::int64_t maximum = 0;
        bool const isRead = Take(field, id, ":") && Take(field, number, "(") && Take(field, minimum, "/") &&
                            Take(field, mean, "/") && Take(field, maximum, ")") && field.empty() && number >= 0;
        if (!isRead)
            return false;
        count += number;
        if (mCommands.size() >= kMostRows && !mCommands.contains(id))
            return ++mLeftOut != 0;
        Values& values = mCommands[id];
        values.mCount += static_cast<std::uint64_t>(number);
        values.mMinimum = std::min(values.mMinimum, minimum);
        values.mMaximum = std::max(values.mMaximum, maximum);
        values.mTotal += static_cast<double>(mean) * static_cast<double>(number);
        return true;
    }

    bool PrintOut::AddMessages(std::string_view field, std::string const& destination)
    {
        int id = 0;
        std::uint32_t first = 0;
        std::uint32_t second = 0;
        std::uint32_t third = 0;
        std::int64_t mean = 0;
        bool const isRead = Take(field, id, "(") && Take(field, first, "-") && Take(field, second, "-") &&
                            Take(field, third, ":") && Take(field, mean, ")") && field.empty();
        if (!isRead)
            return false;
        std::pair const row(destination, id);
        if (mMessages.size() >= kMostRows && !mMessages.contains(row))
            return ++mLeftOut != 0;
        Messages& messages = mMessages[row];
        messages.mFirst += first;
        messages.mSecond += second;
        messages.mThird += third;
        messages.mTotal += static_cast<double>(mean) * (double{1} * first + second + third);
        return true;
    }

    /// At the field that was read last.
    void PrintOut::Report(FieldReader const& reader, std::string const& what)
    {
        if (++mReports > kMostReports)
            throw Trouble(mPath + ": there is more that cannot be read; is it a print-out of a trace?");
        std::string visible;
        AppendVisible(visible, what);
        mReport(mPath + ':' + std::to_string(reader.GetLine()) + ", field " + std::to_string(reader.GetColumn()) +
                ": " + visible);
    }
}
