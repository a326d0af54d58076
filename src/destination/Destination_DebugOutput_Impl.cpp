#include "destination/Destination_DebugOutput_Impl.h"

#include "os/Calls.h"
#include "os/Fork.h"

#include <QzBase/Conversions.h>
#include <QzLog/MessageHeader.h>

#include <string>
#include <utility>

namespace QzLog
{
    namespace
    {
        void Write(char const* text)
        {
            if (QzOs::IsForking())
                return;
            QzOs::gCalls.mpWriteDebugOutput(QzBase::UTF8ToWideChar(text, true).c_str());
        }
    }

    Destination_DebugOutput::~Destination_DebugOutput() = default;

    QZLOG_CALL_FRAME void Destination_DebugOutput_Impl::WriteMessage(char const* bodyText, MessageHeader& header)
    {
        QzBase::ReturnString const text =
            FormatMultiLineMessageText(header.GetMessageID(), header.GetHeaderText(), bodyText, true);
        Write(text.c_str());
    }

    void Destination_DebugOutput_Impl::WriteString(char const* text)
    {
        std::string line(text ? text : "");
        if (line.ends_with('\n'))
            Write(line.c_str());
        else
            WriteLine(std::move(line));
    }

    void Destination_DebugOutput_Impl::WriteLine(std::string line)
    {
        Write(line.append("\r\n").c_str());
    }
}
