// What scripts/instructions.sh has callgrind count: the instructions of CountedCalls, which makes kCalls calls of the
// kind that is named on the command line. The calls before are not counted.

#include "CallPath.h"

#include <QzLog/QzLog.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

// With C names, which the command line of callgrind gets. Never inlined, so that callgrind sees their beginning and
// end.
#define QZLOG_COUNTED extern "C" [[gnu::noinline]] void

namespace
{
    constexpr int kCalls = 1000;
    constexpr int kCallsBefore = 100;

    /// What the calls go through.
    struct Subjects
    {
        explicit Subjects(char const* folder)
            : mpFile(QzLog::GetDestination_DiskFile(
                  QzBase::UTF8ToWideChar((std::string(folder) + "/counted.log").c_str(), false).c_str()))
        {
            using namespace QzBase::Literals;
            QzLog::SetServerInstanceName(u"Engine"_w);
            QzBase::CountedPtr<QzLog::Destination> const destination(mpFile.get());
            mpToFile->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({destination.get()}));
        }

        QzLog::Initializer mModule;
        QzBase::CountedPtr<QzLog::Router> mpDisabled{QzLog::CreateRouter("Kernel", "Off")};
        QzBase::CountedPtr<QzLog::Router> mpDropping{CallPath::MakeDroppingRouter("Kernel", "Info")};
        CallPath::MixedMessages mMixed;
        QzBase::CountedPtr<QzLog::Destination_DiskFile> mpFile;
        QzBase::CountedPtr<QzLog::Router> mpToFile{QzLog::CreateRouter("Kernel", "File")};
    };

    void LogTo(QzLog::Router& router, int calls)
    {
        for (int i = 0; i < calls; ++i)
            QzLog::LogString(router, CallPath::kText, nullptr, "src/kernel/Scheduler.cpp", "Dispatch", 118);
    }

    void LogValues(Subjects& subjects, int calls)
    {
        for (int i = 0; i < calls; ++i)
            QzLog::Log(*subjects.mpDropping, "Report %1 of user %2 finished after %3 ms", 4711, "alice", 128);
    }

    void EnterAndLeave(Subjects& subjects, int calls)
    {
        for (int i = 0; i < calls; ++i)
            QzLog::ScopeGuard const guard(*subjects.mpDropping, "Writer::Flush", "src/reports/Writer.cpp", 42);
    }

    void LogMixed(Subjects& subjects, int calls)
    {
        for (int i = 0; i < calls; ++i)
            subjects.mMixed.Log(static_cast<std::size_t>(i));
    }

    struct Kind
    {
        char const* mpName;
        void (*mpMakeCalls)(Subjects& subjects, int calls);
    };

    constexpr Kind kKinds[] = {
        {"disabled_call", [](Subjects& subjects, int calls) { LogTo(*subjects.mpDisabled, calls); }},
        {"dropped_call", [](Subjects& subjects, int calls) { LogTo(*subjects.mpDropping, calls); }},
        {"dropped_call_with_three_values", LogValues}, {"dropped_mixed_call", LogMixed},
        {"dropped_scope_guard", EnterAndLeave},
        {"file_record", [](Subjects& subjects, int calls) { LogTo(*subjects.mpToFile, calls); }}};
}

// With a C name, for the command line of callgrind, and never inlined, so that callgrind sees its beginning and its
// end.
extern "C" [[gnu::noinline]] void CountedCalls(Kind const& kind, Subjects& subjects)
{
    kind.mpMakeCalls(subjects, kCalls);
}

int main(int argc, char** argv)
{
    Kind const* const kind = argc == 3 ? std::find_if(std::begin(kKinds), std::end(kKinds),
                                             [&](Kind const& each) { return std::strcmp(each.mpName, argv[1]) == 0; })
                                       : std::end(kKinds);
    if (kind == std::end(kKinds))
    {
        // The script takes the kinds from here.
        for (Kind const& each : kKinds)
            std::puts(each.mpName);
        return argc == 1 ? 0 : 2;
    }
    Subjects subjects(argv[2]);
    kind->mpMakeCalls(subjects, kCallsBefore);
    CountedCalls(*kind, subjects);
    return 0;
}
