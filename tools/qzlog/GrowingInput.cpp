#include "GrowingInput.h"

#include "Options.h"
#include "brokers/Streams.h"
#include "following/FollowedLogs.h"

namespace QzLogTool
{
    void GrowingInput::AddTo(CLI::App& app, CLI::Option& logs)
    {
        constexpr char kGroup[] = "Streams (in the place of logs)";
        app.add_flag("--follow,-f", mFollows,
               "Goes on with what is added, through roll-overs and whatever happens to the logs, until SIGINT or "
               "SIGTERM")
            ->option_text(" ")
            ->excludes("--no-backups");
        CLI::Option* const pCursor =
            app.add_option("--cursor-file", mCursorPath,
                   "Remembers there what was shown, and goes on after it the next time, through roll-overs and "
                   "back-ups")
                ->option_text("FILE")
                ->check(RefuseEmpty)
                ->excludes("--no-backups");
        app.add_flag("--sync", mSyncs, "What the cursor file remembers outlives a failure of the machine")
            ->option_text(" ")
            ->needs(pCursor);
        CLI::Option* const pBrokers =
            app.add_option("--brokers,-b", mBrokers.mBrokers, "Reads the streams that servers publish to Kafka")
                ->option_text("HOST:PORT,...")
                ->check(RefuseEmpty)
                ->group(kGroup)
                ->excludes(&logs)
                ->excludes(pCursor);
        TakeSeveral(app.add_option("--topic", mBrokers.mTopics,
                        "Shell pattern for topics; without one, the streams of all servers"))
            ->option_text("PATTERN")
            ->group(kGroup)
            ->needs(pBrokers);
        TakeSeveral(app.add_option("-X", mBrokers.mProperties, "A property of the Kafka client (librdkafka)"))
            ->option_text("PROPERTY=VALUE")
            ->group(kGroup)
            ->needs(pBrokers);
        logs.required(false);
    }

    std::unique_ptr<CursorFile> GrowingInput::OpenCursor() const
    {
        return mCursorPath.empty() ? nullptr : std::make_unique<CursorFile>(mCursorPath, mSyncs);
    }

    std::unique_ptr<GrowingSources> GrowingInput::Open(LogInput const& logs, FilterOptions const& options,
        RecordFilter const& filter, CursorFile const* pCursor, Troubles& troubles) const
    {
        if (!mBrokers.mBrokers.empty())
            return OpenStreams(mBrokers, options.mSince);
        return std::make_unique<FollowedLogs>(logs.FindPaths(troubles), filter.GetNeedle(), pCursor);
    }
}
