#include <QzLog/Exception.h>

namespace QzLog
{
    Exception::~Exception() = default;
}

namespace QzBase
{
    template class ExceptionImpl<QzLog::Exception>;
}
