#include "filesystem/FailureText.h"
#include "filesystem/FileLocks.h"
#include "os/Restore.h"

#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Exception.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

#include <sys/file.h>

using namespace QzBase::Literals;
using namespace QzLog;
using namespace QzTest;

namespace
{
    using DiskFile = QzBase::CountedPtr<Destination_DiskFile>;

    class DiskFileRegistryTest : public TemporaryFolder, Restore
    {
    protected:
        DiskFile Get(std::string const& path) const { return GetDestination_DiskFile(Wide(path).c_str()); }
        void SetBase(std::string const& name) const { SetBasePath(WideIn(name).c_str()); }

        /// The destination's path below the folder, with "/".
        std::string Place(DiskFile const& file) const
        {
            std::string path = Narrow(file->GetFilePath());
            std::replace(path.begin(), path.end(), '\\', '/');
            return path.starts_with(mFolder + '/') ? path.substr(mFolder.size() + 1) : path;
        }

        Initializer const mModule;
    };
}

TEST_F(DiskFileRegistryTest, EveryFormOfAPathIsOneDestination)
{
    // Components of 250 bytes, and 4,000 in all.
    std::string longName = "/x.log";
    for (std::size_t size; (size = mFolder.size() + longName.size()) < 3'999;)
        longName.insert(0, '/' + std::string(std::min<std::size_t>(250, 3'999 - size), 'n'));
    longName.erase(0, 1);
    for (std::string const& name :
        {std::string("d/x.log"), std::string("with blanks/\xC3\xA4\xE2\x82\xAC.log"), longName})
    {
        SetBase("a/..");
        DiskFile const file = Get(name);
        EXPECT_EQ(Place(file), name);
        EXPECT_TRUE(std::filesystem::is_regular_file(In(name)));
        std::string back = In(name);
        std::replace(back.begin(), back.end(), '/', '\\');
        for (std::string const& form :
            {name, "./" + name, "q//../" + name, "q\\..\\" + name, In(name), back, mFolder + "/./q/../" + name})
            EXPECT_EQ(Get(form), file) << form;
        EXPECT_FALSE(Get(name + '2') == file);
    }
    EXPECT_FALSE(Get("d/X.log") == Get("d/x.log"));
}

TEST_F(DiskFileRegistryTest, ANewBasePathMovesWhatIsRelative)
{
    SetBasePath(nullptr);
    SetBase("one");
    DiskFile const relative = Get("sub/r.log");
    DiskFile const full = Get(In("one/f.log"));
    DiskFile const blocked = Get("b/b.log");
    // Both lie at two/same.log below the second base, where the first in the order of its path has the place.
    DiskFile const first = Get(In("two/same.log"));
    DiskFile const second = Get("same.log");
    Put("two/b", ""); // no directory can be made there
    SetBase("two");
    EXPECT_EQ(Place(relative), "two/sub/r.log");
    EXPECT_EQ(Place(full), "one/f.log");
    EXPECT_EQ(Place(blocked), "two/b/b.log");
    EXPECT_EQ(Place(first), "two/same.log");
    EXPECT_EQ(Place(second), "one/same.log");
    EXPECT_EQ(Get("same.log"), first);
    EXPECT_EQ(Get("b/b.log"), blocked);
    EXPECT_TRUE(std::filesystem::exists(In("one/sub/r.log")));
    EXPECT_TRUE(std::filesystem::exists(In("two/sub/r.log")));

    std::filesystem::remove(In("two/sub/r.log"));
    SetBase("two"); // the present one touches no file
    EXPECT_FALSE(std::filesystem::exists(In("two/sub/r.log")));
}

TEST_F(DiskFileRegistryTest, AForkedChildCompletesAMoveThatWaitsForTheLockOnAFile)
{
    SetBase("one");
    DiskFile const first = Get("a.log");
    DiskFile const second = Get("b.log");
    auto const other = QzFileSystem::CreateUpdateableFile(WideIn("one/b.log"), QzFileSystem::KeepOnClose);
    QzFileSystem::FileWriteLock lock(*other);
    static std::atomic<bool> gIsAwaited;
    gIsAwaited = false;
    QzOs::Posix::gKernel.mpFlock = [](int file, int operation)
    {
        gIsAwaited = gIsAwaited || operation == LOCK_EX;
        gIsAwaited.notify_all();
        return flock(file, operation);
    };
    QzBase::CountedPtr<MessageHeader> const header(CreateMessageHeader());
    std::jthread const writing([&] { second->WriteMessage("text", *header); });
    gIsAwaited.wait(false);
    std::jthread const moving([&] { SetBase("two"); });
    while (Place(first) != "two/a.log")
        std::this_thread::yield();
    ExpectInChild([&] { return Place(second) == "two/b.log"; });
    EXPECT_EQ(Place(second), "one/b.log");
    lock.Unlock();
}

TEST_F(DiskFileRegistryTest, TellsOfAPathThatIsNoUse)
{
    static std::string gOutput;
    QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const* text) { gOutput += Narrow(text); };
    std::string const text = "QzLog::ModuleMain_Impl::GetDestination_DiskFile: Failed to create log file ''. No path "
                             "was given.";
    EXPECT_EQ(Catch([] { GetDestination_DiskFile(nullptr); }), "0/-1 " + text + '\n');
    EXPECT_THROW(GetDestination_DiskFile(nullptr), Exception);
    Put("file", "");
    EXPECT_TRUE(Get(In("file/x.log"))); // one that cannot be opened is no failure
    EXPECT_EQ(std::exchange(gOutput, ""), text + "\r\n" + text + "\r\n");
}

TEST_F(DiskFileRegistryTest, ManyThreadsMakeMoveAndWrite)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 40;
    DiskFile files[kThreads][kRounds];
    // Without a base path the first files would be made in the current directory.
    SetBase("start");
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back(
                [&, thread]
                {
                    QzBase::CountedPtr<MessageHeader> const header(CreateMessageHeader());
                    for (int round = 0; round < kRounds; ++round)
                    {
                        if (round % kThreads == thread)
                            SetBase(std::to_string(round));
                        std::string const name = std::to_string(round) + ".log";
                        files[thread][round] = Get((thread % 2 ? "./" : "q/../") + name);
                        files[thread][round]->WriteMessage(name.c_str(), *header);
                    }
                });
    }
    SetBase("end");
    for (int round = 0; round < kRounds; ++round)
    {
        std::string const name = std::to_string(round) + ".log";
        EXPECT_EQ(Place(Get(name)), "end/" + name);
        for (auto const& own : files)
            EXPECT_EQ(own[round], Get(name));
    }
}
