#include "filesystem/FailureText.h"

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
        auto const failsAndWritesWhatFits = [&]
        {
            auto const file = OpenFull(isFirst);
            bool const fails = WriteFails(*file) && WriteFails(*file) && file->GetSize() == kLimit;
            file->SetPosition(kLimit - 4);
            std::string const failure = Catch([&] { file->WriteText("abcdef", 0); });
            sigset_t mask;
            return fails && failure.find("1/305419896 Failed to write 2 bytes to file '") == 0 &&
                   pthread_sigmask(SIG_BLOCK, nullptr, &mask) == 0 && sigismember(&mask, SIGXFSZ) == 0;
        };
        ExpectInChild(failsAndWritesWhatFits);
        auto const leavesABlockedSignalAsItIs = [&]
        {
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGXFSZ);
            pthread_sigmask(SIG_BLOCK, &set, nullptr);
            auto const file = OpenFull(isFirst);
            bool const leavesNone = WriteFails(*file) && !IsPending();
            raise(SIGXFSZ);
            return leavesNone && WriteFails(*file) && IsPending();
        };
        ExpectInChild(leavesABlockedSignalAsItIs);
    }
}

TEST_F(SizeLimit, LeavesTheHostItsOwn)
{
    // A child's own write ends it as ever, whatever the library did before.
    auto const inChild = []
    {
        auto const file = OpenFull(false);
        return !WriteFails(*file) || write(open("file", O_WRONLY | O_APPEND), "x", 1) == 1;
    };
    int const status = RunInChild(inChild);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;

    void (*const handlers[])(int) = {SIG_IGN, [](int) {}};
    for (auto const handler : handlers)
        ExpectInChild(
            [&]
            {
                signal(SIGXFSZ, handler);
                return WriteFails(*OpenFull(false)) && signal(SIGXFSZ, SIG_DFL) == handler;
            });
}
