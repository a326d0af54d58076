#include <QzDataType/Variant.h>

#include <QzBase/Conversions.h>

namespace QzDataType
{
    Variant::Variant(unsigned short const* text, QzBase::Buffer*) : mText(QzBase::WideCharToUTF8(text, true).c_str()) {}

    Variant::Variant(char const* utf8Text, QzBase::Buffer*) : mText(utf8Text ? utf8Text : "") {}
}
