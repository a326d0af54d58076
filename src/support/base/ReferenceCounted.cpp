#include <QzBase/ReferenceCounted.h>

namespace QzBase
{
    ReferenceCounted::~ReferenceCounted() = default;
}
