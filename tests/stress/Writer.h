#pragma once

#include "Ledger.h"

#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>

class Writer;

struct WriterSettings
{
    /// Processes have this limit, or one of the first fractions of it.
    static constexpr unsigned int kLimits = 3;

    std::string mFolder;
    unsigned int mLimit;
    unsigned int mThreads;
    std::uint64_t mSeed;
    /// Whether there is a link to the folder beside it, "way".
    bool mHasWay = false;
    bool mIsStrict = false;
    unsigned int mLongestPause = 0; // in microseconds, after each record
    /// Of each thread, also when the ledger says stop.
    std::uint64_t mLeastRecords = 0;
    unsigned int mRetrySeconds = 300;
    /// 0: the one that runs this.
    unsigned int mUser = 0;
    /// What a thread does beside.
    void (*mpAfterRecord)(Writer& writer, unsigned int thread, std::mt19937_64& random) = nullptr;
};

/// The module, the log and the router of a process.
class Writer
{
public:
    Writer(WriterSettings const& settings, unsigned int process, Ledger& ledger);
    ~Writer() { Close(); }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    /// Ends the module.
    void Close();

    /// Logs the next record of a thread.
    void Log(unsigned int thread);

    /// Records and pauses, until they are enough or the ledger says stop.
    void LogMany(unsigned int thread, std::uint64_t most);

    /// The same in all threads.
    void LogInThreads(std::uint64_t most);

    /// For a forked child: goes on as another process.
    void BecomeChild(unsigned int process);

    QzLog::Router& GetRouter() { return *mpRouter; }
    QzLog::Destination_DiskFile& GetLog() { return *mpLog; }

    Ledger& mLedger;

private:
    WriterSettings const& mSettings;
    unsigned int mProcess;
    std::optional<QzLog::Initializer> mModule;
    QzBase::CountedPtr<QzLog::Destination_DiskFile> mpLog;
    QzBase::CountedPtr<QzLog::Router> mpRouter;
};

/// What is written amid a fork, and must come out nowhere.
inline constexpr char const* kAmidFork = "amid a fork";

inline constexpr std::uint64_t kAll = ~std::uint64_t{0};

/// Calls `work` in each of the threads, with their numbers.
void InThreads(WriterSettings const& settings, std::function<void(unsigned int thread)> const& work);

/// Keeps what the process says on standard error from now on.
void KeepErrors();

/// For a process whose log is closed, which is done by Writer::Close too: notes the losses that it reported there.
void NoteReported(unsigned int process, Ledger& ledger);

/// The work of one process: its threads write records into the log until their share is done or the ledger says
/// stop. Returns the process's exit code.
int RunWriter(WriterSettings const& settings, unsigned int process, Ledger& ledger);
