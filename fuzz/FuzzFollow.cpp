// A log that is written, rolled over, deleted and looked at: whoever follows it gets each record once and in order.
// Each byte is one step.

#include "Fuzz.h"
#include "following/FollowedBytes.h"
#include "reading/RecordStart.h"

#include <filesystem>
#include <fstream>
#include <memory>

#include <unistd.h>

namespace
{
    using namespace QzLogTool;
    namespace fs = std::filesystem;

    constexpr unsigned int kBackups = 8;

    /// A folder of this process, which is removed when it ends.
    struct Folder
    {
        Folder() { fs::create_directory(mPath); }
        ~Folder() { fs::remove_all(mPath); }

        fs::path const mPath = fs::temp_directory_path() / ("qzlog-fuzz-" + std::to_string(getpid()));
    };

    class FollowedLog
    {
    public:
        explicit FollowedLog(fs::path const& folder) : mLog(folder / "x.log")
        {
            for (auto const& entry : fs::directory_iterator(folder))
                fs::remove(entry);
            Restart();
        }

        void Do(std::uint8_t step)
        {
            switch (step % 8)
            {
            default:
                Write(step / 8);
                break;
            case 4:
                // No more often between two looks than there are back-ups.
                if (++mRollOvers < kBackups)
                    RollOver();
                break;
            case 5:
                Look();
                break;
            case 6:
                // Where a content has gone, who begins cannot know which back-ups are older.
                if (!mIsGone)
                    Restart();
                break;
            case 7:
                // What came since the last look can be in no file that the next one finds.
                Look();
                fs::remove(mLog);
                mIsGone = true;
            }
        }

        void CheckAll()
        {
            // A look that sees a log come is dropped.
            for (int i = 0; i < 3; ++i)
                Look();
            unsigned int count = 0;
            for (std::size_t at = 0; (at = mRead.find('<', at)) != std::string::npos; ++at)
                Fuzz::Check(std::strtoul(mRead.c_str() + at + 1, nullptr, 10) == ++count, "each record once, in order");
            Fuzz::Check(count == mWritten, "no record is missing");
            Fuzz::Check(!mpFollower->TakeLoss().has_value(), "no loss is reported");
        }

    private:
        void Write(unsigned int size)
        {
            bool const isEmpty = !fs::exists(mLog) || fs::file_size(mLog) == 0;
            std::ofstream(mLog, std::ios::binary | std::ios::app)
                << (isEmpty ? kHead : "") << "2026-11-18 03:02:07.123 [HOST:h][SERVER:s] <" << ++mWritten << "> "
                << std::string(size * size * size, 'x') << "\r\n";
        }

        fs::path MakeBackup(unsigned int number) const { return mLog.string() + ".bak0" + std::to_string(number); }

        void RollOver()
        {
            if (!fs::exists(mLog) || fs::file_size(mLog) == 0)
                return;
            for (unsigned int number = kBackups; number-- > 0;)
                if (fs::exists(MakeBackup(number)))
                    fs::rename(MakeBackup(number), MakeBackup(number + 1));
            fs::remove(MakeBackup(kBackups));
            fs::copy_file(mLog, MakeBackup(0));
            fs::resize_file(mLog, 0);
        }

        void Look()
        {
            mRollOvers = 0;
            mpFollower->Look();
            std::string buffer(4000, '\0');
            while (mpFollower->OpenNext())
                while (std::size_t const count = mpFollower->Read(buffer.data(), buffer.size()))
                {
                    mRead.append(buffer, 0, count);
                    mIsGone = false;
                }
        }

        /// Goes on in another follower, where this one has got to.
        void Restart()
        {
            auto pNext = std::make_unique<FollowedBytes>(mLog, [](std::string const&) {});
            if (mpFollower)
                pNext->Resume(mpFollower->GetPosition(std::nullopt));
            mpFollower = std::move(pNext);
            Look();
        }

        fs::path const mLog;
        std::unique_ptr<FollowedBytes> mpFollower;
        std::string mRead;
        unsigned int mWritten = 0;
        unsigned int mRollOvers = 0;
        /// What was read last was deleted.
        bool mIsGone = false;
    };
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static Folder const folder;
    FollowedLog log(folder.mPath);
    for (std::uint8_t const* step = data; step != data + std::min<std::size_t>(size, 60); ++step)
        log.Do(*step);
    log.CheckAll();
    return 0;
}
