// Header line and body: the record has CR LF between its lines and nowhere anything else of the two, no
// blank line, and all the other characters.

#include "Fuzz.h"

#include <QzLog/Destination_Impl.h>

#include <QzSynch/ReferenceCountedImpl.h>

namespace
{
    class Formatter final : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        void WriteMessage(QzLog::MessageHeader&, QzLog::MessageBody&) override {}
        void WriteMessage(char const*, QzLog::MessageHeader&) override {}
    };

    Formatter& GetFormatter()
    {
        static Formatter formatter;
        return formatter;
    }

    std::string Format(char const* header, std::string const& body, bool appendNewline)
    {
        return GetFormatter().FormatMultiLineMessageText(1, header, body.c_str(), appendNewline).c_str();
    }

    std::string WithoutLineEnds(std::string text)
    {
        std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
        return text;
    }

    void CheckLineEnds(std::string const& text)
    {
        for (std::size_t i = 0; i < text.size(); ++i)
        {
            bool const follows = i > 0 && text[i - 1] == '\r';
            Fuzz::Check((text[i] == '\n') == follows, "CR and LF stand together");
            Fuzz::Check(text[i] != '\r' || i + 1 < text.size(), "no CR at the end");
        }
        Fuzz::Check(text.find("\r\n\r\n") == std::string::npos, "no blank line");
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto [header, body] = Fuzz::TakeTexts<2>(data, size);
    // Line ends inside the header stay as they are.
    header = WithoutLineEnds(header);
    std::string const text = Format(header.c_str(), body, false);
    std::string const content = WithoutLineEnds(body);
    CheckLineEnds(text);

    bool const dropsAll = !body.empty() && content.empty();
    std::string const head = header.empty() || dropsAll ? "" : header + ' ';
    Fuzz::Check(WithoutLineEnds(text) == head + content, "nothing is lost");
    Fuzz::Check(Format(header.c_str(), body, true) == (text.empty() ? "" : text + "\r\n"), "a line end is appended");
    Fuzz::Check(body.empty() || Format(nullptr, text, false) == text, "a formatted text stays as it is");
    return 0;
}
