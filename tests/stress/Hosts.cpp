#include "Hosts.h"

#include <QzBase/WideString.h>
#include <QzLog/CmdLogTrace.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/MsgLogTrace.h>
#include <QzLog/ScopeGuard.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace QzBase::Literals;

namespace
{
    constexpr unsigned int kLongestLife = 120; // in seconds
    constexpr unsigned int kMostProcesses = Ledger::kMaxProcesses - 100;

    Writer* gpWriter = nullptr;
    // Made before there are threads: a fork amid its making would leave it half made in the child.
    std::optional<QzLog::CmdLogTrace> gTrace;
    thread_local unsigned int tThread = 0;
    thread_local unsigned int tChild = 0;

    /// Whatever has locks beside the writer.
    void UseOthers(char const* text)
    {
        static unsigned int const gID = 1;
        QzLog::SetServerInstanceName(u"server"_w);
        QzBase::CountedPtr<QzLog::Router> const other(QzLog::CreateRouter("Other", "Info"));
        other->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({}));
        QzBase::CountedPtr<QzLog::Destination_DebugOutput> const debug(QzLog::GetDestination_DebugOutput());
        debug->SetCallstackMessageIDs(&gID, 1);
        debug->WriteString(text);
        QzBase::CountedPtr<QzLog::Destination_SystemLog>(QzLog::GetDestination_SystemLog())->SetEventSource(text);
        gTrace->AddToLogTrace(1, 1, 1);
        gTrace->CollectLogTrace();
        QzBase::WideString name(u"name"_w);
        QzLog::MsgLogTrace::getInstance()->AddToLogTrace(1, 1, name, 1, QzLog::MsgOpFirst);
        QzLog::MsgLogTrace::getInstance()->CollectLogTrace();
    }

    void Fork(Writer& writer, unsigned int thread, std::mt19937_64& random)
    {
        if (random() % 4 == 0)
            UseOthers("parent");
        if (random() % 30 != 0 || writer.mLedger.mStarted >= kMostProcesses)
            return;
        tThread = thread;
        tChild = writer.mLedger.mStarted++;
        std::uint64_t const share = random() % 20;
        pid_t const id = fork();
        if (id == 0)
        {
            alarm(kLongestLife);
            writer.BecomeChild(tChild);
            UseOthers("child");
            writer.LogInThreads(share);
            writer.Close();
            _exit(0);
        }
        int status = -1;
        if (waitpid(id, &status, 0) != id || status != 0)
            std::abort();
    }

    int RunWith(
        decltype(WriterSettings::mpAfterRecord) doBeside, WriterSettings settings, unsigned int process, Ledger& ledger)
    {
        settings.mpAfterRecord = doBeside;
        gTrace.emplace();
        return RunWriter(settings, process, ledger);
    }

    /// What a program writes to its standard descriptors does not go into the log.
    void UseLowDescriptors(Writer& writer, unsigned int thread, std::mt19937_64& random)
    {
        int const file = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (write(static_cast<int>(random() % 3), "stray text\r\n", 12) < 0 && errno != EBADF)
            std::abort();
        close(file);
        Fork(writer, thread, random);
    }

    /// Amid the library's handlers nothing is logged, and nobody waits.
    void LogAmidFork()
    {
        if (!gpWriter)
            return;
        QzLog::Router& router = gpWriter->GetRouter();
        QzLog::LogString(router, kAmidFork, nullptr, nullptr, nullptr, 0);
        QzLog::LogMessage(router, 7u, QzLog::GetMessageFormatter() << "x", nullptr, nullptr, nullptr, 0);
        QzLog::ScopeGuard const guard(router, "amid", "a fork", 1);
        QzBase::Message message(QzBase::MESSAGE_DOMAIN_UNKNOWN, 1, "m");
        router.LogAndUpdateMessage(message);
        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        gpWriter->GetLog().WriteMessage(kAmidFork, *header);
        UseOthers(kAmidFork);
    }

    // Before the library's handlers, which are registered when it is loaded.
    [[gnu::section(".preinit_array"), gnu::used]] void (*const gRegister)() = []
    { pthread_atfork(LogAmidFork, LogAmidFork, LogAmidFork); };

    void LogOnTheThread()
    {
        gpWriter->Log(tThread);
    }

    void LogInTheChild()
    {
        gpWriter->BecomeChild(tChild);
        tThread = 0;
        gpWriter->Log(tThread);
    }

    /// By fork and exec, or as the system does it.
    void StartProgram(Writer&, unsigned int, std::mt19937_64& random)
    {
        if (random() % 400 != 0)
            return;
        // It ends with the last writer, which has the other end.
        char const* const arguments[] = {"cat", nullptr};
        auto const pArguments = const_cast<char* const*>(arguments);
        pid_t id = 0;
        if (random() % 2 == 0)
            posix_spawnp(&id, *arguments, nullptr, nullptr, pArguments, environ);
        else if (fork() == 0)
            _exit(execvp(*arguments, pArguments));
    }

    /// Logs when it is destroyed.
    struct Late
    {
        ~Late() { gpWriter->Log(mThread); }
        unsigned int mThread;
    };
}

int RunForks(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    return RunWith(Fork, settings, process, ledger);
}

int RunClosedDescriptors(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    for (int const descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        close(descriptor);
    return RunWith(UseLowDescriptors, settings, process, ledger);
}

int RunForkHandlers(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    WriterSettings own = settings;
    own.mpAfterRecord = Fork;
    gTrace.emplace();
    Writer writer(own, process, ledger);
    gpWriter = &writer;
    pthread_atfork(LogOnTheThread, LogOnTheThread, LogInTheChild);
    writer.LogInThreads(kAll);
    return 0;
}

int RunExec(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    signal(SIGCHLD, SIG_IGN);
    return RunWith(StartProgram, settings, process, ledger);
}

int RunShortThreads(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    Writer writer(settings, process, ledger);
    gpWriter = &writer;
    pthread_key_t key;
    pthread_key_create(&key, [](void* late) { delete static_cast<Late*>(late); });
    InThreads(settings,
        [&](unsigned int thread)
        {
            while (!ledger.mStops)
                std::thread(
                    [&]
                    {
                        pthread_setspecific(key, new Late{thread});
                        thread_local Late const late{thread};
                        writer.LogMany(thread, 3);
                    })
                    .join();
        });
    return 0;
}

int RunRestarts(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    InThreads(settings,
        [&](unsigned int thread)
        {
            while (!ledger.mStops)
                Writer(settings, process, ledger).LogMany(thread, 3);
        });
    return 0;
}

int RunExit(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    static Ledger& gLedger = ledger;
    static unsigned int gProcess = process;
    std::atexit([] { NoteReported(gProcess, gLedger); });
    // With it the dispatcher and the log outlive the module.
    static QzBase::CountedPtr<QzLog::Router> gpOutlives;
    std::atexit([] { QzLog::LogString(*gpOutlives, "after the module", nullptr, nullptr, nullptr, 0); });
    static Writer gWriter(settings, process, ledger);
    gpWriter = &gWriter;
    gpOutlives = QzBase::CountedPtr<QzLog::Router>(&gWriter.GetRouter());
    std::atexit([] { gpWriter->Log(0); });
    static Late const gLate{0};
    gWriter.LogInThreads(10);
    std::exit(0);
}
