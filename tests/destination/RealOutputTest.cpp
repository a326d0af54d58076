// What really leaves the process: on a standard error of several kinds, and to sockets that stand in the
// places of the system's logs, which a child process has to itself.

#include "os/Calls.h"
#include "os/posix/Kernel.h"
#include "support/ForkedChild.h"

#include <QzBase/Conversions.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{
    using QzOs::gCalls;
    using QzOs::Posix::gKernel;

    constexpr int kForbidden = 77;

    /// Runs `body` in a child process, with `standardError` as its own unless that is negative; returns how it ended.
    int RunInChild(int standardError, void (*body)())
    {
        // What is left in the buffer could meet the child's limit of file sizes.
        std::fflush(stdout);
        return ::RunInChild(
            [=]
            {
                if (standardError >= 0)
                    dup2(standardError, STDERR_FILENO);
                body();
                std::fflush(stdout);
                return testing::Test::HasFailure() ? 1 : 0;
            });
    }

    void Write(std::string const& text)
    {
        errno = ENOTTY;
        gCalls.mpWriteDebugOutput(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
        EXPECT_EQ(errno, ENOTTY);
    }

    /// What can be read until the other end is closed, or until nothing is there if reading does not wait.
    std::string ReadAll(int descriptor)
    {
        std::string all;
        char piece[65536];
        for (ssize_t size; (size = read(descriptor, piece, sizeof(piece))) > 0;)
            all.append(piece, static_cast<std::size_t>(size));
        return all;
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

    /// The time for which a message has waited, without waiting. A signal comes after 0.6 seconds.
    std::int64_t gWaited = 0;

    void CountWaits()
    {
        gCalls.mpGetMonotonicNanoseconds = [] { return gWaited; };
        gCalls.mpSleep = [](unsigned int milliseconds) { gWaited += milliseconds * 1'000'000; };
        gKernel.mpPoll = [](pollfd* descriptors, nfds_t count, int milliseconds)
        {
            int const result = poll(descriptors, count, 0);
            if (result != 0 || milliseconds == 0)
                return result;
            gCalls.mpSleep(static_cast<unsigned int>(std::min(milliseconds, 600)));
            errno = EINTR;
            return milliseconds > 600 ? -1 : 0;
        };
    }
    constexpr std::int64_t kSecond = 1'000'000'000;

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

    TEST(DebugOutput, KeepsTheMessagesOfThreadsApart)
    {
        auto const body = []
        {
            std::vector<std::jthread> threads;
            for (char const letter : {'a', 'b', 'c', 'd'})
                threads.emplace_back(
                    [=]
                    {
                        for (int count = 0; count < 50; ++count)
                            Write(std::string(20'000, letter) + '\n');
                    });
        };
        std::istringstream lines(WriteToPipe(body));
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count)
            EXPECT_EQ(line, std::string(20'000, line[0]));
        EXPECT_EQ(count, 200);
    }

    /// With a reader that stands still at the other end of standard error.
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

    TEST(DebugOutput, LeavesNoLockBehindInAForkedChild)
    {
        auto const inChild = []
        {
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
            ExpectInChildrenOfBusyParent(
                20, [] { Write("parent\n"); }, [] { return Write("child\n"), true; });
            return testing::Test::HasFailure() ? 1 : 0;
        };
        EXPECT_EQ(::RunInChild(inChild), 0);
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

    int Bind(char const* path, int type)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::string(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
        void const* const place = &address;
        unlink(path);
        int const descriptor = socket(AF_UNIX, type | SOCK_NONBLOCK, 0);
        EXPECT_EQ(bind(descriptor, static_cast<sockaddr const*>(place), sizeof(address)), 0) << path;
        return descriptor;
    }

    /// The next datagram, or the content of the sealed file that came instead.
    std::string Receive(int descriptor)
    {
        std::string datagram(1 << 20, '\0');
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        iovec piece{datagram.data(), datagram.size()};
        msghdr message{nullptr, 0, &piece, 1, control, sizeof(control), 0};
        ssize_t const size = recvmsg(descriptor, &message, 0);
        datagram.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        if (cmsghdr const* const header = size < 0 ? nullptr : CMSG_FIRSTHDR(&message))
        {
            int file;
            std::copy_n(CMSG_DATA(header), sizeof(file), static_cast<unsigned char*>(static_cast<void*>(&file)));
            EXPECT_EQ(fcntl(file, F_GET_SEALS), F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE);
            lseek(file, 0, SEEK_SET);
            datagram = ReadAll(file);
            close(file);
        }
        return datagram;
    }

    /// Gives this process a /run and a /dev of its own.
    bool TakePrivateFolders()
    {
        std::string const user = "0 " + std::to_string(getuid()) + " 1";
        std::string const group = "0 " + std::to_string(getgid()) + " 1";
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user;
        std::ofstream("/proc/self/gid_map") << group;
        return mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0 && mount("tmpfs", "/dev", "tmpfs", 0, nullptr) == 0;
    }

    void Report(QzOs::EventType type, std::string const& text)
    {
        void* const source = gCalls.mpRegisterEventSource(QzBase::UTF8ToWideChar("Gr\nöße\x7F", true).c_str());
        errno = ENOTTY;
        gCalls.mpReportEvent(source, type, 42, QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
        EXPECT_EQ(errno, ENOTTY);
        gCalls.mpDeregisterEventSource(source);
    }

    /// With a receiver that stands still.
    void FillQueue(int receiver)
    {
        std::int64_t const before = gWaited;
        for (int count = 0; count < 1000; ++count)
            Report(QzOs::kEventError, "filling");
        EXPECT_EQ(gWaited, before + kSecond);
        while (!Receive(receiver).empty())
        {
        }
        Report(QzOs::kEventError, "again");
        EXPECT_THAT(Receive(receiver), testing::HasSubstr("again"));
    }

    std::string MakeLargeText()
    {
        std::string large = "x";
        while (large.size() < 3'000'000)
            large += "€";
        return large;
    }

    void ExpectCut(std::string const& cut, std::string const& head, std::string const& end)
    {
        EXPECT_TRUE(cut.starts_with(head + "x€")) << cut.substr(0, 100);
        std::size_t const mark = cut.rfind("€ [") + std::string("€").size();
        EXPECT_GT(mark, 150'000u);
        EXPECT_EQ(cut.substr(mark), " [" + std::to_string(3'000'001 - (mark - head.size())) + " more bytes]" + end);
    }

    void UseSyslog()
    {
        Report(QzOs::kEventError, "no log at all");
        int const log = Bind("/dev/log", SOCK_DGRAM);
        gCalls.mpGetUTCMilliseconds = [] { return std::int64_t{1'794'124'987'999}; };
        gCalls.mpGetZoneMinutes = [](std::int64_t) { return -300; };
        std::string const head = "Nov  8 03:03:07 Gr?öße?[" + std::to_string(getpid()) + "]: ";
        Report(QzOs::kEventWarning, "a\r\nb\rc");
        EXPECT_EQ(Receive(log), "<12>" + head + "a\nb\nc");
        Report(QzOs::kEventSuccess, MakeLargeText());
        ExpectCut(Receive(log), "<14>" + head, "");
        FillQueue(log);

        int const stream = Bind("/dev/log", SOCK_STREAM);
        EXPECT_EQ(listen(stream, 1), 0);
        for (int count = 0; count < 4; ++count)
            Report(QzOs::kEventError, "a\r\nb");
        EXPECT_EQ(gWaited, 2 * kSecond);
        EXPECT_EQ(ReadAll(accept(stream, nullptr, nullptr)), "<11>" + head + "a\nb" + '\0');
    }

    void UseJournal()
    {
        mkdir("/run/systemd", 0700);
        mkdir("/run/systemd/journal", 0700);
        int const journal = Bind("/run/systemd/journal/socket", SOCK_DGRAM);
        char const* const priorities[] = {"6", "3", "4", nullptr, "6"};
        std::string fields;
        for (QzOs::EventType const type :
            {QzOs::kEventError, QzOs::kEventWarning, QzOs::kEventInformation, QzOs::kEventSuccess})
        {
            fields = std::string("\nPRIORITY=") + priorities[type] + "\nSYSLOG_IDENTIFIER=Gr?öße?\nEVENT_ID=42\n";
            Report(type, "a\r\nb");
            EXPECT_EQ(Receive(journal), std::string("MESSAGE\n\3\0\0\0\0\0\0\0", 16) + "a\nb" + fields);
        }
        std::string const large = MakeLargeText();
        Report(QzOs::kEventSuccess, large);
        EXPECT_EQ(Receive(journal), "MESSAGE=" + large + fields);
        FillQueue(journal);

        rlimit const limit{4, 4};
        setrlimit(RLIMIT_FSIZE, &limit);
        Report(QzOs::kEventSuccess, large);
        ExpectCut(Receive(journal), "MESSAGE=", fields);
    }

    void UseLogs()
    {
        if (!TakePrivateFolders())
            _exit(kForbidden);
        CountWaits();
        auto const count = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
        std::ptrdiff_t const before = count();
        UseSyslog();
        UseJournal();
        // The sockets of this test are left, and no other.
        EXPECT_EQ(count(), before + 4);
    }

    TEST(EventLog, SpeaksToTheJournalElseToTheClassicSocket)
    {
        int const status = RunInChild(-1, UseLogs);
        if (WIFEXITED(status) && WEXITSTATUS(status) == kForbidden)
            GTEST_SKIP() << "Not tested: the kernel forbids a process to mount a /run and a /dev of its own.";
        EXPECT_EQ(status, 0);
    }
}
