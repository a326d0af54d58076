#pragma once

namespace QzOs
{
    /// What kind of event Calls::mpReportEvent reports.
    enum EventType : unsigned short
    {
        kEventSuccess = 0,
        kEventError = 1,
        kEventWarning = 2,
        kEventInformation = 4
    };
}
