#include "support/synch/ForkSafeLocks.h"
#include "trace/Buckets.h"
#include "trace/Mean.h"
#include "trace/TraceFile.h"

#include <QzLog/MsgLogTrace.h>
#include <QzLog/ServerCommands.h>

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <memory>

namespace QzLog
{
    namespace
    {
        constexpr std::size_t kNameWidth = 50;

        // Never destroyed: a static object of a user may still use the trace, or end the module, when the
        // static objects of this library are gone.
        union LockOfMaking
        {
            constexpr LockOfMaking() noexcept : mpLock() {}
            ~LockOfMaking() {}
            QzSynch::CriticalSectionPtr mpLock;
        };

        constinit LockOfMaking gLockOfMaking;

        std::int64_t GetCount(MsgTraceItem const& item)
        {
            return std::int64_t{item.firstCount} + item.secondCount + item.thirdCount;
        }

        int* GetCounter(MsgTraceItem& item, MsgOpType operation)
        {
            switch (operation)
            {
            case MsgOpFirst:
                return &item.firstCount;
            case MsgOpSecond:
                return &item.secondCount;
            case MsgOpThird:
                return &item.thirdCount;
            }
            return nullptr;
        }

        long TakeReport(MsgTraceItem& item, int value, MsgOpType operation)
        {
            item.average = MergeMeans(item.average, GetCount(item), value, 1);
            int* const counter = GetCounter(item, operation);
            if (!counter)
                return 1;
            AddToCounter(*counter, 1);
            return 0;
        }

        void MergeItem(MsgTraceItem& sum, MsgTraceItem const& item)
        {
            sum.average = MergeMeans(sum.average, GetCount(sum), item.average, GetCount(item));
            AddToCounter(sum.firstCount, item.firstCount);
            AddToCounter(sum.secondCount, item.secondCount);
            AddToCounter(sum.thirdCount, item.thirdCount);
        }

        void AppendName(std::string& line, QzBase::WideString const& name)
        {
            QzBase::ReturnString const narrow = QzBase::WideCharToASCII(name.c_str(), false);
            line.append(narrow.c_str(), narrow.size());
            if (narrow.size() < kNameWidth)
                line.append(kNameWidth - narrow.size(), ' ');
            line += '\t';
        }

        void AppendItem(std::string& line, int commandID, MsgTraceItem const& item)
        {
            AppendNumber(line, commandID);
            line += '(';
            AppendNumber(line, item.firstCount);
            line += '-';
            AppendNumber(line, item.secondCount);
            line += '-';
            AppendNumber(line, item.thirdCount);
            line += ':';
            AppendNumber(line, item.average);
            line += ")\t";
        }
    }

    constinit std::atomic<MsgLogTrace*> MsgLogTrace::gMsgLogTrace = nullptr;
    constinit std::atomic<bool> MsgLogTrace::mEnableMsgTrace = false;
    constinit QzSynch::CriticalSectionPtr& MsgLogTrace::mpCS = gLockOfMaking.mpLock;
    constinit int MsgLogTrace::mNextDstIndex = 0;

    void MsgLogTrace::Init()
    {
        mpCS.reset(QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryStatic));
    }

    void MsgLogTrace::Destroy()
    {
        mpCS.reset();
    }

    MsgLogTrace* MsgLogTrace::getInstance()
    {
        if (MsgLogTrace* const present = gMsgLogTrace.load(std::memory_order_acquire))
            return present;
        if (!mpCS)
        {
            throw QzBase::ExceptionImpl<QzBase::Message>(QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1,
                "The logging module is not running: no QzLog::Initializer is alive."));
        }
        // Before the lock is taken, under which no other may begin to be held around forks.
        std::unique_ptr<MsgLogTrace> made(new MsgLogTrace);
        QzSynch::CriticalSection::SmartLock const hold(*mpCS);
        if (MsgLogTrace* const first = gMsgLogTrace.load(std::memory_order_relaxed))
            return first;
        gMsgLogTrace.store(made.get(), std::memory_order_release);
        return made.release();
    }

    MsgLogTrace::MsgLogTrace() = default;

    MsgLogTrace::~MsgLogTrace()
    {
        // If another thread's was faster in getInstance, this is not the object of the process.
        MsgLogTrace* self = this;
        gMsgLogTrace.compare_exchange_strong(self, nullptr, std::memory_order_release, std::memory_order_relaxed);
    }

    long MsgLogTrace::AddToLogTrace(
        unsigned long bucketKey, int commandID, QzBase::WideString& destination, int value, MsgOpType operation)
    {
        {
            // Held from the look-ups to the end of the update, so that no collect falls between them.
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            auto const bucket = mCurrent.find(bucketKey);
            auto const index = mDstIndexes.find(destination);
            if (bucket != mCurrent.end() && index != mDstIndexes.end())
                return TakeReport(bucket->second[{index->second, commandID}], value, operation);
        }
        // The lock is not taken twice by one thread, so the update is made under the one that inserts.
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        Figures& bucket = GetCurItem(bucketKey);
        return TakeReport(bucket[{GetDstIndex(destination), commandID}], value, operation);
    }

    MsgLogTrace::Figures& MsgLogTrace::GetCurItem(unsigned long bucketKey)
    {
        return mCurrent[bucketKey];
    }

    int MsgLogTrace::GetDstIndex(QzBase::WideString& name)
    {
        auto const [entry, isNew] = mDstIndexes.try_emplace(name, mNextDstIndex);
        // Unsigned, so that the smallest index follows the largest.
        if (isNew)
            mNextDstIndex = static_cast<int>(static_cast<unsigned int>(mNextDstIndex) + 1U);
        return entry->second;
    }

    void MsgLogTrace::CollectLogTrace()
    {
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        Figures sum;
        AddBuckets(sum, mCurrent, MergeItem);
        mHistory.push_back(std::move(sum));
        mCurrent.clear();
    }

    long MsgLogTrace::PrintAllLogTrace()
    {
        long const result = PrintToFile(mFileName,
            [this](TraceFile& file)
            {
                std::string line(mStartTime.ToString().c_str());
                file.Write(line += '\n');
                int number = 0;
                for (Figures const& period : mHistory)
                {
                    ++number;
                    for (auto const& [name, index] : mDstIndexes)
                    {
                        line.clear();
                        AppendNumber(line, number);
                        line += '\t';
                        AppendName(line, name);
                        auto const end = period.upper_bound({index, kLastServerCommand});
                        for (auto entry = period.lower_bound({index, 0}); entry != end; ++entry)
                            AppendItem(line, entry->first.second, entry->second);
                        file.Write(line += '\n');
                    }
                }
            });
        if (result != kTraceFileNotOpened)
        {
            mHistory.clear();
            mDstIndexes.clear();
        }
        return result;
    }

    void MsgLogTrace::Clear()
    {
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        mCurrent.clear();
        mHistory.clear();
        mDstIndexes.clear();
    }
}
