#pragma once

#include "LogInput.h"
#include "brokers/BrokerOptions.h"
#include "following/CursorFile.h"
#include "following/Growing.h"

namespace QzLogTool
{
    /// What `view` can read beside logs as they are: logs that are followed, and streams.
    struct GrowingInput
    {
        bool mFollows = false;
        BrokerOptions mBrokers;
        std::string mCursorPath;
        bool mSyncs = false;

        /// Adds options to a subcommand that has those of LogInput. This object must outlive it.
        void AddTo(CLI::App& app, CLI::Option& logs);

        /// Whether anything was asked for that LogInput alone does not do.
        bool IsAskedFor() const { return mFollows || !mBrokers.mBrokers.empty() || !mCursorPath.empty(); }

        /// Null when nothing is to be remembered. Throws Trouble when it is something else.
        std::unique_ptr<CursorFile> OpenCursor() const;

        /// Throws Trouble when streams cannot be read.
        /// \param pCursor  says where to go on; may be null. It must outlive what is returned.
        std::unique_ptr<GrowingSources> Open(LogInput const& logs, FilterOptions const& options,
            RecordFilter const& filter, CursorFile const* pCursor, Troubles& troubles) const;
    };
}
