#include "destination/DiskFileTest.h"
#include "stress/Table.h"

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>

using namespace QzTest;
using QzOs::Posix::gKernel;
using QzOs::Posix::Kernel;

// Every call to the kernel that a disk file makes is made to fail, while the log is written, rolled over, taken away
// and closed. The sum of the records and of the losses that were told must equal the calls.

namespace
{
    class LogFaults : public DiskFileTest
    {
    protected:
        LogFaults()
        {
            QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const* text) { gSaid += Narrow(text); };
        }

        ~LogFaults() override { gKernel = mKernel; }

        /// In memory, if there is a place: all this is thousands of files.
        static void SetUpTestSuite()
        {
            if (access("/dev/shm", W_OK) == 0)
                setenv("TEST_TMPDIR", "/dev/shm/", 0);
        }

        void TryAll(QzLog::Recovery recovery)
        {
            mRecovery = recovery;
            ForEachFault([&] { Try(nullptr, 0); },
                [&](KernelFault const& fault, int skip)
                {
                    SCOPED_TRACE(testing::Message()
                                 << fault.mCall.mName << ' ' << skip << ' ' << fault.mError << ' ' << fault.mTimes);
                    Try(&fault, skip);
                });
            mRow.mpMode = recovery == QzLog::kRecoveryStrict ? "strict" : "basic";
            PrintTable({&mRow});
        }

    private:
        void Try(KernelFault const* fault, int skip)
        {
            Clear();
            MakeFolder("d");
            gNow = kStart;
            mCalls = 0;
            gSaid.clear();
            mMayMoveBackups = !fault || fault->mTimes > 1;
            std::ptrdiff_t const descriptors = CountOpenDescriptors();
            auto failing = fault ? fault->mCall.mpFail(fault->mError, skip, fault->mTimes) : nullptr;
            Play();
            // Half of those that last go on until the end.
            if (skip % 2 == 0)
                failing.reset();
            gNow += 1000;
            Write();
            QzLog::DiskFileStatistics const figures = mpDestination->GetStatistics();
            mpDestination.reset();
            failing.reset();
            EXPECT_EQ(CountOpenDescriptors(), descriptors);
            CountUp(fault, figures.mLossesWaiting + figures.mLossesDropped);
        }

        /// What happens to a log.
        void Play()
        {
            Make("d/x.log");
            mpDestination->SetRecovery(mRecovery);
            mpDestination->SetRetryInterval(1);
            mpDestination->SetBackupCount(4);
            WriteTwo();
            // Its back-ups, one under two names, of which the last roll-over deletes one, and a link that is none.
            Put("d/x.log.bak00", "a back-up");
            std::filesystem::create_hard_link(In("d/x.log.bak00"), In("d/x.log.bak01"));
            std::filesystem::create_symlink("nowhere", In("d/x.log.bak02"));
            mpDestination->SetMaxFileSize(200);
            for (int i = 0; i < 3; ++i)
                WriteTwo();
            mpDestination->SetMaxFileSize(2000);
            std::filesystem::rename(In("d"), In("taken"));
            WriteTwo();
            MakeFolder("d");
            gNow += 1000;
            WriteTwo();
            for (char const* const kept : {"deleted", "replaced"})
            {
                std::error_code none; // is there after a failure
                std::filesystem::rename(In("d/x.log"), In(kept), none);
                if (kept == std::string("replaced"))
                    Put("d/x.log", "");
                WriteTwo();
            }
            gNow += 1000;
            WriteTwo();
        }

        void WriteTwo()
        {
            Write();
            Write();
        }

        void Write()
        {
            bool const isStrict = mRecovery == QzLog::kRecoveryStrict;
            Snapshot const before = isStrict ? TakeBackups() : Snapshot();
            QzLog::DiskFileStatistics const figures = mpDestination->GetStatistics();
            DiskFileTest::Write("<" + std::to_string(++mCalls) + " record " + std::string(40, 'x') + ">");
            gNow += 1;
            EXPECT_FALSE(std::filesystem::exists(In("d/x.log")) && IsLocked(In("d/x.log")));
            if (!isStrict)
                return;
            Snapshot const after = TakeBackups();
            bool const isRolledOver = mpDestination->GetStatistics().mRollOvers != figures.mRollOvers;
            EXPECT_TRUE(isRolledOver || mMayMoveBackups || before == after);
            for (auto const& backup : before)
                EXPECT_TRUE(std::ranges::any_of(after, [&](auto const& file) { return file.second == backup.second; }));
        }

        Snapshot TakeBackups() const
        {
            Snapshot all = TakeSnapshot();
            std::erase_if(
                all, [](auto const& file) { return file.first.find("d/x.log.bak") != 0 || file.second == "folder"; });
            return all;
        }

        void CountUp(KernelFault const* fault, std::size_t known)
        {
            std::string all = gSaid;
            for (auto const& [name, content] : TakeSnapshot())
                all += content + "\r\n";
            std::size_t found = 0;
            for (unsigned int call = 1; call <= mCalls; ++call)
                found += all.find('<' + std::to_string(call) + " record " + std::string(40, 'x') + '>') != all.npos;
            std::size_t const lost = mCalls - found;
            std::size_t reported = 0;
            // A copy that a roll-over has left brings lines up again.
            static std::regex const kLine(
                "(.{23}) \\[HOST:[^ ]* (Missed ([0-9]+) messages since .{23} due to: )|: ([0-9]+) messages lost and");
            std::set<std::string> lines;
            std::istringstream read(all);
            for (std::string line; std::getline(read, line);)
            {
                if (line.find(" messages ") == line.npos)
                    continue;
                for (std::sregex_iterator each(line.begin(), line.end(), kLine), end; each != end; ++each)
                    if ((*each)[4].matched)
                        reported += std::stoul((*each)[4]);
                    else if (lines.insert((*each).str()).second)
                        reported += std::stoul((*each)[3]);
            }
            std::size_t const told = reported + (mRecovery == QzLog::kRecoveryStrict ? 0 : known);
            // Basic recovery takes a back-up for missing that cannot be asked about, and puts another in its place.
            bool const mayLoseBackup = mRecovery == QzLog::kRecoveryBasic && fault && fault->mCall.mName == "Statx";
            EXPECT_TRUE(lost == told || (mayLoseBackup && lost > told)) << lost << " lost, " << told << " told";
            Outcome& sum = mRow.mOutcome;
            ++sum.mTries;
            sum.mRecords += found;
            sum.mLost += lost;
            sum.mReported += reported;
            sum.mNotReported += lost - reported;
        }

        static inline std::string gSaid;

        QzLog::Recovery mRecovery = QzLog::kRecoveryBasic;
        Kernel const mKernel = gKernel;
        Row mRow{"a call fails", "", {}};
        unsigned int mCalls = 0;
        bool mMayMoveBackups = false;
    };
}

TEST_F(LogFaults, StrictRecoveryReportsEveryLoss)
{
    TryAll(QzLog::kRecoveryStrict);
}

TEST_F(LogFaults, BasicRecoveryCountsEveryLoss)
{
    TryAll(QzLog::kRecoveryBasic);
}
