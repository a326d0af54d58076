#include "Checker.h"

#include "Record.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
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
        Checker(WriterSettings const& settings, Ledger const& ledger, unsigned int processes, unsigned int kills)
            : mSettings(settings), mLedger(ledger), mProcesses(processes), mKills(kills), mCounts(processes)
        {
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
            CheckCounts();
            std::printf("seed %llu: %u processes, %u of them killed; %zu files, %u of them left by killed roll-overs; "
                        "%llu records returned, %llu found whole, %u cut and %llu missing in flight; %d faults\n",
                static_cast<unsigned long long>(mSettings.mSeed), mProcesses, mKills, files.size(), mLeftovers,
                static_cast<unsigned long long>(mReturned), static_cast<unsigned long long>(mWhole), mCut,
                static_cast<unsigned long long>(mMissingInFlight), mFaults);
            return mFaults == 0;
        }

    private:
        struct Count
        {
            std::map<std::uint64_t, unsigned int> mWhole;
            std::map<std::uint64_t, unsigned int> mCut;
        };

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
            {
                std::ostringstream content;
                content << std::ifstream(path, std::ios::binary).rdbuf();
                files.push_back({path.filename().string(), content.str()});
            }
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
                    ++count.mWhole[number.mSequence];
                    return mark + expected.size();
                }
                if (!WasInFlight(number))
                    Fault("torn record " + Name(number), file.mName);
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
            if (text.find(" Missed ") != std::string_view::npos)
                Fault("lost messages: " + std::string(text), file.mName);
            else if (++mCut > mKills)
                Fault("no record: " + std::string(text.substr(0, 200)), file.mName);
        }

        void CheckCounts()
        {
            for (unsigned int process = 0; process < mProcesses; ++process)
                for (unsigned int thread = 0; thread < mSettings.mThreads; ++thread)
                    CheckThread(process, thread);
        }

        void CheckThread(unsigned int process, unsigned int thread)
        {
            Ledger::Thread const& told = mLedger.mProcesses[process].mThreads[thread];
            Count& count = mCounts[process][thread];
            mReturned += told.mReturned;
            for (std::uint64_t sequence = 1; sequence <= told.mReturned; ++sequence)
                if (count.mWhole[sequence] != 1)
                    Fault(Name({process, thread, sequence}) + " found " + std::to_string(count.mWhole[sequence]) +
                              " times",
                        "");
            if (told.mBegun == told.mReturned)
                return;
            if (!mLedger.mProcesses[process].mWasKilled)
                Fault("a call that never returned: " + Name({process, thread, told.mBegun}), "");
            unsigned int const found = count.mWhole[told.mBegun] + count.mCut[told.mBegun];
            if (found > 1)
                Fault(Name({process, thread, told.mBegun}) + " found twice", "");
            mMissingInFlight += found == 0;
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
        std::uint64_t mReturned = 0;
        std::uint64_t mWhole = 0;
        unsigned int mCut = 0;
        std::size_t mTimeLength = 0;
        std::uint64_t mMissingInFlight = 0;
        unsigned int mLeftovers = 0;
        int mFaults = 0;
    };
}

bool CheckLog(WriterSettings const& settings, Ledger const& ledger, unsigned int processes, unsigned int kills)
{
    return Checker(settings, ledger, processes, kills).Run();
}
