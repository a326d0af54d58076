#include "filesystem/Failures.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>

namespace QzFileSystem
{
    CallText& CallText::operator<<(char const* utf8Text)
    {
        return *this << QzBase::UTF8ToWideChar(utf8Text, true).c_str();
    }

    CallText& CallText::operator<<(unsigned short const* text)
    {
        mText += text;
        return *this;
    }

    CallText& CallText::operator<<(int number)
    {
        return *this << QzBase::ToDecimalString(number).c_str();
    }

    QzBase::ExceptionImpl<QzBase::Message> CallText::ToFailure(QzOs::Error error) const
    {
        CallText whole(*this);
        whole << "\n" << QzBase::GetSystemErrorDescription(static_cast<unsigned int>(error)).c_str();
        QzBase::ExceptionImpl<QzBase::Message> failure;
        failure.SetDomainAndID(QzBase::MESSAGE_DOMAIN_UNKNOWN, error);
        failure.SetMessage(whole.mText.c_str());
        return failure;
    }

    void Report(QzBase::Message* err, QzBase::Message const& failure)
    {
        if (err)
            err->PrependBy(failure);
    }
}
