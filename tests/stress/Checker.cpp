#include "Checker.h"

#include "Record.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

namespace
{
    constexpr std::string_view kHead("\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n");
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
        Checker(WriterSettings const& settings, Ledger const& ledger, unsigned int processes)
            : mSettings(settings),
              mLedger(ledger),
              mProcesses(processes),
              mKills(static_cast<unsigned int>(std::count_if(ledger.mProcesses.begin(),
                  ledger.mProcesses.begin() + processes, [](auto const& process) { return process.mWasKilled; }))),
              mCounts(processes)
        {
        }

        void RunCampaign(Place const& place, Fault const& fault, Outcome& outcome)
        {
            // Basic recovery leaves the copy of a roll-over that fails.
            mMayDouble = fault.mMayDouble || !mSettings.mIsStrict;
            // Where a disk was full, and where a roll-over was killed while it copied.
            bool const mayCut = !mSettings.mIsStrict && (fault.mNeedsSmallDisk || fault.mKills);
            mTakesUncounted = !mSettings.mIsStrict && fault.mTakesUncounted;
            for (File const& file : ReadKept(place))
            {
                CheckHead(file, true);
                mIsSpare = file.mName.ends_with(".bak~n");
                mMayCut = mayCut || mIsSpare;
                auto const taken = place.mTaken.find(file.mName);
                mpBegun = taken != place.mTaken.end() && mSettings.mIsStrict ? &taken->second : nullptr;
                CheckRecords(file, true);
            }
            outcome.mTries += place.mTries;
            SumUp(outcome);
            if (!mReported.empty())
                Fault("losses of a process that nobody knows", "");
            outcome.mIsGood = outcome.mIsGood && mFaults == 0;
        }

        bool Run()
        {
            std::vector<File> const files = ReadFiles();
            File const* newer = nullptr;
            for (File const& file : files)
            {
                CheckHead(file, !newer);
                // What killed roll-overs left half-made, or whole with the log not yet emptied, the next one has
                // copied again.
                if (newer && newer->mContent.starts_with(file.mContent))
                {
                    ++mLeftovers;
                    continue;
                }
                CheckRecords(file, !newer);
                newer = &file;
            }
            if (mLeftovers > mKills)
                Fault("more contents twice than roll-overs were killed", "");
            Outcome outcome;
            SumUp(outcome);
            std::printf("seed %llu: %u processes, %u of them killed; %zu files, %u of them left by killed roll-overs; "
                        "%llu records returned, %llu found whole, %u cut and %llu missing in flight; %d faults\n",
                static_cast<unsigned long long>(mSettings.mSeed), mProcesses, mKills, files.size(), mLeftovers,
                static_cast<unsigned long long>(outcome.mRecords + outcome.mLost),
                static_cast<unsigned long long>(mWhole), mCut, static_cast<unsigned long long>(mMissingInFlight),
                mFaults);
            return mFaults == 0;
        }

    private:
        struct Count
        {
            std::map<std::uint64_t, unsigned int> mWhole;
            std::map<std::uint64_t, unsigned int> mCut;
        };

        static std::string Read(std::filesystem::path const& path)
        {
            std::ostringstream content;
            content << std::ifstream(path, std::ios::binary).rdbuf();
            return content.str();
        }

        /// All that stands anywhere; last the copies that a roll-over has not put into their places.
        static std::vector<File> ReadKept(Place const& place)
        {
            std::vector<File> files;
            for (auto const& entry : std::filesystem::recursive_directory_iterator(place.mTop))
                if (!entry.is_symlink() && entry.is_regular_file())
                    files.push_back({entry.path().string(), Read(entry.path())});
            std::partition(
                files.begin(), files.end(), [](File const& file) { return !file.mName.ends_with(".bak~n"); });
            return files;
        }

        /// What has become of all calls.
        void SumUp(Outcome& outcome)
        {
            for (unsigned int process = 0; process < mProcesses; ++process)
            {
                std::uint64_t lost = 0;
                for (unsigned int thread = 0; thread < mSettings.mThreads; ++thread)
                    lost += CheckThread(process, thread, outcome);
                if (mSettings.mIsCampaign)
                    CheckLosses(process, lost, outcome);
                outcome.mLost += lost;
            }
        }

        /// Whether the log and the figures tell what a process has lost.
        void CheckLosses(unsigned int process, std::uint64_t lost, Outcome& outcome)
        {
            Ledger::Process const& told = mLedger.mProcesses[process];
            auto const reported = mReported.extract(told.mId);
            std::int64_t const count =
                (reported.empty() ? 0 : reported.mapped()) + static_cast<std::int64_t>(told.mReportedAtEnd);
            std::int64_t const rest = static_cast<std::int64_t>(lost) - count;
            std::int64_t const known = static_cast<std::int64_t>(told.mUnreported);
            outcome.mReported += static_cast<std::uint64_t>(count);
            (told.mWasKilled ? outcome.mKilledWith : outcome.mNotReported) +=
                static_cast<std::uint64_t>(std::max(rest, std::int64_t{0}));
            // The figures of one that was killed can be those before a call of each thread.
            std::int64_t const inFlight = told.mWasKilled ? 2 * std::int64_t{mSettings.mThreads} : 0;
            std::int64_t const most = mSettings.mIsStrict && !told.mWasKilled ? 0 : known + inFlight;
            std::int64_t const least = mSettings.mIsStrict || told.mWasKilled ? -inFlight : known;
            if (rest < least || (rest > most && !mTakesUncounted))
                Fault("process " + std::to_string(process) + " has lost " + std::to_string(lost) + ", reported " +
                          std::to_string(count) + " and knows of " + std::to_string(known) + " more",
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

        /// The log, then its back-ups from the newest on.
        std::vector<File> ReadFiles() const
        {
            std::vector<std::filesystem::path> paths;
            for (auto const& entry : std::filesystem::directory_iterator(mSettings.mFolder))
                paths.push_back(entry.path());
            std::sort(paths.begin(), paths.end(),
                [](auto const& a, auto const& b)
                { return std::pair(a.string().size(), a) < std::pair(b.string().size(), b); });
            std::vector<File> files;
            for (std::filesystem::path const& path : paths)
                files.push_back({path.filename().string(), Read(path)});
            return files;
        }

        void CheckHead(File const& file, bool isLog)
        {
            // The log is empty between a roll-over and the next record.
            if (isLog && file.mContent.empty())
                return;
            if (!kHead.starts_with(std::string_view(file.mContent).substr(0, kHead.size())))
                Fault("no head", file.mName);
            if (file.mContent.find(kHead.substr(3, 20), kHead.size()) != std::string::npos)
                Fault("a head in the middle", file.mName);
        }

        void CheckRecords(File const& file, bool isLog)
        {
            std::string const& content = file.mContent;
            if (!isLog && content.size() < mSettings.mLimit)
                Fault("rolled over before its limit", file.mName);
            std::size_t at = std::min(kHead.size(), content.size());
            // Each header begins with a time, which is as long as that of the first one.
            mTimeLength = content.find(kBehindTime, at) - at;
            while (at < content.size())
            {
                std::size_t const start = FindHeader(content, at);
                if (start != at)
                    TakeCutText(file, at, start);
                at = start < content.size() ? TakeRecord(file, content.find(kRecordMark, start)) : start;
            }
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
                    ++mWhole;
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
            std::string_view text = std::string_view(file.mContent).substr(at, end - at);
            std::string rest;
            if (mSettings.mIsCampaign)
            {
                rest = TakeLosses(text);
                text = rest;
                if (text.empty())
                    return;
            }
            if (!mSettings.mIsCampaign && text.find(" Missed ") != std::string_view::npos)
                Fault("lost messages: " + std::string(text), file.mName);
            else if (!mMayCut && ++mCut > mKills)
                Fault("no record: " + std::string(text.substr(0, 200)), file.mName);
        }

        /// Returns how many of the calls that have returned are lost.
        std::uint64_t CheckThread(unsigned int process, unsigned int thread, Outcome& outcome)
        {
            Ledger::Thread const& told = mLedger.mProcesses[process].mThreads[thread];
            Count& count = mCounts[process][thread];
            std::uint64_t lost = 0;
            for (std::uint64_t sequence = 1; sequence <= told.mReturned; ++sequence)
            {
                unsigned int const found = count.mWhole[sequence];
                lost += found == 0;
                if (found == 0 ? !mSettings.mIsCampaign : found > 1 && !mMayDouble)
                    Fault(Name({process, thread, sequence}) + " found " + std::to_string(found) + " times", "");
            }
            outcome.mRecords += told.mReturned - lost;
            if (told.mBegun == told.mReturned)
                return lost;
            if (!mLedger.mProcesses[process].mWasKilled)
                Fault("a call that never returned: " + Name({process, thread, told.mBegun}), "");
            unsigned int const found = count.mWhole[told.mBegun] + count.mCut[told.mBegun];
            if (found > 1 && !mMayDouble)
                Fault(Name({process, thread, told.mBegun}) + " found twice", "");
            mMissingInFlight += found == 0;
            return lost;
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
        bool mMayDouble = false;
        bool mIsSpare = false;
        bool mMayCut = false;
        bool mTakesUncounted = false;
        std::uint64_t mWhole = 0;
        unsigned int mCut = 0;
        std::size_t mTimeLength = 0;
        std::uint64_t mMissingInFlight = 0;
        unsigned int mLeftovers = 0;
        int mFaults = 0;
    };
}

void CheckCampaign(WriterSettings const& settings, Ledger const& ledger, unsigned int processes, Place const& place,
    Fault const& fault, Outcome& outcome)
{
    Checker(settings, ledger, processes).RunCampaign(place, fault, outcome);
}

bool CheckLog(WriterSettings const& settings, Ledger const& ledger, unsigned int processes)
{
    return Checker(settings, ledger, processes).Run();
}
