#pragma once

#include "Ledger.h"

#include <cstdint>
#include <string>

struct WriterSettings
{
    std::string mFolder;
    unsigned int mLimit;
    unsigned int mThreads;
    std::uint64_t mSeed;
    /// Whether the log is made to fail, and so the writers take their time and try again soon.
    bool mIsCampaign = false;
    bool mIsStrict = false;
    unsigned int mRetrySeconds = 300;
    /// 0: the one that runs this.
    unsigned int mUser = 0;
};

/// The work of one process: its threads write records into the log until their share is done or the ledger says
/// stop. Returns the process's exit code.
int RunWriter(WriterSettings const& settings, unsigned int process, Ledger& ledger);
