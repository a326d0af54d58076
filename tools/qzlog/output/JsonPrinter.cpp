#include "output/JsonPrinter.h"

#include "output/Lines.h"

namespace QzLogTool
{
    void JsonPrinter::Print(Record const& record, RecordSource& source)
    {
        std::string_view text = record.mText;
        mJson.assign(1, '{'); // of a literal, at -O3, g++ 12 warns without a reason
        bool const hasHeader = record.mKind == Record::Kind::Message && mParser.Parse(text);
        if (QzLog::MessageHeader* const pHeader = hasHeader ? mParser.ReadHeader() : nullptr)
        {
            constexpr std::string_view kEnd = "}\n";
            mJson = pHeader->GetHeaderJSON();
            mJson.replace(mJson.size() - kEnd.size(), kEnd.size(), ",");
            text.remove_prefix(mParser.GetLength());
            if (text.starts_with(' '))
                text.remove_prefix(1);
        }
        mJson += "\"message\":\"";
        mOwesLineEnd = false;
        PrintText(text);
        std::string_view part;
        while (source.NextPart(part))
            PrintText(part);
        mJson += "\"}\n";
        Write();
    }

    /// The last line end of a message is not part of it; whether one is the last shows when something follows.
    void JsonPrinter::PrintText(std::string_view text)
    {
        mLines.clear();
        if (mOwesLineEnd)
            mLines += '\n';
        AppendLines(mLines, text);
        mOwesLineEnd = mLines.ends_with('\n');
        if (mOwesLineEnd)
            mLines.pop_back();
        AppendJson(mJson, mLines);
        Write();
    }

    /// The only control character that those who make JSON leave as it is gets spelt out too; it stands within texts.
    void JsonPrinter::Write()
    {
        for (std::size_t at = 0; (at = mJson.find('\x7F', at)) != std::string::npos;)
            mJson.replace(at, 1, "\\u007f");
        mOutput.Write(mJson);
        mJson.clear();
    }
}
