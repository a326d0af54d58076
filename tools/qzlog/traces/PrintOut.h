#pragma once

#include "traces/FieldReader.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace QzLogTool
{
    /// A print-out of a command trace or of a message trace, all periods together. What cannot be read in it is
    /// reported, and the rest of that line left out.
    class PrintOut
    {
    public:
        enum class Kind
        {
            /// Nothing stands in it: a command trace without a closed period.
            Empty,
            Command,
            Message
        };

        /// The reported values of one command: their meaning is that of the program that reported them.
        struct Values
        {
            std::uint64_t mCount = 0;
            std::int64_t mMinimum = std::numeric_limits<std::int64_t>::max();
            std::int64_t mMaximum = std::numeric_limits<std::int64_t>::min();
            double mTotal = 0;

            double GetMean() const { return mCount != 0 ? mTotal / static_cast<double>(mCount) : 0; }
        };

        /// The same for one command and destination.
        struct Messages
        {
            std::uint64_t mFirst = 0;
            std::uint64_t mSecond = 0;
            std::uint64_t mThird = 0;
            double mTotal = 0;

            std::uint64_t GetCount() const { return mFirst + mSecond + mThird; }
            double GetMean() const { return GetCount() != 0 ? mTotal / static_cast<double>(GetCount()) : 0; }
        };

        /// Reads it whole. Throws Trouble when it cannot be read, or is no print-out.
        /// \param report  gets what is wrong, with the place.
        PrintOut(std::string const& path, std::function<void(std::string const&)> const& report);

        Kind GetKind() const { return mKind; }

        /// When the trace was begun, as it is written there. Of a message trace only.
        std::string const& GetStart() const { return mStart; }

        std::uint64_t GetPeriods() const { return mPeriods; }

        /// By command ID.
        std::map<int, Values> const& GetCommands() const { return mCommands; }

        /// By destination and command ID.
        std::map<std::pair<std::string, int>, Messages> const& GetMessages() const { return mMessages; }

        /// How many figures were left out because there are too many destinations or commands.
        std::uint64_t GetLeftOut() const { return mLeftOut; }

    private:
        void ReadCommands(FieldReader& reader, std::string& field, FieldReader::End end);
        void ReadMessages(FieldReader& reader);
        bool AddCommand(std::string_view field, std::int64_t& count);
        bool AddMessages(std::string_view field, std::string const& destination);
        void Report(FieldReader const& reader, std::string const& what);

        std::string const mPath;
        std::function<void(std::string const&)> const& mReport;
        std::uint64_t mReports = 0;
        Kind mKind = Kind::Empty;
        std::string mStart;
        std::uint64_t mPeriods = 0;
        std::map<int, Values> mCommands;
        std::map<std::pair<std::string, int>, Messages> mMessages;
        std::uint64_t mLeftOut = 0;
    };
}
