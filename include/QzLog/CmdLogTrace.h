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
        /// Number of values taken in; stays at the largest `int` once it is there.
        int count = 0;
        /// The smallest value. A value above 100000000 never shows.
        std::int64_t minimum = 100000000;
        /// The mean, cut to an integer toward zero at each update, so the error adds up over many values.
        std::int64_t average = 0;
        /// The largest value. A negative value never shows.
        std::int64_t maximum = 0;
    };

    /// Counts server commands: for each period and command ID the number of reports, and minimum, mean and
    /// maximum of a value reported with them. What the value measures is the caller's affair.
    ///
    /// Each thread reports into a bucket of its own, so that reports do not wait for each other. AddToLogTrace
    /// and GetCurItem may be called from any thread at any time, CollectLogTrace and the printing of closed
    /// periods included, as long as no two threads use the same bucket key at once. PrintAllLogTrace takes
    /// no lock and must not run alongside itself, CollectLogTrace or Clear; Clear takes none either and must
    /// not run alongside any other operation.
    ///
    /// Sums are kept in a wider type while a mean is worked out, so no value overflows it. If there is
    /// nothing to divide by, as for an item of count 0 that a caller has put in, the mean stays as it is.
    ///
    /// A failed allocation leaves as std::bad_alloc and changes no figure.
    class QZLOG_API CmdLogTrace : public LogTrace
    {
    public:
        /// The figures by command ID.
        using Figures = std::map<int, CmdTraceItem>;

        CmdLogTrace();
        ~CmdLogTrace() override;

        /// Takes one value into the open period. With the bucket and the item in place this costs a shared
        /// lock and two look-ups.
        /// \param bucketKey  selects the bucket; the calling thread's ID fits.
        /// \param commandID  a row of the server command table; other numbers are held and printed alike.
        void AddToLogTrace(unsigned long bucketKey, int commandID, std::int64_t value);

        /// The bucket of that key in the open period, created if absent. The caller is the bucket's one
        /// writer from here on, and must not use the reference while CollectLogTrace runs.
        /// \return  valid until the second CollectLogTrace after this call, or until Clear. What is put in
        ///          after the first one belongs to the period that the second closes, beside the new bucket of that
        ///          key.
        Figures& GetCurItem(unsigned long bucketKey);

        /// Closes the open period: waits for the updates under way, sums the buckets up into one map of
        /// figures and removes them. A period without a value counts too. Minimum and maximum are taken
        /// over the buckets, counts are added, means are weighted by the counts.
        void CollectLogTrace() override;

        /// Writes one line for each closed period, the oldest first: the reports of cluster commands, all
        /// reports and the share of the former, "4/10(40.00%)" and two tabs; then for each command in ID
        /// order "id:count(minimum/average/maximum)" and a tab; then a line feed. No locale changes that.
        /// The share is 0.00 when no reports were counted.
        /// \return as in the base. The closed periods are forgotten after 0 and kept after a failure; the
        ///         open period does not change.
        long PrintAllLogTrace() override;

        /// Forgets the open period with all its buckets, and the closed ones.
        void Clear() override;

    private:
        using Buckets = std::map<unsigned long, Figures>;

        Buckets mCurrent;

        // The emptied buckets of the period before: a reference that a caller kept still leads into them.
        Buckets mLate;

        std::vector<Figures> mHistory;
    };
}
