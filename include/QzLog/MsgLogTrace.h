#pragma once

#include <QzLog/LogTrace.h>

#include <atomic>
#include <map>
#include <utility>
#include <vector>

namespace QzLog
{
    /// Which of an item's three counters a report counts in. The meaning is the callers'.
    enum MsgOpType : int
    {
        MsgOpFirst = 0,
        MsgOpSecond = 1,
        MsgOpThird = 2
    };

    /// The figures of one destination and command. A value. The counters stay at the largest `int` once
    /// they are there.
    struct QZLOG_API MsgTraceItem
    {
        int firstCount = 0;
        int secondCount = 0;
        int thirdCount = 0;
        /// Mean of the reported values, cut to an integer toward zero at each update.
        int average = 0;
    };

    /// Counts messages per destination name and command ID. One object in the process, made by the first
    /// getInstance; reporting is switched off until SetMsgLogTrace switches it on.
    ///
    /// The static operations, AddToLogTrace, CollectLogTrace and Clear may be called from any thread at any
    /// time, as long as no two threads report with the same bucket key at once. PrintAllLogTrace takes no
    /// lock and must not run alongside itself or any of these that use the object. Init and Destroy must not
    /// run alongside each other and the making of the object, the destructor not alongside anything.
    ///
    /// Sums are kept in a wider type while a mean is worked out, so no value overflows it. If there is
    /// nothing to divide by, as for an item that only reports of an unknown MsgOpType reached, the mean
    /// stays as it is.
    ///
    /// A failed allocation leaves as std::bad_alloc and changes no figure.
    class QZLOG_API MsgLogTrace : public LogTrace
    {
    public:
        /// Called when the module starts: makes the lock that guards the making of the object.
        static void Init();

        /// Called when the module ends: deletes that lock. The object stays, with its figures.
        static void Destroy();

        /// The one object, made on first call. It lives until somebody deletes it; the next call then makes
        /// another one. Throws QzBase::Message when there is none and no QzLog::Initializer is alive.
        static MsgLogTrace* getInstance();

        /// Switches reporting by SendToLogTrace on or off. A report on another thread at the same time may
        /// or may not count.
        static void SetMsgLogTrace(bool enable) { mEnableMsgTrace.store(enable, std::memory_order_relaxed); }

        static bool IsMsgLogTraceEnabled() { return mEnableMsgTrace.load(std::memory_order_relaxed); }

        /// Reports to the one object if reporting is switched on; one test of a flag if it is not. Throws what
        /// getInstance throws.
        /// \return 1 when reporting is switched off (nothing is recorded), else as AddToLogTrace.
        static long SendToLogTrace(
            unsigned long bucketKey, int commandID, QzBase::WideString& destination, int value, MsgOpType operation)
        {
            if (!IsMsgLogTraceEnabled())
                return 1;
            return getInstance()->AddToLogTrace(bucketKey, commandID, destination, value, operation);
        }

        /// Counts one message in the open period, whatever the switch says. With bucket, destination and
        /// item in place this costs a shared lock and three look-ups.
        /// \param bucketKey    selects the bucket; the calling thread's ID fits.
        /// \param commandID    a row of the server command table; others are counted, but never printed.
        /// \param destination  its name, UTF-16; compared code unit by code unit, and not changed.
        /// \param value        what its mean is worked out of; the unit is the callers' affair.
        /// \return 0; 1 for an operation outside the three, which moves the mean but no counter.
        long AddToLogTrace(
            unsigned long bucketKey, int commandID, QzBase::WideString& destination, int value, MsgOpType operation);

        /// Closes the open period: waits for the updates under way, sums the buckets up into one map of
        /// figures and removes them. A period without a report counts too.
        void CollectLogTrace() override;

        /// Writes the start time as a line of its own, then for each closed period, the oldest first and
        /// numbered from 1, one line for each destination in the order of names: number, tab, the name in
        /// ASCII padded with blanks to 50 characters, tab; then for each command of the table in ID order
        /// "id(first-second-third:average)" and a tab; then a line feed.
        /// \return as in the base. The closed periods and the destination names are forgotten after 0 and
        ///         after kTraceNotWritten; nothing changes after kTraceFileNotOpened. What the open period
        ///         holds for these names is not printed later: a name that comes back counts as a new one.
        long PrintAllLogTrace() override;

        /// Forgets the open period, the closed ones and the destination names.
        void Clear() override;

        ~MsgLogTrace() override;

    private:
        /// By index of the destination and command ID.
        using Figures = std::map<std::pair<int, int>, MsgTraceItem>;
        using DestinationIndexes = std::map<QzBase::WideString, int>;

        MsgLogTrace();

        // Both want mpLock held exclusively.
        Figures& GetCurItem(unsigned long bucketKey);
        int GetDstIndex(QzBase::WideString& name);

        static std::atomic<MsgLogTrace*> gMsgLogTrace;
        static std::atomic<bool> mEnableMsgTrace;
        static QzSynch::CriticalSectionPtr& mpCS;
        static int mNextDstIndex;

        std::map<unsigned long, Figures> mCurrent;
        std::vector<Figures> mHistory;
        DestinationIndexes mDstIndexes;
    };
}
