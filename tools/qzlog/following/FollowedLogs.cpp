#include "following/FollowedLogs.h"

#include "Trouble.h"
#include "reading/RecordSplitter.h"
#include "time/Moments.h"

#include <cstdio>
#include <limits>
#include <optional>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        /// Back-ups that wait to be read stay open, up to some hundred for each log.
        class FollowedLog : public RecordSource, public Growth
        {
        public:
            FollowedLog(std::string path, FollowedBytes::Report const& report, LogPosition const& position)
                : mReport(report), mTime(position.mTime)
            {
                auto bytes = std::make_unique<FollowedBytes>(std::move(path), report);
                mpBytes = bytes.get();
                mpBytes->Resume(position);
                mpRecords = std::make_unique<RecordSplitter>(std::move(bytes));
            }

            void SetNeedle(Needle const& needle) override { mpRecords->SetNeedle(needle); }

            bool Next(Record& record) override
            {
                bool const isThere = mpRecords->Next(record);
                mDone.reset();
                mNextTime = mTime;
                if (!isThere)
                    return false;
                mDone = record.mOffset;
                if (record.mKind != Record::Kind::Message)
                    return true;
                mNextTime = record.mTime;
                if (std::optional<std::uint64_t> const loss = mpBytes->TakeLoss())
                    ReportLoss(*loss);
                return true;
            }

            bool NextPart(std::string_view& text) override { return mpRecords->NextPart(text); }
            bool CanGoBack() const override { return mpRecords->CanGoBack(); }
            void Again() override { mpRecords->Again(); }

            void Look() override { mpBytes->Look(); }
            bool IsUrgent() const override { return mpBytes->IsUrgent(); }

            void Pass() override
            {
                mTime = mNextTime;
                if (mDone)
                    mDone = mpRecords->GetOffset();
            }

            std::optional<LogPosition> GetPosition() const override
            {
                LogPosition position = mpBytes->GetPosition(mDone);
                position.mTime = mTime;
                return position;
            }

        private:
            void ReportLoss(std::uint64_t bytes)
            {
                std::string const least = bytes != 0 ? ", " + std::to_string(bytes) + " bytes or more" : "";
                constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::min();
                mReport("lacks records from " + (mTime != kNever ? FormatMoment(ToLocal(mTime)) : "its beginning") +
                        " to " + FormatMoment(ToLocal(mNextTime)) + least);
            }

            FollowedBytes::Report const mReport;
            FollowedBytes* mpBytes;
            std::unique_ptr<RecordSplitter> mpRecords;
            // Up to where the present file was dealt with; nothing after its end.
            std::optional<std::uint64_t> mDone;
            // Of the last record that was dealt with, and of the one that was given last.
            std::int64_t mTime;
            std::int64_t mNextTime = mTime;
        };
    }

    GrowingSource FollowLog(
        std::string path, FollowedBytes::Report const& report, Needle const& needle, LogPosition const& position)
    {
        auto log = std::make_unique<FollowedLog>(std::move(path), report, position);
        log->SetNeedle(needle);
        FollowedLog* const pLog = log.get();
        return {std::move(log), pLog};
    }

    FollowedLogs::FollowedLogs(std::vector<std::string> paths, Needle needle, CursorFile const* pCursor)
        : mPaths(std::move(paths)), mNeedle(std::move(needle)), mpCursor(pCursor), mWatch(mPaths)
    {
        if (mPaths.empty())
            throw Trouble("there is no log to follow");
        for (std::string const& path : mPaths)
            if (path == "-" || GetFileStatus(path).mIsFolder)
                throw Trouble(path + ": only files can be followed");
        AllowManyFiles();
    }

    std::vector<GrowingSource> FollowedLogs::FindNew()
    {
        std::vector<GrowingSource> sources;
        for (std::string const& path : std::exchange(mPaths, {}))
        {
            auto const report = [path](std::string const& text)
            { std::fprintf(stderr, "qzlog: %s %s\n", path.c_str(), text.c_str()); };
            sources.push_back(FollowLog(path, report, mNeedle, mpCursor ? mpCursor->Find(path) : LogPosition()));
        }
        return sources;
    }
}
