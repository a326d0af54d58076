#pragma once

#include "reading/Record.h"

namespace QzLogTool
{
    /// A form in which records are shown.
    class RecordPrinter
    {
    public:
        virtual ~RecordPrinter() = default;

        /// \param source  has just given the record, and gives its further parts if it has some.
        virtual void Print(Record const& record, RecordSource& source) = 0;
    };
}
