#pragma once

#include <QzBase/Export.h>
#include <QzBase/Message.h>

namespace QzLog
{
    /// What this library throws where the type matters: a log file that cannot be created.
    /// It is a QzBase::Message, and is mostly caught as one.
    class QZLOG_API Exception : public QzBase::Message
    {
    public:
        using QzBase::Message::Message;
        Exception() = default;
        Exception(Exception const&) = default;
        Exception(Exception&&) noexcept = default;
        Exception& operator=(Exception const&) = default;
        Exception& operator=(Exception&&) noexcept = default;
        ~Exception() override;
    };
}

namespace QzBase
{
    extern template class QZLOG_API ExceptionImpl<QzLog::Exception>;
}
