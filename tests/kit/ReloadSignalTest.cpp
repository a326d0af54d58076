#include "filesystem/TemporaryFolder.h"

#include <QzLog/Module.h>
#include <QzLogKit/ReloadSignal.h>

#include <gtest/gtest.h>

#include <poll.h>

using QzLogKit::ReloadSignal;

class KitReloadSignal : public QzTest::TemporaryFolder
{
protected:
    KitReloadSignal()
    {
        Put("settings.json", "{}");
        mRouting.Apply("settings.json");
    }

    static bool IsReadable(ReloadSignal const& signal)
    {
        pollfd wait = {signal.GetDescriptor(), POLLIN, 0};
        return poll(&wait, 1, 0) == 1;
    }

    QzLog::Initializer const mModule;
    QzLogKit::Routing mRouting;
};

TEST_F(KitReloadSignal, TheSettingsAreReadAgainOnceWhereTheServerAsks)
{
    // A program under nohup begins with it ignored.
    auto* const before = signal(SIGHUP, SIG_DFL);
    {
        ReloadSignal hangUp(mRouting);
        EXPECT_FALSE(IsReadable(hangUp) || hangUp.ReloadIfAsked());
        Put("settings.json", R"({"server": "new"})");
        errno = 4711;
        raise(SIGHUP);
        raise(SIGHUP);
        EXPECT_EQ(errno, 4711);
        EXPECT_EQ(QzLog::GetServerInstanceName().size(), 0u) << "nothing happens in the handler";
        EXPECT_TRUE(IsReadable(hangUp) && hangUp.ReloadIfAsked());
        EXPECT_EQ(QzTest::Narrow(QzLog::GetServerInstanceName()), "new");
        EXPECT_FALSE(IsReadable(hangUp) || hangUp.ReloadIfAsked());

        Put("settings.json", "{");
        raise(SIGHUP);
        EXPECT_THROW(hangUp.ReloadIfAsked(), QzLogKit::SettingsError);
        EXPECT_FALSE(IsReadable(hangUp) || hangUp.ReloadIfAsked());

        // A child shares the descriptor, and must not make the parent reload.
        ExpectInChild([&] { return raise(SIGHUP) == 0 && !IsReadable(hangUp) && !hangUp.ReloadIfAsked(); });
        EXPECT_FALSE(IsReadable(hangUp));
    }
    EXPECT_EQ(signal(SIGHUP, before), SIG_DFL);
}

TEST_F(KitReloadSignal, AHandlerOfTheProgramStays)
{
    auto* const own = +[](int) {};
    signal(SIGUSR1, own);
    EXPECT_THROW(ReloadSignal(mRouting, SIGUSR1), QzBase::Message);
    EXPECT_THROW(ReloadSignal(mRouting, 1000), QzBase::Message);
    EXPECT_EQ(signal(SIGUSR1, SIG_IGN), own);
    {
        ReloadSignal const taken(mRouting, SIGUSR1);
        EXPECT_THROW(ReloadSignal(mRouting, SIGUSR2), QzBase::Message);
        EXPECT_NE(signal(SIGUSR1, own), SIG_IGN);
    }
    EXPECT_EQ(signal(SIGUSR1, SIG_IGN), own) << "installed by the program while the object lived";
    {
        ReloadSignal const taken(mRouting, SIGUSR1);
    }
    EXPECT_EQ(signal(SIGUSR1, SIG_DFL), SIG_IGN);
}
