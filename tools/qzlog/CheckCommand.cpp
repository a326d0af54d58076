#include "Commands.h"

#include "LogInput.h"
#include "check/FileChecker.h"
#include "output/Output.h"

#include <map>

namespace QzLogTool
{
    namespace
    {
        // A file that is no log at all should not fill the screen.
        constexpr std::uint64_t kMostFaultsShown = 20;

        std::string Count(std::uint64_t count, std::string const& what)
        {
            return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
        }

        /// What was found in one log and its back-ups.
        struct Result
        {
            std::uint64_t mFiles = 0;
            std::uint64_t mRecords = 0;
            std::uint64_t mFaults = 0;
            std::uint64_t mMissed = 0;
            std::map<std::string, std::uint64_t> mMissedByReason;
        };

        class LogCheck : public FileChecker::Listener
        {
        public:
            LogCheck(std::string const& path, LogBytes::Files files, Progress& progress, Output& output)
                : mPath(path), mpReader(OpenLog(path, files, progress)), mOutput(output)
            {
            }

            Result const& Run()
            {
                std::unique_ptr<FileChecker> pChecker;
                for (Record record; mpReader->Next(record);)
                {
                    if (record.mOffset == 0)
                        BeginFile(pChecker, *record.mpPath);
                    pChecker->Take(record, *mpReader);
                }
                BeginFile(pChecker, std::string());
                return mResult;
            }

            void OnFault(std::uint64_t line, std::string const& reason) override
            {
                ++mResult.mFaults;
                if (++mFaultsOfFile <= kMostFaultsShown)
                    mOutput.WriteLine(mFile + ':' + std::to_string(line) + ": " + reason);
            }

            void OnMissed(std::uint64_t line, MissedMessages const& missed) override
            {
                mResult.mMissed += missed.mCount;
                mResult.mMissedByReason[std::string(missed.mReason)] += missed.mCount;
                mOutput.WriteLine(mFile + ':' + std::to_string(line) + ": note: " + Count(missed.mCount, "message") +
                                  " missed since " + std::string(missed.mSince));
            }

        private:
            /// Ends the file before, and begins one if the path is not empty.
            void BeginFile(std::unique_ptr<FileChecker>& pChecker, std::string const& path)
            {
                if (pChecker)
                {
                    pChecker->Finish();
                    mResult.mRecords += pChecker->GetRecordCount();
                    ++mResult.mFiles;
                    if (mFaultsOfFile > kMostFaultsShown)
                        mOutput.WriteLine(
                            mFile + ": and " + std::to_string(mFaultsOfFile - kMostFaultsShown) + " more");
                }
                mFile = path;
                mFaultsOfFile = 0;
                pChecker =
                    path.empty() ? nullptr : std::make_unique<FileChecker>(path, path == mPath && path != "-", *this);
            }

            std::string const mPath;
            std::unique_ptr<RecordSplitter> const mpReader;
            Output& mOutput;
            Result mResult;
            std::string mFile;
            std::uint64_t mFaultsOfFile = 0;
        };

        class CheckCommand : public Command
        {
        public:
            char const* GetName() const override { return "check"; }
            char const* GetDescription() const override
            {
                return "Tells whether logs and their back-ups are well-formed, and what was missed";
            }

            void AddOptions(CLI::App& app) override
            {
                mInput.AddTo(app);
                app.add_flag("--quiet,-q", mIsQuiet, "Tells what is wrong, and nothing else");
            }

            ExitCode Run() override
            {
                Troubles troubles;
                Progress progress;
                Output output(&progress);
                bool isRight = true;
                for (std::string const& path : mInput.FindPaths(troubles))
                    try
                    {
                        LogCheck check(path, mInput.GetFiles(LogBytes::Files::WithLeftovers), progress, output);
                        Result const& result = check.Run();
                        isRight = isRight && result.mFaults == 0;
                        if (!mIsQuiet)
                            PrintSummary(path, result, output);
                    }
                    catch (Trouble const& trouble)
                    {
                        progress.Hide();
                        troubles.Report(trouble);
                    }
                output.Flush();
                if (troubles.HasAny())
                    return ExitCode::Trouble;
                return isRight ? ExitCode::Success : ExitCode::Negative;
            }

        private:
            static void PrintSummary(std::string const& path, Result const& result, Output& output)
            {
                output.WriteLine(path + ": " + Count(result.mFiles, "file") + ", " + Count(result.mRecords, "record") +
                                 ", " + Count(result.mFaults, "fault") + ", " + Count(result.mMissed, "message") +
                                 " missed");
                for (auto const& [reason, count] : result.mMissedByReason)
                    output.WriteLine("  " + std::to_string(count) + " missed due to: " + reason);
            }

            LogInput mInput;
            bool mIsQuiet = false;
        };
    }

    std::unique_ptr<Command> MakeCheckCommand()
    {
        return std::make_unique<CheckCommand>();
    }
}
