// What really leaves the process: on a standard error of several kinds, and to sockets that stand in the
// places of the system's logs, which a child process has to itself.

#include "os/Calls.h"
#include "os/EventType.h"
#include "os/posix/Kernel.h"
#include "support/ForkedChild.h"

#include <QzBase/Conversions.h>

#include <cstdio>
#include <fstream>
#include <string>

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

    /// Writes to a pipe and returns what has arrived.
    std::string WriteToPipe(int flags, void (*body)())
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, flags), 0);
        EXPECT_EQ(RunInChild(ends[1], body), 0);
        close(ends[1]);
        std::string all(1 << 20, '\0');
        ssize_t const size = read(ends[0], all.data(), all.size());
        close(ends[0]);
        all.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return all;
    }

    TEST(DebugOutput, IsOneWriteAndGoesOnAfterASignal)
    {
        auto const body = []
        {
            gKernel.mpWrite = [](int descriptor, void const* data, size_t size)
            {
                static int call = 0;
                errno = EINTR;
                return call++ == 0 ? -1 : write(descriptor, data, call == 2 ? size : size / 2 + 1);
            };
            Write("one\r\ntwo €\r\n");
            Write("cut in pieces");
        };
        EXPECT_EQ(WriteToPipe(0, body), "one\r\ntwo €\r\ncut in pieces");
    }

    TEST(DebugOutput, LosesWholeMessagesWhenThereIsNoRoom)
    {
        auto const body = []
        {
            for (int count = 0; count < 100; ++count)
                Write(std::string(4095, 'x') + "\n");
        };
        std::string const kept = WriteToPipe(O_NONBLOCK, body);
        EXPECT_GT(kept.size(), 0u);
        EXPECT_EQ(kept.size() % 4096, 0u);
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

    int Bind(char const* path)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::string(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
        void const* const place = &address;
        int const descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
        EXPECT_EQ(bind(descriptor, static_cast<sockaddr const*>(place), sizeof(address)), 0) << path;
        return descriptor;
    }

    std::string Receive(int descriptor)
    {
        std::string datagram(1 << 20, '\0');
        ssize_t const size = recv(descriptor, datagram.data(), datagram.size(), 0);
        datagram.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
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
        void* const source = gCalls.mpRegisterEventSource(QzBase::UTF8ToWideChar("Größe", true).c_str());
        errno = ENOTTY;
        gCalls.mpReportEvent(source, type, 42, QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
        EXPECT_EQ(errno, ENOTTY);
        gCalls.mpDeregisterEventSource(source);
    }

    void UseLogs()
    {
        if (!TakePrivateFolders())
            _exit(kForbidden);
        Report(QzOs::kEventError, "no log at all");

        int const log = Bind("/dev/log");
        gCalls.mpGetUTCMilliseconds = [] { return std::int64_t{1'794'124'987'999}; };
        gCalls.mpGetZoneMinutes = [](std::int64_t) { return -300; };
        std::string const head = "Nov  8 03:03:07 Größe[" + std::to_string(getpid()) + "]: ";
        Report(QzOs::kEventWarning, "a\r\nb");
        EXPECT_EQ(Receive(log), "<12>" + head + "a\r\nb");
        std::string large = "x";
        while (large.size() < 3'000'000)
            large += "€";
        Report(QzOs::kEventSuccess, large);
        std::string const cut = Receive(log);
        EXPECT_TRUE(cut.size() > 50'000 && cut.starts_with("<14>" + head + "x€") && cut.ends_with("€"));

#ifdef QZLOG_WITH_JOURNAL
        mkdir("/run/systemd", 0700);
        mkdir("/run/systemd/journal", 0700);
        int const journal = Bind("/run/systemd/journal/socket");
        char const* const priorities[] = {"6", "3", "4", nullptr, "6"};
        for (QzOs::EventType const type :
            {QzOs::kEventError, QzOs::kEventWarning, QzOs::kEventInformation, QzOs::kEventSuccess})
        {
            Report(type, "a\r\nb");
            EXPECT_EQ(Receive(journal), std::string("MESSAGE\n\4\0\0\0\0\0\0\0", 16) + "a\r\nb\nPRIORITY=" +
                                            priorities[type] + "\nSYSLOG_IDENTIFIER=Größe\nEVENT_ID=42\n");
        }
#endif
    }

    TEST(EventLog, SpeaksToTheJournalElseToTheClassicSocket)
    {
        int const status = RunInChild(-1, UseLogs);
        if (WIFEXITED(status) && WEXITSTATUS(status) == kForbidden)
            GTEST_SKIP() << "Not tested: the kernel forbids a process to mount a /run and a /dev of its own.";
        EXPECT_EQ(status, 0);
    }
}
