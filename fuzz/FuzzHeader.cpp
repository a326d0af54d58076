// A header text: what was read renders to a text that reads back to the same. The time stamp likewise.

#include "Fuzz.h"

#include <QzLog/MessageHeader.h>

namespace
{
    using Header = QzBase::ReturnPtrI<QzLog::MessageHeader>;

    void CheckTimestamp(std::string const& text)
    {
        QzLog::Timestamp_Impl stamp;
        unsigned int const taken = stamp.FromISO8601String(text.c_str());
        Fuzz::Check(taken <= text.size(), "a time stamp ends within the text");
        if (taken == 0)
            return;
        QzBase::ReturnString const rendered = stamp.ToISO8601String();
        QzLog::Timestamp_Impl again;
        Fuzz::Check(again.FromISO8601String(rendered.c_str()) == rendered.size(), "a time stamp is read to its end");
        Fuzz::Check(std::string(rendered.c_str()) == again.ToISO8601String().c_str(), "a time stamp stays the same");
    }

    // The source file as the header text shows it.
    std::string GetShownFile(QzLog::MessageHeader& header)
    {
        std::string const file = header.GetSourceFile();
        std::size_t const slash = file.rfind('/');
        std::size_t const separator = slash != file.npos ? slash : file.rfind('\\');
        return separator == file.npos ? file : file.substr(separator + 1);
    }

    void CheckRoundTrip(QzLog::MessageHeader& header)
    {
        std::string const rendered = header.GetHeaderText();
        Header const again = QzLog::CreateMessageHeader();
        unsigned int const taken = again->ParseHeaderText(rendered.c_str());
        Fuzz::Check(taken > 0 && taken <= rendered.size(), "a rendered header is read");

        std::string const file = GetShownFile(header);
        std::string const function = header.GetSourceFunction();
        bool const showsSource =
            std::string(header.GetDispatcherName()) == "Error" && *header.GetSourceFile() && !function.empty();
        // A file name that ends in a separator shows as nothing, and nothing is no source location; a backslash behind
        // the last slash is shown, and taken for a separator when that is read.
        if (showsSource && (file.empty() || file.find('\\') != file.npos))
            return;
        Fuzz::Check(rendered == again->GetHeaderText(), "a rendered header stays the same");
        // A source location ends for the reader at its first bracket.
        bool const hasBracket = showsSource && (file + function).find(']') != std::string::npos;
        Fuzz::Check(hasBracket || taken == rendered.size(), "a rendered header is read to its end");
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [text] = Fuzz::TakeTexts<1>(data, size);
    CheckTimestamp(text);

    Header const header = QzLog::CreateMessageHeader();
    header->SetHostName("as before");
    std::string const timeBefore = header->GetTimestampString();
    unsigned int const taken = header->ParseHeaderText(text.c_str());
    Fuzz::Check(taken <= text.size(), "a header ends within the text");
    if (taken > 0)
        CheckRoundTrip(*header);
    else
        Fuzz::Check(header->GetHostName() == std::string("as before") && timeBefore == header->GetTimestampString(),
            "a text that is no header changes nothing");
    std::string const json = header->GetHeaderJSON();
    Fuzz::Check(json.find('\n') == json.size() - 1, "JSON is one line");
    return 0;
}
