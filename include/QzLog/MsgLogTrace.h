#pragma once

#include <QzLog/LogTrace.h>

#include <atomic>
#include <map>
#include <utility>
#include <vector>

namespace QzLog
{
    /// Which of an item's three counters a report increments. Their meaning is up to the callers.
    enum MsgOpType : int
    {
        MsgOpFirst = 0,
        MsgOpSecond = 1,
        MsgOpThird = 2
    };

    /// The figures of one destination and command. A value. A counter that has reached the largest `int`
    /// stays there.
    struct QZLOG_API MsgTraceItem
    {
        int firstCount = 0;
        int secondCount = 0;
        int thirdCount = 0;
        /// Mean of the reported values, truncated toward zero at each update.
        int average = 0;
    };

    /// Counts messages per destination name and command ID. The process has one object, which the first call of
    /// getInstance creates. Reporting is off until SetMsgLogTrace switches it on.
    ///
    /// Threads:
    /// - The static operations, AddToLogTrace, CollectLogTrace and Clear may be called from any thread at any
    ///   time, as long as no two threads report with the same bucket key at the same time.
    /// - PrintAllLogTrace takes no lock: not at the same time as itself or as any of the above that use the object.
    /// - Init and Destroy must not run at the same time as each other, or while the object is created.
    /// - The destructor must not run at the same time as any operation.
    ///
    /// Means are computed in a wider type, so no value overflows. When buckets are merged, an item without counts
    /// (which only reports of an unknown MsgOpType have reached) does not change the mean. Operations throw
    /// std::bad_alloc, and then change no figure.
    class QZLOG_API MsgLogTrace : public LogTrace
    {
    public:
        /// Called when the module starts: creates the lock under which the object is created.
        static void Init();

        /// Called when the module ends: deletes that lock. The object and its figures stay.
        static void Destroy();

        /// The one object, created by the first call. It lives until somebody deletes it; the next call then
        /// creates another. Throws QzBase::Message if there is no object and no QzLog::Initializer is alive.
        static MsgLogTrace* getInstance();

        /// Switches reporting by SendToLogTrace on or off. A report that another thread makes at the same time
        /// may or may not count.
        static void SetMsgLogTrace(bool enable) { mEnableMsgTrace.store(enable, std::memory_order_relaxed); }

        static bool IsMsgLogTraceEnabled() { return mEnableMsgTrace.load(std::memory_order_relaxed); }

        /// Reports to the one object if reporting is on; tests one flag if it is off. Throws what getInstance
        /// throws.
        /// \return 1 if reporting is off (nothing is recorded), otherwise as AddToLogTrace.
        static long SendToLogTrace(
            unsigned long bucketKey, int commandID, QzBase::WideString& destination, int value, MsgOpType operation)
        {
            if (!IsMsgLogTraceEnabled())
                return 1;
            return getInstance()->AddToLogTrace(bucketKey, commandID, destination, value, operation);
        }

        /// Counts one message in the open period, also while reporting is off. If bucket, destination and item
        /// exist, this costs a shared lock and three look-ups.
        /// \param bucketKey    selects the bucket, for example the calling thread's ID.
        /// \param commandID    a row of the server command table. Other IDs are counted, but never printed.
        /// \param destination  its name, UTF-16; compared code unit by code unit, and not changed.
        /// \param value        goes into the mean; its unit is up to the callers.
        /// \return 0; 1 for an operation other than the three, which changes the mean but no counter.
        long AddToLogTrace(
            unsigned long bucketKey, int commandID, QzBase::WideString& destination, int value, MsgOpType operation);

        /// Closes the open period: waits for updates in progress, adds the buckets up into one map of figures
        /// and removes them. A period without a report counts too.
        void CollectLogTrace() override;

        /// Writes the start time as a line of its own, then for each closed period, the oldest first and
        /// numbered from 1, one line for each destination in the order of names: number, tab, the name in
        /// ASCII padded with blanks to 50 characters, tab; then for each command of the table in ID order
        /// "id(first-second-third:average)" and a tab; then a line feed.
        /// \return as in the base. After 0 and kTraceNotWritten, the closed periods and the destination names are
        ///         removed; after kTraceFileNotOpened nothing changes. Figures that the open period already has for
        ///         the removed names are never printed: a name that is reported again counts as a new one.
        long PrintAllLogTrace() override;

        /// Removes the open period, the closed ones and the destination names.
        void Clear() override;

        ~MsgLogTrace() override;

    private:
        /// By index of the destination and command ID.
        using Figures = std::map<std::pair<int, int>, MsgTraceItem>;
        using DestinationIndexes = std::map<QzBase::WideString, int>;

        MsgLogTrace();

        // The caller of both holds mpLock exclusively.
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
