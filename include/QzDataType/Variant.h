#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>

#include <string>

namespace QzDataType
{
    /// A text value, given as UTF-8 or as UTF-16 and read as UTF-8. A value, which may be read by any thread.
    /// Constructing throws std::bad_alloc.
    class QZLOG_API Variant
    {
    public:
        /// Null text counts as empty. \param buffer  null.
        Variant(unsigned short const* text, QzBase::Buffer* buffer);
        Variant(char const* utf8Text, QzBase::Buffer* buffer);

        /// The text in UTF-8, valid as long as the object.
        std::string const& GetUTF8Text() const noexcept { return mText; }

    private:
        std::string mText;
    };
}
