#pragma once

#include "reading/HeaderParser.h"
#include "reading/Record.h"
#include "stats/Counter.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogTool
{
    /// Counts records by something that they have, under its name on the command line.
    class Grouping
    {
    public:
        static std::vector<std::string> GetNames();

        /// \param name  one of those.
        /// \param mostBytes  see Counter.
        Grouping(std::string const& name, std::size_t mostBytes);

        std::string const& GetName() const { return mName; }

        /// The title of its table.
        std::string const& GetTitle() const;

        /// Whether its rows belong in order of time.
        bool IsOfTime() const;

        /// \param parser  has just read the record's header.
        void Add(Record const& record, HeaderParser const& parser);

        Counter const& GetCounter() const { return mCounter; }

    private:
        struct Kind;
        static std::vector<Kind> const& GetKinds();
        std::string_view FormatSlot(std::int64_t time);

        std::string const mName;
        Kind const& mKind;
        Counter mCounter;
        std::string mText;
        // Of the slot that mText names.
        std::int64_t mSlotStart = 0;
    };
}
