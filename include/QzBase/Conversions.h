#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

namespace QzBase
{
    /// The byte order mark U+FEFF as wide text of one code unit.
    QZLOG_API extern unsigned short const* const UNICODE_BYTE_ORDER_MARK;

    // What follows may be called from any thread and throws std::bad_alloc, but fails on no text: null gives
    // the empty text or 0. The bool of the three conversions says where the text goes:
    //   true   message text on its way out: what is malformed becomes U+FFFD (one for each maximal
    //          malformed piece), so the result is always well-formed;
    //   false  names and paths: bytes converted to wide text and back are the same bytes, whatever they
    //          are. A byte that is no part of well-formed UTF-8 becomes the lone code unit U+DC80 to U+DCFF
    //          (a surrogate in three bytes is three such units), and such a code unit becomes that byte
    //          again. Any other lone surrogate becomes three bytes that are no UTF-8 and come back as three
    //          units; all other wide text comes back as it was, unless its lone units U+DC80 to U+DCFF
    //          happen to spell UTF-8.
    // U+FEFF is kept wherever it stands.

    /// UTF-8 to UTF-16.
    QZLOG_API ReturnWString UTF8ToWideChar(char const* text, bool forOutput);

    /// UTF-16 to UTF-8.
    QZLOG_API ReturnString WideCharToUTF8(unsigned short const* text, bool forOutput);

    /// UTF-16 to ASCII: one "?" for each character (not code unit) that is none, whatever the bool.
    QZLOG_API ReturnString WideCharToASCII(unsigned short const* text, bool forOutput);

    /// The decimal digits of `value`, with a leading "-" if it is negative.
    QZLOG_API ReturnString ToDecimalString(int value);

    /// Reads an optional sign and decimal digits at the start of `text`, behind white space; what follows is
    /// ignored. No digits give 0; of a number that does not fit the low 32 bits remain, so that an unsigned
    /// number of 32 bits comes back when the result is converted to one.
    QZLOG_API int DecimalToInt(char const* text);

    /// Reads hexadecimal digits of either case at the start of `text`; what follows is ignored. No
    /// digits give 0; of more than eight significant digits the low 32 bits remain.
    /// \param allowPrefix  whether "0x" or "0X" in front is skipped.
    QZLOG_API unsigned int HexToUnsignedInt(char const* text, bool allowPrefix);
}
