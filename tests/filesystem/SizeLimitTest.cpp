#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"
#include "filesystem/FileObjects.h"

#include <csignal>

#include <sys/resource.h>

using namespace QzFileSystem;
using namespace QzTest;

// The limit, and the signals that it raises, belong to a process: each test sets them in a child.

namespace
{
    constexpr rlim_t kLimit = 1000;

    class SizeLimit : public TemporaryFolder
    {
    protected:
        static void LimitFileSizes()
        {
            rlimit limit = {};
            setrlimit(RLIMIT_CORE, &limit);
            getrlimit(RLIMIT_FSIZE, &limit);
            limit.rlim_cur = kLimit;
            setrlimit(RLIMIT_FSIZE, &limit);
        }

        /// A file of just the size of the limit, opened before the limit comes or after.
        std::unique_ptr<UpdateableFile> OpenFull(bool isLimitFirst) const
        {
            if (isLimitFirst)
                LimitFileSizes();
            auto file = CreateUpdateableFile(WideIn("file").c_str(), KeepOnClose);
            file->Write(std::string(kLimit, 'x').c_str(), kLimit);
            LimitFileSizes();
            return file;
        }

        static bool IsTooLarge(std::string const& failure)
        {
            return failure.find('/' + std::to_string(EFBIG) + ' ') != std::string::npos;
        }

        static bool WriteFails(UpdateableFile& file)
        {
            return IsTooLarge(Catch([&] { file.WriteText("beyond", 0); }));
        }

        static bool IsMember(int (*ask)(sigset_t*))
        {
            sigset_t set;
            return ask(&set) == 0 && sigismember(&set, SIGXFSZ) == 1;
        }
    };
}

TEST_F(SizeLimit, IsAnErrorWheneverItComes)
{
    for (bool const isFirst : {true, false})
    {
        auto const inChild = [&]
        {
            auto const file = OpenFull(isFirst);
            bool const fails = WriteFails(*file) && WriteFails(*file) && file->GetSize() == kLimit;
            // The part that fits is written, and the rest is missing.
            file->SetPosition(kLimit - 4);
            std::string const failure = Catch([&] { file->WriteText("abcdef", 0); });
            bool const isShort = failure.find("1/305419896 Failed to write 2 bytes to file '") == 0;
            auto const getMask = [](sigset_t* set) { return pthread_sigmask(SIG_BLOCK, nullptr, set); };
            return fails && isShort && !IsMember(getMask) ? 0 : 1;
        };
        EXPECT_EQ(RunInChild(inChild), 0) << isFirst;
    }
}

TEST_F(SizeLimit, IsAnErrorOnEveryWayToTheFile)
{
    Put("large", std::string(200000, 'x'));
    QzBase::WideString const from = WideIn("large");
    QzBase::WideString const to = WideIn("new");
    auto const openTarget = [&] { return File::OpenStream(to.c_str(), kOpenUpdateNew, kShareDefault); };
    auto const writeBeyond = [](std::FILE* stream)
    {
        File::SetPosition(stream, 2000);
        File::Write(stream, "x", 0);
        return stream;
    };
    Action const ways[] = {[&] { CopyFile(from.c_str(), to.c_str()); },
        [&]
        {
            File::ScopedDescriptor const source(File::OpenDescriptor(from.c_str(), kOpenRead, kShareDefault));
            File::Copy(source.Get(), to.c_str());
        },
        [&] { File::Flush(writeBeyond(File::ScopedStream(openTarget()).Get())); },
        [&] { File::SetPosition(writeBeyond(File::ScopedStream(openTarget()).Get()), 0); },
        [&] { File::Truncate(File::ScopedStream(openTarget()).Get(), 2000); },
        [&]
        {
            File::ScopedDescriptor const target(File::OpenDescriptor(to.c_str(), kOpenWriteNew, kShareDefault));
            File::SetPosition(target.Get(), 2000);
            if (File::WriteDescriptor(target.Get(), "x", 1) == -1)
                throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, errno, nullptr);
        }};
    for (int number = 0; number < 2 * static_cast<int>(std::size(ways)); ++number)
    {
        auto const inChild = [&]
        {
            OpenFull(number % 2 == 0);
            std::string const failure = Catch(ways[number / 2]);
            // A copy is cut off by a write that fits in part, which has no number of its own.
            return IsTooLarge(failure) || failure.find("0/" + std::to_string(ENOSPC) + ' ') == 0 ? 0 : 1;
        };
        EXPECT_EQ(RunInChild(inChild), 0) << number;
    }
}

TEST_F(SizeLimit, LeavesTheHostItsOwnEnd)
{
    auto const inChild = [&]
    {
        auto const file = OpenFull(false);
        bool const fails = WriteFails(*file);
        int const own = open(In("file").c_str(), O_WRONLY | O_APPEND);
        return write(own, "x", 1) == 1 || !fails ? 1 : 2;
    };
    int const status = RunInChild(inChild);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
}

TEST_F(SizeLimit, LeavesTheHostItsOwnSettings)
{
    void (*const handlers[])(int) = {SIG_IGN, [](int) {}};
    for (auto const handler : handlers)
    {
        auto const inChild = [&]
        {
            signal(SIGXFSZ, handler);
            bool const fails = WriteFails(*OpenFull(false));
            struct sigaction present;
            sigaction(SIGXFSZ, nullptr, &present);
            return fails && present.sa_handler == handler ? 0 : 1;
        };
        EXPECT_EQ(RunInChild(inChild), 0);
    }
    // A signal that a thread keeps blocked must neither be left behind nor, if it was there before, be taken.
    for (bool const isFirst : {true, false})
    {
        auto const inChild = [&]
        {
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGXFSZ);
            pthread_sigmask(SIG_BLOCK, &set, nullptr);
            auto const file = OpenFull(isFirst);
            if (!WriteFails(*file) || IsMember(sigpending))
                return 1;
            raise(SIGXFSZ);
            return WriteFails(*file) && IsMember(sigpending) ? 0 : 2;
        };
        EXPECT_EQ(RunInChild(inChild), 0) << isFirst;
    }
}
