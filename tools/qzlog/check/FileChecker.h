#pragma once

#include "check/Findings.h"
#include "check/RecordHistory.h"
#include "reading/HeaderParser.h"
#include "reading/Record.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Checks whether one file of a log is as the library writes it.
    class FileChecker
    {
    public:
        /// Is notified of what is found, with the number of the line, from 1 on.
        class Listener
        {
        public:
            virtual ~Listener() = default;
            virtual void OnFinding(std::uint64_t line, Finding finding, std::string const& text) = 0;
            virtual void OnMissed(std::uint64_t line, MissedMessages const& missed) = 0;
        };

        /// \param isLog  whether it is the log itself, whose last record may be just being written.
        /// \param history  of the files before; this one's is added.
        /// History and listener must outlive this object.
        FileChecker(std::string path, bool isLog, RecordHistory& history, Listener& listener);

        /// Takes the records of the file, one after the other. `source` has just given it.
        void Take(Record const& record, RecordSource& source);

        /// Call it after the last record.
        void Finish();

    private:
        void TakeStart(Record const& record);
        void TakeMessage(Record const& record);
        void LookForHeader(std::string_view text);
        void CheckOrder(Record const& record);
        void TakeLines(std::string_view text);
        void TakeLine(std::string_view line, bool isEnded);
        bool IsBeingWritten() const;
        void Fault(Finding finding, std::string const& text) { mListener.OnFinding(mLine, finding, text); }

        std::string const mPath;
        bool const mIsLog;
        RecordHistory& mHistory;
        Listener& mListener;
        HeaderParser mParser;
        std::uint64_t mLine = 1;
        std::uint64_t mSize = 0;
        // Within a line: it comes in parts, or it was cut.
        bool mIsInLine = false;
    };
}
