#include "KafkaChecker.h"

#include "Record.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string_view>
#include <tuple>

namespace
{
    constexpr int kMostFaultsShown = 20;

    struct Found
    {
        unsigned int mInStream = 0;
        unsigned int mInFile = 0;
    };

    struct Sums
    {
        std::uint64_t mReturned = 0;
        std::uint64_t mFiled = 0;
        std::uint64_t mLost = 0;
    };

    class Checker
    {
    public:
        Checker(WriterSettings const& settings, Ledger const& ledger, Figures const& figures)
            : mSettings(settings), mLedger(ledger), mFigures(figures)
        {
        }

        void TakeStream(std::vector<std::string> const& records)
        {
            for (std::string const& record : records)
            {
                std::size_t const mark = std::min(record.find(kRecordMark), record.size());
                std::string const text = record.substr(mark) + '\n';
                RecordNumber number{};
                if (ReadNumber(text.data(), text.size(), number) && text == MakeFileText(number, mSettings.mSeed))
                    ++Get(number).mInStream;
                else
                    Fault("no record on the broker: " + record.substr(0, 200));
            }
        }

        void TakeFile(std::string const& content)
        {
            std::size_t at = 0;
            for (std::size_t mark = content.find(kRecordMark); mark != content.npos;
                 mark = content.find(kRecordMark, at))
            {
                TakeLosses(std::string_view(content).substr(at, mark - at));
                RecordNumber number{};
                std::string expected = kRecordMark;
                if (ReadNumber(content.data() + mark, content.size() - mark, number))
                    expected = MakeFileText(number, mSettings.mSeed);
                if (content.compare(mark, expected.size(), expected) == 0 && expected != kRecordMark)
                    ++Get(number).mInFile;
                else
                    Fault("torn in the file: " + content.substr(mark, 200));
                at = mark + expected.size();
            }
            TakeLosses(std::string_view(content).substr(at));
        }

        void CheckProcess(unsigned int process, Outcome& outcome)
        {
            Ledger::Process const& writer = mLedger.mProcesses[process];
            Sums sums;
            for (unsigned int thread = 0; thread < mSettings.mThreads; ++thread)
                CheckThread(process, thread, sums);
            std::uint64_t const reported = mReported[writer.mId];
            std::uint64_t const rest = sums.mLost - std::min(sums.mLost, reported);
            outcome.mRecords += sums.mReturned - sums.mLost;
            outcome.mLost += sums.mLost;
            outcome.mReported += reported;
            (writer.mWasKilled ? outcome.mKilledWith : outcome.mNotReported) += rest;
            if (writer.mWasKilled)
                return;
            Figures::Process const& figures = mFigures.mProcesses[process];
            if (rest != 0 || sums.mFiled + figures.mAccepted != sums.mReturned ||
                figures.mDelivered + figures.mFailed != figures.mAccepted || reported != figures.mFailed)
                Fault("process " + std::to_string(process) + " has logged " + std::to_string(sums.mReturned) +
                      ", filed " + std::to_string(sums.mFiled) + ", sent " + std::to_string(figures.mAccepted) +
                      ", delivered " + std::to_string(figures.mDelivered) + ", failed to deliver " +
                      std::to_string(figures.mFailed) + ", reported " + std::to_string(reported) + " and lost " +
                      std::to_string(sums.mLost));
        }

        std::uint64_t CountConsumed() const
        {
            return static_cast<std::uint64_t>(
                std::ranges::count_if(mFound, [](auto const& entry) { return entry.second.mInStream != 0; }));
        }

        bool HasFaults() const { return mFaults != 0; }

    private:
        Found& Get(RecordNumber const& number) { return mFound[{number.mProcess, number.mThread, number.mSequence}]; }

        /// Each record whose call has returned. One that a kill interrupted may be anywhere.
        void CheckThread(unsigned int process, unsigned int thread, Sums& sums)
        {
            Ledger::Thread const& told = mLedger.mProcesses[process].mThreads[thread];
            if (told.mBegun != told.mReturned && !mLedger.mProcesses[process].mWasKilled)
                Fault("a call that never returned");
            sums.mReturned += told.mReturned;
            for (std::uint64_t sequence = 1; sequence <= told.mReturned; ++sequence)
            {
                Found const found = Get({process, thread, sequence});
                sums.mFiled += found.mInFile;
                sums.mLost += found.mInFile + found.mInStream == 0;
                // An acknowledgement that does not arrive makes the client send a record again: only the stream may
                // have one twice.
                if (found.mInFile > 1 || (found.mInFile != 0 && found.mInStream != 0))
                    Fault("record " + std::to_string(process) + '/' + std::to_string(thread) + '/' +
                          std::to_string(sequence) + " is in the file and elsewhere");
            }
        }

        /// Lines about losses, and the header of the next record.
        void TakeLosses(std::string_view text)
        {
            std::size_t missed = text.find(" Missed ");
            for (; missed != text.npos; missed = text.find(" Missed ", missed + 1))
            {
                std::size_t const process = text.rfind("[PID:", missed);
                if (process == text.npos)
                    Fault("losses of nobody: " + std::string(text));
                else
                    mReported[std::atoi(text.data() + process + 5)] +=
                        std::strtoull(text.data() + missed + 8, nullptr, 10);
            }
        }

        void Fault(std::string const& what)
        {
            if (++mFaults <= kMostFaultsShown)
                std::printf("FAULT %s\n", what.c_str());
        }

        WriterSettings const& mSettings;
        Ledger const& mLedger;
        Figures const& mFigures;
        std::map<std::tuple<unsigned int, unsigned int, std::uint64_t>, Found> mFound;
        /// Of each process's ID.
        std::map<int, std::uint64_t> mReported;
        int mFaults = 0;
    };
}

std::uint64_t CheckKafka(WriterSettings const& settings, Ledger const& ledger, Figures const& figures,
    unsigned int processes, std::vector<std::string> const& stream, std::string const& file, Outcome& outcome)
{
    Checker checker(settings, ledger, figures);
    checker.TakeStream(stream);
    checker.TakeFile(file);
    for (unsigned int process = 0; process < processes; ++process)
        checker.CheckProcess(process, outcome);
    outcome.mIsGood = outcome.mIsGood && !checker.HasFaults();
    return checker.CountConsumed();
}
