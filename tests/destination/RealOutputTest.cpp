// What really leaves the process: on a standard error of several kinds, and to sockets that stand in the
// places of the system's logs, which a child process has to itself.

#include "os/Calls.h"
#include "os/EventType.h"
#include "os/posix/Kernel.h"

#include <QzBase/Conversions.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
    using QzOs::Posix::gKernel;

    QzBase::ReturnWString ToWide(std::string const& text)
    {
        return QzBase::UTF8ToWideChar(text.c_str(), true);
    }

    /// Runs `body` in a child process whose standard error is `standardError`; returns how it ended.
    int RunInChild(int standardError, std::function<void()> const& body)
    {
        pid_t const child = fork();
        if (child == 0)
        {
            dup2(standardError, STDERR_FILENO);
            close(standardError);
            std::signal(SIGPIPE, SIG_DFL);
            body();
            _exit(errno == ENOTTY ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    void WriteDebugOutput(std::string const& text)
    {
        QzBase::ReturnWString const wide = ToWide(text);
        errno = ENOTTY;
        QzOs::gCalls.mpWriteDebugOutput(wide.c_str());
    }

    std::string ReadAll(int descriptor)
    {
        std::string all;
        char buffer[4096];
        for (ssize_t count; (count = read(descriptor, buffer, sizeof(buffer))) > 0;)
            all.append(buffer, static_cast<std::size_t>(count));
        close(descriptor);
        return all;
    }

    TEST(DebugOutput, IsOneWriteAndGoesOnAfterASignal)
    {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        auto const body = []
        {
            gKernel.mpWrite = [](int descriptor, void const* data, size_t size) -> ssize_t
            {
                static int call = 0;
                if (call++ == 0)
                {
                    errno = EINTR;
                    return -1;
                }
                return write(descriptor, data, call == 2 ? size : size / 2 + 1);
            };
            WriteDebugOutput("one\r\ntwo €\r\n");
            WriteDebugOutput("cut in pieces");
        };
        EXPECT_EQ(RunInChild(ends[1], body), 0);
        close(ends[1]);
        EXPECT_EQ(ReadAll(ends[0]), "one\r\ntwo €\r\ncut in pieces");
    }

    TEST(DebugOutput, NeitherFailsNorEndsTheProcess)
    {
        int broken[2];
        ASSERT_EQ(pipe(broken), 0);
        close(broken[0]);
        EXPECT_EQ(RunInChild(broken[1], [] { WriteDebugOutput("nobody reads"); }), 0);
        // A signal that the program keeps waiting for itself stays waiting.
        auto const blocked = []
        {
            sigset_t set;
            sigemptyset(&set);
            sigaddset(&set, SIGPIPE);
            sigprocmask(SIG_BLOCK, &set, nullptr);
            raise(SIGPIPE);
            WriteDebugOutput("nobody reads");
            sigpending(&set);
            errno = sigismember(&set, SIGPIPE) == 1 ? errno : 0;
        };
        EXPECT_EQ(RunInChild(broken[1], blocked), 0);
        close(broken[1]);

        int const limited = memfd_create("limited", MFD_CLOEXEC);
        auto const atLimit = []
        {
            rlimit const limit{4, 4};
            setrlimit(RLIMIT_FSIZE, &limit);
            WriteDebugOutput("too long");
            WriteDebugOutput("too long");
        };
        EXPECT_EQ(RunInChild(limited, atLimit), 0);
        lseek(limited, 0, SEEK_SET);
        EXPECT_EQ(ReadAll(limited), "too ");

        // A full pipe that may not block loses whole messages.
        int full[2];
        ASSERT_EQ(pipe2(full, O_NONBLOCK), 0);
        auto const fill = []
        {
            for (int count = 0; count < 100; ++count)
                WriteDebugOutput(std::string(4095, 'x') + "\n");
        };
        EXPECT_EQ(RunInChild(full[1], fill), 0);
        close(full[1]);
        std::string const kept = ReadAll(full[0]);
        EXPECT_GT(kept.size(), 0u);
        EXPECT_EQ(kept.size() % 4096, 0u);
    }

    int Bind(char const* path)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::string(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
        void const* const place = &address;
        int const descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0);
        return bind(descriptor, static_cast<sockaddr const*>(place), sizeof(address)) == 0 ? descriptor : -1;
    }

    std::string Receive(int descriptor)
    {
        std::string datagram(1 << 20, '\0');
        ssize_t const size = recv(descriptor, datagram.data(), datagram.size(), 0);
        datagram.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return datagram;
    }

    /// Gives this process a /run and a /dev of its own. Returns what the kernel forbids, null when nothing.
    char const* TakePrivateFolders()
    {
        std::string const user = "0 " + std::to_string(getuid()) + " 1";
        std::string const group = "0 " + std::to_string(getgid()) + " 1";
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return "namespaces of its own";
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user;
        std::ofstream("/proc/self/gid_map") << group;
        if (mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("tmpfs", "/run", "tmpfs", 0, nullptr) != 0 || mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0)
            return "mounts in a namespace of its own";
        return nullptr;
    }

    void Report(QzOs::EventType type, std::string const& text)
    {
        void* const source = QzOs::gCalls.mpRegisterEventSource(ToWide("Größe").c_str());
        errno = ENOTTY;
        QzOs::gCalls.mpReportEvent(source, type, 42, ToWide(text).c_str());
        EXPECT_EQ(errno, ENOTTY);
        QzOs::gCalls.mpDeregisterEventSource(source);
    }

    void UseSyslog()
    {
        Report(QzOs::kEventError, "no log at all");
        int const log = Bind("/dev/log");
        QzOs::gCalls.mpGetUTCMilliseconds = [] { return std::int64_t{1'794'124'987'999}; };
        QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t) { return -300; };

        std::string const head = "Nov  8 03:03:07 Größe[" + std::to_string(getpid()) + "]: ";
        Report(QzOs::kEventWarning, "a\r\nb");
        EXPECT_EQ(Receive(log), "<12>" + head + "a\r\nb");
        std::string large = "x";
        while (large.size() < 3'000'000)
            large += "€";
        Report(QzOs::kEventSuccess, large);
        std::string const cut = Receive(log);
        EXPECT_GT(cut.size(), 50'000u);
        EXPECT_EQ(cut.substr(cut.size() - 3), "€");
        EXPECT_TRUE(cut.starts_with("<14>" + head + "x€"));
    }

    void UseJournal()
    {
        mkdir("/run/systemd", 0700);
        mkdir("/run/systemd/journal", 0700);
        int const journal = Bind("/run/systemd/journal/socket");
        struct
        {
            QzOs::EventType mType;
            char mPriority;
        } const cases[] = {{QzOs::kEventError, '3'}, {QzOs::kEventWarning, '4'}, {QzOs::kEventInformation, '6'},
            {QzOs::kEventSuccess, '6'}};
        for (auto const& c : cases)
        {
            Report(c.mType, "one line");
            EXPECT_EQ(Receive(journal),
                std::string("MESSAGE=one line\nPRIORITY=") + c.mPriority + "\nSYSLOG_IDENTIFIER=Größe\nEVENT_ID=42\n");
        }
        Report(QzOs::kEventError, "a\r\nb");
        EXPECT_TRUE(Receive(journal).starts_with(std::string("MESSAGE\n\4\0\0\0\0\0\0\0a\r\nb\nPRIORITY=3\n", 28)));
    }

    TEST(EventLog, SpeaksToTheJournalElseToTheClassicSocket)
    {
        constexpr int kForbidden = 77;
        pid_t const child = fork();
        if (child == 0)
        {
            if (char const* const forbidden = TakePrivateFolders())
            {
                std::printf("The kernel forbids a process %s: %s\n", forbidden, std::strerror(errno));
                std::fflush(stdout);
                _exit(kForbidden);
            }
            UseSyslog();
#ifdef QZLOG_WITH_JOURNAL
            UseJournal();
#endif
            std::fflush(stdout);
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == kForbidden)
            GTEST_SKIP() << "Not tested: the kernel forbids a process folders of its own.";
        EXPECT_EQ(status, 0);
    }
}
