#pragma once

#include <QzLog/LogTrace.h>

#include <cstdint>
#include <map>
#include <vector>

namespace QzLog
{
    /// The figures of one command. A value.
    struct QZLOG_API CmdTraceItem
    {
        /// The command ID, written at each update.
        int id = 0;
        /// Number of values; stays at the largest `int` once it has reached it.
        int count = 0;
        /// The smallest value, but at most 100000000.
        std::int64_t minimum = 100000000;
        /// The mean, truncated toward zero at each update, so the error adds up over many values.
        std::int64_t average = 0;
        /// The largest value, but at least 0.
        std::int64_t maximum = 0;
    };

    /// Counts server commands: for each period and command ID the number of reports, and minimum, mean and
    /// maximum of a value reported with them. What the value measures is up to the caller.
    ///
    /// Each thread reports into a bucket of its own, so that reports do not wait for each other. Threads:
    /// - AddToLogTrace and GetCurItem may be called from any thread at any time, also during CollectLogTrace and
    ///   PrintAllLogTrace, as long as no two threads use the same bucket key at the same time.
    /// - PrintAllLogTrace takes no lock. It must not run at the same time as itself, CollectLogTrace or Clear.
    /// - Clear takes no lock. It must not run at the same time as any other operation.
    ///
    /// Means are computed in a wider type, so no value overflows. If there is nothing to divide by, as for an
    /// item of count 0 that a caller has inserted, the mean is unchanged.
    ///
    /// Operations throw std::bad_alloc, and then change no figure.
    class QZLOG_API CmdLogTrace : public LogTrace
    {
    public:
        /// The figures by command ID.
        using Figures = std::map<int, CmdTraceItem>;

        CmdLogTrace();
        ~CmdLogTrace() override;

        /// Adds one value to the open period. If bucket and item exist, this costs a shared lock and two
        /// look-ups.
        /// \param bucketKey  selects the bucket, for example the calling thread's ID.
        /// \param commandID  a row of the server command table; other numbers are counted and printed as well.
        void AddToLogTrace(unsigned long bucketKey, int commandID, std::int64_t value);

        /// The bucket of that key in the open period, created if absent. From then on only the caller may write
        /// to the bucket. It must not use the reference while CollectLogTrace runs.
        /// \return  valid until the second CollectLogTrace after this call, or until Clear. What is inserted
        ///          after the first CollectLogTrace counts in the period that the second one closes, in addition to
        ///          the new bucket of that key.
        Figures& GetCurItem(unsigned long bucketKey);

        /// Closes the open period: waits for updates in progress, merges the buckets into one map of figures
        /// and removes them. A period without a value counts too. Minimum and maximum are taken over the
        /// buckets, counts are added, means are weighted by the counts.
        void CollectLogTrace() override;

        /// Writes one line for each closed period, the oldest first: the number of reports of cluster commands,
        /// that of all reports, and the share of the former, as in "4/10(40.00%)", and two tabs; then for each
        /// command in ID order "id:count(minimum/average/maximum)" and a tab; then a line feed. The locale makes
        /// no difference. The share is 0.00 if no reports were counted.
        /// \return as in the base. The closed periods are removed after 0 and kept after a failure. The open
        ///         period does not change.
        long PrintAllLogTrace() override;

        /// Removes the open period with all its buckets, and the closed periods.
        void Clear() override;

    private:
        using Buckets = std::map<unsigned long, Figures>;

        Buckets mCurrent;

        // The emptied buckets of the previous period, which references that callers have kept still refer to.
        Buckets mLate;

        std::vector<Figures> mHistory;
    };
}
