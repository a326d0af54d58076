// What really leaves the process to sockets that stand in the places of the system's logs, which a child process has to
// itself.

#include "os/OutputTest.h"
#include "support/OwnMounts.h"
#include "support/Texts.h"

#include <QzBase/Conversions.h>

#include <gmock/gmock.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{
    using namespace OutputTest;

    constexpr int kForbidden = 77;

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

    void Report(QzOs::EventType type, std::string const& text)
    {
        void* const source = gCalls.mpRegisterEventSource(QzBase::UTF8ToWideChar("Gr\nöße\x7F", true).c_str());
        errno = ENOTTY;
        gCalls.mpReportEvent(source, type, 42, QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
        EXPECT_EQ(errno, ENOTTY);
        gCalls.mpDeregisterEventSource(source);
    }

    /// With a stalled receiver.
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

    std::string const gLarge = "x" + QzTest::Repeat("€", 300'000);

    void ExpectCut(std::string const& cut, std::string const& head, std::string const& end)
    {
        EXPECT_TRUE(cut.starts_with(head + "x€")) << cut.substr(0, 100);
        std::size_t const mark = cut.rfind("€ [") + std::string("€").size();
        EXPECT_GT(mark, 150'000u);
        EXPECT_EQ(cut.substr(mark), " [" + std::to_string(900'001 - (mark - head.size())) + " more bytes]" + end);
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
        Report(QzOs::kEventSuccess, gLarge);
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
        Report(QzOs::kEventSuccess, gLarge);
        EXPECT_EQ(Receive(journal), "MESSAGE=" + gLarge + fields);
        FillQueue(journal);

        rlimit const limit{4, 4};
        setrlimit(RLIMIT_FSIZE, &limit);
        Report(QzOs::kEventSuccess, gLarge);
        ExpectCut(Receive(journal), "MESSAGE=", fields);
    }

    void UseLogs()
    {
        if (!TakeOwnMounts() || mount("tmpfs", "/run", "tmpfs", 0, nullptr) != 0 ||
            mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0)
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
