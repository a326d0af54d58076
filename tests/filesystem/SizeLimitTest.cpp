#include "filesystem/TemporaryFolder.h"

#include "filesystem/File.h"
#include "filesystem/FileGuards.h"
#include "filesystem/FileObjects.h"

#include <csignal>

#include <sys/resource.h>

using namespace QzBase::Literals;
using namespace QzFileSystem;
using namespace QzTest;

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

    /// A file of just the size of the limit, opened before the limit comes or after.
    std::unique_ptr<UpdateableFile> OpenFull(bool isLimitFirst)
    {
        if (isLimitFirst)
            LimitFileSizes();
        auto file = CreateUpdateableFile(u"file"_w, KeepOnClose);
        file->Write(std::string(kLimit, 'x').c_str(), kLimit);
        LimitFileSizes();
        return file;
    }

    bool WriteFails(UpdateableFile& file)
    {
        return Catch([&] { file.WriteText("beyond", 0); }).find("\n2/27 ") != std::string::npos; // EFBIG
    }

    bool IsPending()
    {
        sigset_t set;
        return sigpending(&set) == 0 && sigismember(&set, SIGXFSZ) == 1;
    }

    using SizeLimit = TemporaryFolder;
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
            sigset_t mask;
            bool const isOpen = pthread_sigmask(SIG_BLOCK, nullptr, &mask) == 0 && sigismember(&mask, SIGXFSZ) == 0;
            return fails && isOpen && failure.find("1/305419896 Failed to write 2 bytes to file '") == 0 ? 0 : 1;
        };
        EXPECT_EQ(RunInChild(inChild), 0) << isFirst;
        auto const inBlockingChild = [&]
        {
            // A signal that a thread keeps blocked must neither be left behind nor, if it was there before, be taken.
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGXFSZ);
            pthread_sigmask(SIG_BLOCK, &set, nullptr);
            auto const file = OpenFull(isFirst);
            if (!WriteFails(*file) || IsPending())
                return 1;
            raise(SIGXFSZ);
            return WriteFails(*file) && IsPending() ? 0 : 2;
        };
        EXPECT_EQ(RunInChild(inBlockingChild), 0) << isFirst;
    }
}

TEST_F(SizeLimit, LeavesTheHostItsOwn)
{
    // A child's own write ends it as ever, whatever the library did before.
    auto const inChild = []
    {
        auto const file = OpenFull(false);
        auto const withStream = [](bool isFlush)
        {
            File::ScopedStream const stream(File::OpenStream(u"file"_w, kOpenUpdate, kShareDefault));
            File::SetPosition(stream.Get(), 2000);
            File::Write(stream.Get(), "x", 0);
            isFlush ? File::Flush(stream.Get()) : File::SetPosition(stream.Get(), 0);
        };
        Action const ways[] = {[&] { withStream(true); }, [&] { withStream(false); },
            [] {
                File::Truncate(
                    File::ScopedDescriptor(File::OpenDescriptor(u"file"_w, kOpenUpdate, kShareDefault)).Get(), 2000);
            }};
        for (Action const& way : ways)
            if (Catch(way).find("/27 ") == std::string::npos) // EFBIG
                return 1;
        return write(open("file", O_WRONLY | O_APPEND), "x", 1) == 1 || !WriteFails(*file) ? 2 : 3;
    };
    int const status = RunInChild(inChild);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;

    void (*const handlers[])(int) = {SIG_IGN, [](int) {}};
    for (auto const handler : handlers)
    {
        auto const inHandlingChild = [&]
        {
            signal(SIGXFSZ, handler);
            return WriteFails(*OpenFull(false)) && signal(SIGXFSZ, SIG_DFL) == handler ? 0 : 1;
        };
        EXPECT_EQ(RunInChild(inHandlingChild), 0);
    }
}
