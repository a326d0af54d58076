#include "filesystem/TemporaryFolder.h"

#include "filesystem/CopyFile.h"
#include "filesystem/File.h"
#include "filesystem/FileGuards.h"
#include "filesystem/FileObjects.h"
#include "filesystem/FileQueries.h"

#include <csignal>
#include <functional>
#include <memory>

#include <fcntl.h>
#include <sys/resource.h>

using namespace QzFileSystem;
using QzTest::Catch;

// The limit, and the signals that it raises, belong to a process: each test sets them in a child.

namespace
{
    constexpr rlim_t kLimit = 1000;

    void LimitFileSizes()
    {
        rlimit limit = {};
        setrlimit(RLIMIT_CORE, &limit);
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = kLimit;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    sigset_t MakeSignalSet()
    {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGXFSZ);
        return set;
    }

    bool IsSignalPending()
    {
        sigset_t pending;
        sigpending(&pending);
        return sigismember(&pending, SIGXFSZ) == 1;
    }

    bool IsTooLarge(std::string const& failure)
    {
        return failure.find('/' + std::to_string(EFBIG) + ' ') != std::string::npos;
    }

    class SizeLimit : public QzTest::TemporaryFolder
    {
    protected:
        std::unique_ptr<UpdateableFile> OpenFull() const
        {
            auto file = CreateUpdateableFile(WideIn("file").c_str(), KeepOnClose);
            file->Write(std::string(kLimit, 'x').c_str(), kLimit);
            return file;
        }

        static bool WriteFails(UpdateableFile& file)
        {
            return IsTooLarge(Catch([&] { file.WriteText("beyond", 0); }));
        }
    };
}

TEST_F(SizeLimit, IsAnErrorWhenItComesFirst)
{
    int const status = QzTest::RunInChild(
        [&]
        {
            LimitFileSizes();
            auto const file = OpenFull();
            // The part that fits is written, and the rest is missing.
            file->SetPosition(kLimit - 4);
            std::string const failure = Catch([&] { file->WriteText("abcdef", 0); });
            bool const isShort = failure.find("1/305419896 Failed to write 2 bytes to file '") == 0;
            sigset_t mask;
            pthread_sigmask(SIG_BLOCK, nullptr, &mask);
            return WriteFails(*file) && WriteFails(*file) && isShort && sigismember(&mask, SIGXFSZ) == 0 ? 0 : 1;
        });
    EXPECT_EQ(status, 0);
}

TEST_F(SizeLimit, IsAnErrorWhenItComesLater)
{
    int const status = QzTest::RunInChild(
        [&]
        {
            auto const file = OpenFull();
            LimitFileSizes();
            return WriteFails(*file) && WriteFails(*file) && file->GetSize() == kLimit ? 0 : 1;
        });
    EXPECT_EQ(status, 0);
}

TEST_F(SizeLimit, IsAnErrorOnEveryWayToTheFile)
{
    Put("large", std::string(200000, 'x'));
    auto const source = [this] { return File::OpenDescriptor(WideIn("large").c_str(), kOpenRead, kShareDefault); };
    auto const target = [this](OpenMode mode) { return File::OpenStream(WideIn("new").c_str(), mode, kShareDefault); };
    std::function<void()> const ways[] = {
        [&] { CopyFile(WideIn("large").c_str(), WideIn("new").c_str()); },
        [&] { File::Copy(File::ScopedDescriptor(source()).Get(), WideIn("new").c_str()); },
        [&]
        {
            File::ScopedStream const stream(target(kOpenUpdateNew));
            File::SetPosition(stream.Get(), 2000);
            File::Write(stream.Get(), "x", 0);
            File::Flush(stream.Get());
        },
        [&]
        {
            File::ScopedStream const stream(target(kOpenUpdateNew));
            File::SetPosition(stream.Get(), 2000);
            File::Write(stream.Get(), "x", 0);
            File::SetPosition(stream.Get(), 0);
        },
        [&] { File::Truncate(File::ScopedStream(target(kOpenWriteNew)).Get(), 2000); },
        [&]
        {
            File::ScopedDescriptor const descriptor(
                File::OpenDescriptor(WideIn("new").c_str(), kOpenWriteNew, kShareDefault));
            File::SetPosition(descriptor.Get(), 2000);
            if (File::WriteDescriptor(descriptor.Get(), "x", 1) == -1)
                throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, errno, nullptr);
        },
    };
    for (bool const isFirst : {true, false})
    {
        for (auto const& way : ways)
        {
            int const status = QzTest::RunInChild(
                [&]
                {
                    if (!isFirst)
                        OpenFull();
                    LimitFileSizes();
                    std::string const failure = Catch(way);
                    // A copy that fits in part is cut off by a short write, which has no number of its own.
                    bool const isFull = failure.find("0/" + std::to_string(ENOSPC) + ' ') == 0;
                    return IsTooLarge(failure) || isFull ? 0 : 1;
                });
            EXPECT_EQ(status, 0) << &way - ways;
        }
    }
}

TEST_F(SizeLimit, LeavesTheHostItsOwnEnd)
{
    int const status = QzTest::RunInChild(
        [&]
        {
            auto const file = OpenFull();
            LimitFileSizes();
            bool const fails = WriteFails(*file);
            int const own = open(In("file").c_str(), O_WRONLY | O_APPEND);
            return write(own, "x", 1) == 1 || !fails ? 1 : 2;
        });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
}

TEST_F(SizeLimit, LeavesTheHostItsOwnSettings)
{
    static int gCaught = 0;
    void (*const handlers[])(int) = {SIG_IGN, [](int) { ++gCaught; }};
    for (auto const handler : handlers)
    {
        int const status = QzTest::RunInChild(
            [&]
            {
                signal(SIGXFSZ, handler);
                auto const file = OpenFull();
                LimitFileSizes();
                bool const fails = WriteFails(*file);
                struct sigaction present;
                sigaction(SIGXFSZ, nullptr, &present);
                return fails && present.sa_handler == handler ? 0 : 1;
            });
        EXPECT_EQ(status, 0);
    }
    // A signal that a thread keeps blocked must neither be left behind nor, if it was there before, be taken.
    for (bool const isFirst : {true, false})
    {
        int const status = QzTest::RunInChild(
            [&]
            {
                sigset_t const set = MakeSignalSet();
                pthread_sigmask(SIG_BLOCK, &set, nullptr);
                if (isFirst)
                    LimitFileSizes();
                auto const file = OpenFull();
                LimitFileSizes();
                if (!WriteFails(*file) || IsSignalPending())
                    return 1;
                raise(SIGXFSZ);
                return WriteFails(*file) && IsSignalPending() ? 0 : 2;
            });
        EXPECT_EQ(status, 0);
    }
}
