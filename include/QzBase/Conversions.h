#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

namespace QzBase
{
    /// The byte order mark U+FEFF as wide text of one code unit.
    QZLOG_API extern unsigned short const* const UNICODE_BYTE_ORDER_MARK;

    // The functions below may be called from any thread. They throw std::bad_alloc and accept any text; null
    // gives the empty text or 0. `forOutput` says what the three conversions do with malformed text:
    //   true   for message text that is output: each maximal malformed piece becomes one U+FFFD, so the
    //          result is always well-formed;
    //   false  for names and paths: bytes that are converted to wide text and back stay the same, whatever
    //          they are. A byte that is no part of well-formed UTF-8 becomes the lone code unit U+DC80 to
    //          U+DCFF (a surrogate in three bytes becomes three such units), and such a unit becomes that
    //          byte again. Any other lone surrogate becomes three bytes that are not UTF-8 and are converted
    //          back to three units. All other wide text is converted back unchanged, unless its lone units
    //          U+DC80 to U+DCFF happen to spell UTF-8.
    // U+FEFF is kept everywhere.

    /// UTF-8 to UTF-16.
    QZLOG_API ReturnWString UTF8ToWideChar(char const* text, bool forOutput);

    /// UTF-16 to UTF-8.
    QZLOG_API ReturnString WideCharToUTF8(unsigned short const* text, bool forOutput);

    /// UTF-16 to ASCII: one "?" for each character (not code unit) that is not ASCII; `forOutput` is ignored.
    QZLOG_API ReturnString WideCharToASCII(unsigned short const* text, bool forOutput);

    /// The decimal digits of `value`, with a leading "-" if it is negative.
    QZLOG_API ReturnString ToDecimalString(int value);

    /// Reads white space, an optional sign and decimal digits at the start of `text`, and ignores the rest. No
    /// digits give 0. Of a number that does not fit, the low 32 bits remain, so an unsigned 32-bit number can
    /// be recovered by converting the result to unsigned.
    QZLOG_API int DecimalToInt(char const* text);

    /// Reads hexadecimal digits of either case at the start of `text`, and ignores the rest. No
    /// digits give 0. Of more than eight significant digits, the low 32 bits remain.
    /// \param allowPrefix  whether a leading "0x" or "0X" is skipped.
    QZLOG_API unsigned int HexToUnsignedInt(char const* text, bool allowPrefix);
}
