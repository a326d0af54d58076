#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

// What the library needs of the operating system. All functions may be called from any thread. Those that
// return or keep a text throw std::bad_alloc.

namespace QzBase
{
    QZLOG_API unsigned int GetCurrentProcessID();

    /// The system's number of the calling thread, as tools such as `ps -L` show it. 32 bits.
    QZLOG_API unsigned long GetCurrentThreadID();

    /// The name of this machine; empty if the system does not report it.
    QZLOG_API ReturnWString GetComputerName();

    /// The calling thread's last system error (errno).
    QZLOG_API unsigned int GetLastError();

    /// The system's text for an error number, in English whatever the locale, without a line end.
    QZLOG_API ReturnWString GetSystemErrorDescription(unsigned int error);

    /// Returns after at least that time. 0 yields to other threads.
    QZLOG_API void Sleep(unsigned int milliseconds);

    /// The 128 bits of a globally unique identifier.
    struct _GUID
    {
        unsigned int Data1;
        unsigned short Data2;
        unsigned short Data3;
        unsigned char Data4[8];
    };

    /// A globally unique identifier with its text form.
    struct QZLOG_API GUID : _GUID
    {
        /// 36 characters, upper-case hexadecimal: "01234567-89AB-CDEF-0123-456789ABCDEF".
        ReturnWString ToWString() const;
    };

    /// Fills `guid` with a new random identifier.
    QZLOG_API void CreateGUID(_GUID& guid);

    /// Whether a feature is switched on. A feature that was never set is off. Null gives false.
    QZLOG_API bool IsFeatureEnabled(unsigned short const* name);

    /// Switches a feature on or off for the process. Names are compared code unit by code unit. A name that
    /// was set once is kept until the process ends. Null does nothing.
    QZLOG_API void SetFeatureEnabled(unsigned short const* name, bool enabled);
}
