#include "trace/Buckets.h"
#include "trace/Mean.h"
#include "trace/TraceFile.h"

#include <QzLog/CmdLogTrace.h>
#include <QzLog/ServerCommands.h>

#include <algorithm>
#include <charconv>

namespace QzLog
{
    namespace
    {
        using Figures = CmdLogTrace::Figures;

        void Merge(CmdTraceItem& sum, CmdTraceItem const& item)
        {
            sum.id = item.id;
            sum.minimum = std::min(sum.minimum, item.minimum);
            sum.maximum = std::max(sum.maximum, item.maximum);
            sum.average = MergeMeans(sum.average, sum.count, item.average, item.count);
            AddToCounter(sum.count, item.count);
        }

        void TakeValue(Figures& bucket, int commandID, std::int64_t value)
        {
            Merge(
                bucket[commandID], {.id = commandID, .count = 1, .minimum = value, .average = value, .maximum = value});
        }

        // Two digits after the decimal point. Not printf, which uses the locale's decimal separator.
        void AppendShare(std::string& line, std::int64_t cluster, std::int64_t total)
        {
            double const share =
                cluster > 0 && total != 0 ? static_cast<double>(cluster) * 100.0 / static_cast<double>(total) : 0.0;
            char digits[64];
            auto const end = std::to_chars(digits, digits + sizeof(digits), share, std::chars_format::fixed, 2).ptr;
            line.append(digits, end);
        }

        void AppendHead(std::string& line, Figures const& period)
        {
            std::int64_t cluster = 0;
            std::int64_t total = 0;
            for (auto const& [id, item] : period)
            {
                total += item.count;
                if (id >= kFirstClusterCommand && id <= kLastClusterCommand)
                    cluster += item.count;
            }
            AppendNumber(line, cluster);
            line += '/';
            AppendNumber(line, total);
            line += '(';
            AppendShare(line, cluster, total);
            line += "%)\t\t";
        }

        void AppendItem(std::string& line, CmdTraceItem const& item)
        {
            AppendNumber(line, item.id);
            line += ':';
            AppendNumber(line, item.count);
            line += '(';
            AppendNumber(line, item.minimum);
            line += '/';
            AppendNumber(line, item.average);
            line += '/';
            AppendNumber(line, item.maximum);
            line += ")\t";
        }
    }

    CmdLogTrace::CmdLogTrace() = default;

    CmdLogTrace::~CmdLogTrace() = default;

    void CmdLogTrace::AddToLogTrace(unsigned long bucketKey, int commandID, std::int64_t value)
    {
        {
            // Held from the look-up to the end of the update, so that no collect falls between the two.
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            auto const bucket = mCurrent.find(bucketKey);
            if (bucket != mCurrent.end())
            {
                TakeValue(bucket->second, commandID, value);
                return;
            }
        }
        // The lock is not taken twice by one thread, so the update is made under the one that inserts.
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        TakeValue(mCurrent[bucketKey], commandID, value);
    }

    CmdLogTrace::Figures& CmdLogTrace::GetCurItem(unsigned long bucketKey)
    {
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            auto const bucket = mCurrent.find(bucketKey);
            if (bucket != mCurrent.end())
                return bucket->second;
        }
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        return mCurrent[bucketKey];
    }

    void CmdLogTrace::CollectLogTrace()
    {
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        Figures sum;
        AddBuckets(sum, mLate, Merge);
        AddBuckets(sum, mCurrent, Merge);
        mHistory.push_back(std::move(sum));

        // Nothing fails from here on. The buckets themselves stay for one more period.
        for (auto& [bucketKey, figures] : mCurrent)
            figures.clear();
        mLate.swap(mCurrent);
        mCurrent.clear();
    }

    long CmdLogTrace::PrintAllLogTrace()
    {
        long const result = PrintToFile(mFileName,
            [this](TraceFile& file)
            {
                std::string line;
                for (Figures const& period : mHistory)
                {
                    line.clear();
                    AppendHead(line, period);
                    for (auto const& [id, item] : period)
                        AppendItem(line, item);
                    file.Write(line += '\n');
                }
            });
        if (result == 0)
            mHistory.clear();
        return result;
    }

    void CmdLogTrace::Clear()
    {
        mCurrent.clear();
        mLate.clear();
        mHistory.clear();
    }
}
