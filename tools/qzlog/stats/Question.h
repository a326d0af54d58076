#pragma once

#include "output/Output.h"
#include "reading/HeaderParser.h"
#include "reading/Record.h"

#include <json/value.h>

#include <cstddef>

namespace QzLogTool
{
    /// What `stats` can be asked beside counts. It sees each record that has a header once, in the order of time. Its
    /// memory is bounded, and what that leaves out is shown.
    class Question
    {
    public:
        virtual ~Question() = default;

        /// Its key in JSON.
        virtual char const* GetName() const = 0;

        /// \param parser  has just read the record's header.
        virtual void Add(Record const& record, HeaderParser const& parser) = 0;

        /// All records were added.
        virtual void Finish() {}

        /// At most so many rows of each table.
        virtual void Print(Output& output, std::size_t rows) const = 0;

        virtual Json::Value ToJson() const = 0;
    };
}
