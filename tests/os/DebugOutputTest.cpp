// What really leaves the process on a standard error of several kinds.

#include "os/OutputTest.h"

#include <QzBase/Conversions.h>

#include <chrono>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>

namespace
{
    using namespace OutputTest;

    void Write(std::string const& text)
    {
        errno = ENOTTY;
        gCalls.mpWriteDebugOutput(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
        EXPECT_EQ(errno, ENOTTY);
    }

    /// Writes to a pipe and returns what has arrived. Reads in the process that has forked, without a thread: under the
    /// thread sanitizer the child could have none then.
    std::string WriteToPipe(void (*body)())
    {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        pid_t const child = fork();
        if (child == 0)
            _exit(RunInChild(ends[1], body) == 0 ? 0 : 1);
        close(ends[1]);
        std::string const all = ReadAll(ends[0]);
        close(ends[0]);
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << all;
        return all;
    }

    TEST(DebugOutput, IsOneWriteAndGoesOnAfterASignal)
    {
        auto const body = []
        {
            gKernel.mpWriteAtOnce = [](int descriptor, void const* data, size_t size)
            {
                static int call = 0;
                errno = EINTR;
                return call++ == 0 ? -1 : write(descriptor, data, call == 2 ? size : size / 2 + 1);
            };
            Write("one\r\ntwo €\r\n");
            Write("cut in pieces");
        };
        EXPECT_EQ(WriteToPipe(body), "one\r\ntwo €\r\ncut in pieces");
    }

    /// With a stalled reader at the other end of standard error.
    void WaitForReader(int reader)
    {
        CountWaits();
        std::string const large(1'000'000, 'x');
        Write(large);
        EXPECT_EQ(gWaited, kSecond);
        Write("another\n");
        EXPECT_EQ(gWaited, kSecond);
        EXPECT_TRUE(large.starts_with(ReadAll(reader)));
        Write("next\n");
        Write("last\n");
        EXPECT_EQ(ReadAll(reader), "\r\nnext\nlast\n");
        Write(large);
        EXPECT_EQ(gWaited, 2 * kSecond);
    }

    TEST(DebugOutput, WaitsASecondForAReaderThatStandsStill)
    {
        int pipes[2][2];
        int sockets[2];
        ASSERT_EQ(pipe(pipes[0]) + pipe2(pipes[1], O_NONBLOCK) + socketpair(AF_UNIX, SOCK_STREAM, 0, sockets), 0);
        for (int const* const ends : {pipes[0], pipes[1], sockets})
            // Where the system can write without a wait, where that takes an open file of its own, and without that.
            for (int const lacks : {0, 1, 2})
            {
                auto const inChild = [=]
                {
                    dup2(ends[1], STDERR_FILENO);
                    fcntl(ends[0], F_SETFL, O_NONBLOCK);
                    if (lacks > 0)
                        gKernel.mpWriteAtOnce = [](int, void const*, size_t)
                        { return errno = EOPNOTSUPP, ssize_t{-1}; };
                    if (lacks > 1)
                        gKernel.mpOpen = [](char const*, int, mode_t) { return errno = EACCES, -1; };
                    WaitForReader(ends[0]);
                    return testing::Test::HasFailure() ? 1 : 0;
                };
                EXPECT_EQ(::RunInChild(inChild), 0);
                fcntl(ends[0], F_SETFL, O_NONBLOCK);
                ReadAll(ends[0]);
                fcntl(ends[0], F_SETFL, 0);
            }
        for (int const* const ends : {pipes[0], pipes[1], sockets})
            close(ends[0]), close(ends[1]);
    }

    TEST(DebugOutput, WaitsASecondForAnotherThread)
    {
        auto const body = []
        {
            static auto const writeAtOnce = gKernel.mpWriteAtOnce;
            gKernel.mpWriteAtOnce = [](int descriptor, void const* data, size_t size)
            {
                gKernel.mpWriteAtOnce = writeAtOnce;
                std::thread([] { Write("given up\n"); }).join();
                return writeAtOnce(descriptor, data, size);
            };
            Write("taken\n");
        };
        EXPECT_EQ(WriteToPipe(body), "taken\n");
    }

    // A thread that writes without a pause would have the lock again before those that wait have woken up.
    TEST(DebugOutput, GoesFromThreadToThread)
    {
        auto const body = []
        {
            static int changes = 0;
            static std::thread::id last;
            gKernel.mpWriteAtOnce = [](int, void const*, size_t size)
            {
                changes += std::exchange(last, std::this_thread::get_id()) != std::this_thread::get_id();
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                return static_cast<ssize_t>(size);
            };
            std::vector<std::jthread> threads;
            for (int thread = 0; thread < 4; ++thread)
                threads.emplace_back(
                    []
                    {
                        for (int count = 0; count < 50; ++count)
                            Write("line\n");
                    });
            threads.clear();
            EXPECT_GT(changes, 100);
        };
        EXPECT_EQ(WriteToPipe(body), "");
    }

    TEST(DebugOutput, NeverEndsTheProcess)
    {
        int broken[2];
        ASSERT_EQ(pipe(broken), 0);
        close(broken[0]);
        EXPECT_EQ(RunInChild(broken[1], [] { Write("nobody reads"); }), 0);
        // A signal that the program itself keeps waiting stays waiting.
        auto const blocked = []
        {
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGPIPE);
            sigprocmask(SIG_BLOCK, &set, nullptr);
            raise(SIGPIPE);
            Write("nobody reads");
            sigpending(&set);
            EXPECT_EQ(sigismember(&set, SIGPIPE), 1);
        };
        EXPECT_EQ(RunInChild(broken[1], blocked), 0);
        close(broken[1]);

        std::FILE* const limited = std::tmpfile();
        auto const atLimit = []
        {
            rlimit const limit{4, 4};
            setrlimit(RLIMIT_FSIZE, &limit);
            Write("too long");
            Write("too long");
        };
        EXPECT_EQ(RunInChild(fileno(limited), atLimit), 0);
        EXPECT_EQ(lseek(fileno(limited), 0, SEEK_END), 4);
        std::fclose(limited);
    }
}
