#include "Checker.h"

#include "Record.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <vector>

namespace
{
    constexpr std::string_view kBehindTime(" [HOST:");
    constexpr int kMostFaultsShown = 20;

    struct File
    {
        std::string mName;
        std::string mContent;
    };

    class Checker
    {
    public:
        Checker(WriterSettings const& settings, Ledger const& ledger)
            : mSettings(settings),
              mLedger(ledger),
              mProcesses(ledger.mStarted),
              mKills(static_cast<unsigned int>(
                  std::ranges::count_if(ledger.mProcesses, [](auto const& process) { return process.mWasKilled; }))),
              mCounts(mProcesses)
        {
        }

        void TakeStream(std::vector<std::string> const& records)
        {
            mIsStreamed = true;
            for (std::string const& record : records)
            {
                std::string const text = record.substr(std::min(record.find(kRecordMark), record.size())) + '\n';
                RecordNumber number{};
                if (ReadNumber(text.data(), text.size(), number) && IsKnown(number) &&
                    text == MakeFileText(number, mSettings.mSeed))
                    mCounts[number.mProcess][number.mThread].mStreamed.insert(number.mSequence);
                else
                    Fault("no record: " + record.substr(0, 200), "the broker");
            }
        }

        void RunCampaign(Place const& place, Fault const& fault, Outcome& outcome)
        {
            // Basic recovery leaves the copy of a roll-over that fails.
            mMayDouble = fault.Has(kDoubles) || !mSettings.mIsStrict;
            // Where a disk was full, and where a roll-over was killed while it copied.
            bool const mayCut = !mSettings.mIsStrict && (fault.Has(kSmallDisk) || fault.Has(kKills));
            mClocks = place.mClocks;
            // Writers of a log that was taken away, and those of the next one, can roll over at once.
            mTakesUncounted = !mSettings.mIsStrict && (fault.Has(kUncounted) || !place.mTaken.empty());
            for (File const& file : ReadKept(place))
            {
                CheckHead(file);
                mIsSpare = file.mName.ends_with(".bak~n");
                mMayCut = mayCut || mIsSpare;
                auto const taken = place.mTaken.find(file.mName);
                mpBegun = taken != place.mTaken.end() && mSettings.mIsStrict ? &taken->second : nullptr;
                CheckRecords(file);
            }
            outcome.mTries += place.mTries;
            SumUp(outcome);
            if (!mReported.empty())
                Fault("losses of a process that nobody knows", "");
            outcome.mIsGood = outcome.mIsGood && mFaults == 0;
        }

    private:
        struct Count
        {
            std::map<std::uint64_t, unsigned int> mWhole;
            std::map<std::uint64_t, unsigned int> mCut;
            std::set<std::uint64_t> mStreamed;
        };

        /// Of the calls of a process that have returned.
        struct Sums
        {
            std::uint64_t mReturned = 0;
            std::uint64_t mFiled = 0;
            std::uint64_t mLost = 0;
        };

        /// All that stands anywhere; last the copies that a roll-over has not put into their places.
        static std::vector<File> ReadKept(Place const& place)
        {
            std::vector<File> files;
            for (auto const& entry : std::filesystem::recursive_directory_iterator(place.mTop))
                if (!entry.is_symlink() && entry.is_regular_file())
                    files.push_back({entry.path().string(), ReadFile(entry.path())});
            std::partition(
                files.begin(), files.end(), [](File const& file) { return !file.mName.ends_with(".bak~n"); });
            return files;
        }

        /// What has become of all calls.
        void SumUp(Outcome& outcome)
        {
            for (unsigned int process = 0; process < mProcesses; ++process)
            {
                Sums sums;
                for (unsigned int thread = 0; thread < mSettings.mThreads; ++thread)
                    CheckThread(process, thread, sums);
                CheckLosses(process, sums, outcome);
                outcome.mRecords += sums.mReturned - sums.mLost;
                outcome.mLost += sums.mLost;
            }
        }

        /// Whether the log and the figures tell what a process has lost.
        void CheckLosses(unsigned int process, Sums const& sums, Outcome& outcome)
        {
            Ledger::Process const& told = mLedger.mProcesses[process];
            auto const reported = mReported.extract(told.mId);
            std::int64_t const count =
                (reported.empty() ? 0 : reported.mapped()) + static_cast<std::int64_t>(told.mReportedAtEnd);
            std::int64_t const rest = static_cast<std::int64_t>(sums.mLost) - count;
            std::int64_t const known = static_cast<std::int64_t>(told.mUnreported);
            outcome.mReported += static_cast<std::uint64_t>(count);
            (told.mWasKilled ? outcome.mKilledWith : outcome.mNotReported) +=
                static_cast<std::uint64_t>(std::max(rest, std::int64_t{0}));
            if (mIsStreamed)
            {
                CheckCounters(process, sums, count);
                return;
            }
            // The figures of one that was killed can be those before a call of each thread.
            std::int64_t const inFlight = told.mWasKilled ? 2 * std::int64_t{mSettings.mThreads} : 0;
            std::int64_t const most = mSettings.mIsStrict && !told.mWasKilled ? 0 : known + inFlight;
            std::int64_t const least = mSettings.mIsStrict || told.mWasKilled ? -inFlight : known;
            if (rest < least || (rest > most && !mTakesUncounted))
                Fault("process " + std::to_string(process) + " has lost " + std::to_string(sums.mLost) + ", reported " +
                          std::to_string(count) + " and knows of " + std::to_string(known) + " more",
                    "");
        }

        /// Whether the counters of a Kafka client that was not killed fit to what was found and reported. What failed
        /// may have arrived all the same.
        void CheckCounters(unsigned int process, Sums const& sums, std::int64_t reported)
        {
            Ledger::Process const& told = mLedger.mProcesses[process];
            std::uint64_t const count = static_cast<std::uint64_t>(reported);
            if (told.mWasKilled || (sums.mLost <= count && sums.mFiled + told.mAccepted == sums.mReturned &&
                                       told.mDelivered + told.mFailed == told.mAccepted && count == told.mFailed))
                return;
            Fault("process " + std::to_string(process) + " has logged " + std::to_string(sums.mReturned) + ", filed " +
                      std::to_string(sums.mFiled) + ", sent " + std::to_string(told.mAccepted) + ", delivered " +
                      std::to_string(told.mDelivered) + ", failed to deliver " + std::to_string(told.mFailed) +
                      ", reported " + std::to_string(count) + " and lost " + std::to_string(sums.mLost),
                "");
        }

        /// Counts lines about losses, and returns the text without them.
        std::string TakeLosses(std::string_view text)
        {
            std::string rest;
            while (!text.empty())
            {
                std::size_t const lineEnd = text.find("\r\n");
                bool const isWhole = lineEnd != text.npos;
                std::string const line(text.substr(0, isWhole ? lineEnd + 2 : text.size()));
                text.remove_prefix(line.size());
                std::size_t const process = line.find("[PID:");
                std::size_t const missed = line.find(" Missed ");
                if (process == line.npos || missed == line.npos || !isWhole)
                    rest += line;
                else if (mLossLines.insert(line).second || !(mMayDouble || mIsSpare))
                    mReported[std::atoi(line.c_str() + process + 5)] += std::atoll(line.c_str() + missed + 8);
            }
            return rest;
        }

        void CheckHead(File const& file)
        {
            // The log is empty between a roll-over and the next record.
            if (file.mContent.empty())
                return;
            if (!kHead.starts_with(std::string_view(file.mContent).substr(0, kHead.size())))
                Fault("no head", file.mName);
            if (file.mContent.find(kHead.substr(3, 20), kHead.size()) != std::string::npos)
                Fault("a head in the middle", file.mName);
        }

        void CheckRecords(File const& file)
        {
            std::string const& content = file.mContent;
            bool const isBackup = file.mName.find(".log.bak") != file.mName.npos && !mIsSpare;
            if (isBackup && mSettings.mIsStrict && content.size() < mSettings.mLimit / WriterSettings::kLimits)
                Fault("rolled over before its limit", file.mName);
            std::size_t at = std::min(kHead.size(), content.size());
            // Each header begins with a time, which is as long as that of the first one.
            mTimeLength = content.find(kBehindTime, at) - at;
            while (at < content.size())
            {
                std::size_t const start = FindHeader(content, at);
                if (start != at)
                    TakeCutText(file, at, start);
                if (start < content.size() && !mClocks.empty())
                    CheckTime(file, start);
                at = start < content.size() ? TakeRecord(file, content.find(kRecordMark, start)) : start;
            }
        }

        /// Whether the clock has shown a header's time, with the offset that the zone had then.
        void CheckTime(File const& file, std::size_t at)
        {
            std::string const text = file.mContent.substr(at, mTimeLength);
            std::tm read = {};
            char const* const end = strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &read);
            long const offset = end && text.ends_with(":00") ? std::atoi(end + 4) * 3600L : -1;
            std::time_t const seconds = timegm(&read) - offset;
            std::tm local = {};
            localtime_r(&seconds, &local);
            // No clock runs for as long as a jump.
            if (local.tm_gmtoff != offset || std::ranges::none_of(mClocks, [&](std::time_t start)
                                                 { return seconds >= start - 10 && seconds < start + 1800; }))
                Fault("a wrong time: " + text, file.mName);
        }

        /// Where the header of the next record begins.
        std::size_t FindHeader(std::string const& content, std::size_t at) const
        {
            std::size_t const mark = content.find(kRecordMark, at);
            return mark == std::string::npos ? content.size() : content.rfind(kBehindTime, mark) - mTimeLength;
        }

        bool IsKnown(RecordNumber const& number) const
        {
            return number.mProcess < mProcesses && number.mThread < mSettings.mThreads;
        }

        bool WasInFlight(RecordNumber const& number) const
        {
            Ledger::Process const& process = mLedger.mProcesses[number.mProcess];
            Ledger::Thread const& thread = process.mThreads[number.mThread];
            return process.mWasKilled && number.mSequence == thread.mBegun && number.mSequence != thread.mReturned;
        }

        /// Counts the record at a mark and returns where the next one begins.
        std::size_t TakeRecord(File const& file, std::size_t mark)
        {
            RecordNumber number{};
            if (ReadNumber(file.mContent.data() + mark, file.mContent.size() - mark, number) && IsKnown(number))
            {
                std::string const expected = MakeFileText(number, mSettings.mSeed);
                Count& count = mCounts[number.mProcess][number.mThread];
                if (file.mContent.compare(mark, expected.size(), expected) == 0)
                {
                    unsigned int& found = count.mWhole[number.mSequence];
                    if (!mIsSpare || found == 0)
                        ++found;
                    if (mpBegun && (number.mProcess >= mpBegun->size() ||
                                       number.mSequence > (*mpBegun)[number.mProcess][number.mThread]))
                        Fault(Name(number) + " was begun after the log was taken away", file.mName);
                    return mark + expected.size();
                }
                if (!WasInFlight(number) && !mMayCut)
                    Fault("torn record " + Name(number), file.mName);
                if (!mIsSpare)
                    ++count.mCut[number.mSequence];
            }
            std::size_t const next = FindHeader(file.mContent, mark + 1);
            TakeCutText(file, mark, next);
            return next;
        }

        /// What a kill has left of a record. Where that was cut before its mark, who wrote it stays unknown.
        void TakeCutText(File const& file, std::size_t at, std::size_t end)
        {
            std::string_view const text = std::string_view(file.mContent).substr(at, end - at);
            std::string const rest = TakeLosses(text);
            if (!rest.empty() && !mMayCut && ++mCut > mKills)
                Fault("no record: " + rest.substr(0, 200), file.mName);
        }

        void CheckThread(unsigned int process, unsigned int thread, Sums& sums)
        {
            Ledger::Thread const& told = mLedger.mProcesses[process].mThreads[thread];
            Count& count = mCounts[process][thread];
            sums.mReturned += told.mReturned;
            for (std::uint64_t sequence = 1; sequence <= told.mReturned; ++sequence)
            {
                unsigned int const filed = count.mWhole[sequence];
                // Only the stream may have a record twice: a client sends it again when no acknowledgement arrives.
                auto const found = filed + count.mStreamed.count(sequence);
                sums.mFiled += filed;
                sums.mLost += found == 0;
                if (found > 1 && !mMayDouble)
                    Fault(Name({process, thread, sequence}) + " found " + std::to_string(found) + " times", "");
            }
            if (told.mBegun == told.mReturned)
                return;
            if (!mLedger.mProcesses[process].mWasKilled)
                Fault("a call that never returned: " + Name({process, thread, told.mBegun}), "");
            unsigned int const found = count.mWhole[told.mBegun] + count.mCut[told.mBegun];
            if (found > 1 && !mMayDouble)
                Fault(Name({process, thread, told.mBegun}) + " found twice", "");
        }

        static std::string Name(RecordNumber const& number)
        {
            return std::to_string(number.mProcess) + '/' + std::to_string(number.mThread) + '/' +
                   std::to_string(number.mSequence);
        }

        void Fault(std::string const& what, std::string const& file)
        {
            if (++mFaults <= kMostFaultsShown)
                std::printf("FAULT %s: %s\n", file.c_str(), what.c_str());
        }

        WriterSettings const& mSettings;
        Ledger const& mLedger;
        unsigned int const mProcesses;
        unsigned int const mKills;
        std::vector<std::array<Count, Ledger::kMaxThreads>> mCounts;
        /// Of each process's ID.
        std::map<int, std::int64_t> mReported;
        Place::Begun const* mpBegun = nullptr;
        /// Those that a content which stands twice must not bring up again.
        std::set<std::string> mLossLines;
        std::vector<std::time_t> mClocks;
        bool mIsStreamed = false;
        bool mMayDouble = false;
        bool mIsSpare = false;
        bool mMayCut = false;
        bool mTakesUncounted = false;
        unsigned int mCut = 0;
        std::size_t mTimeLength = 0;
        int mFaults = 0;
    };
}

void CheckCampaign(WriterSettings const& settings, Ledger const& ledger, Place const& place, Fault const& fault,
    Outcome& outcome, std::vector<std::string> const* stream)
{
    Checker checker(settings, ledger);
    if (stream)
        checker.TakeStream(*stream);
    checker.RunCampaign(place, fault, outcome);
}
