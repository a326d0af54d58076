#include <QzBase/System.h>

#include "os/Calls.h"
#include "os/System.h"
#include "support/base/Ascii.h"

#include <QzBase/Conversions.h>

namespace QzBase
{
    unsigned int GetCurrentProcessID()
    {
        return QzOs::GetProcessID();
    }
    unsigned long GetCurrentThreadID()
    {
        return QzOs::GetThreadID();
    }
    ReturnWString GetComputerName()
    {
        return UTF8ToWideChar(QzOs::GetComputerName().c_str(), false);
    }
    unsigned int GetLastError()
    {
        return QzOs::GetLastError();
    }

    ReturnWString GetSystemErrorDescription(unsigned int error)
    {
        return UTF8ToWideChar(QzOs::DescribeError(error).c_str(), true);
    }

    void Sleep(unsigned int milliseconds)
    {
        QzOs::gCalls.mpSleep(milliseconds);
    }

    void CreateGUID(_GUID& guid)
    {
        unsigned char bytes[16];
        QzOs::MakeUniqueIdentifier(bytes);
        guid.Data1 = static_cast<unsigned int>(bytes[0]) << 24 | static_cast<unsigned int>(bytes[1]) << 16 |
                     static_cast<unsigned int>(bytes[2]) << 8 | bytes[3];
        guid.Data2 = static_cast<unsigned short>(bytes[4] << 8 | bytes[5]);
        guid.Data3 = static_cast<unsigned short>(bytes[6] << 8 | bytes[7]);
        for (int i = 0; i < 8; ++i)
            guid.Data4[i] = bytes[8 + i];
    }

    ReturnWString GUID::ToWString() const
    {
        char text[36];
        char* end = WriteHex(text, Data1, 8);
        *end++ = '-';
        end = WriteHex(end, Data2, 4);
        *end++ = '-';
        end = WriteHex(end, Data3, 4);
        for (int i = 0; i < 8; ++i)
        {
            if (i == 0 || i == 2)
                *end++ = '-';
            end = WriteHex(end, Data4[i], 2);
        }
        return ReturnWString(WideString(text, end));
    }
}
