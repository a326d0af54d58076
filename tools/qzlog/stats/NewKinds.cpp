#include "stats/NewKinds.h"

#include "output/Lines.h"
#include "stats/MessageKind.h"
#include "stats/Table.h"
#include "time/Moments.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kMostOld = 500'000;
        constexpr std::size_t kMostNew = 32'768;
        constexpr std::size_t kLongestName = 100;
        constexpr std::size_t kLongestKindLabel = 200;
    }

    void NewKinds::Add(Record const& record, HeaderParser const& parser)
    {
        MakeMessageKind(parser.GetMessage(), mText);
        std::uint64_t const hash = TextHash()(mText);
        if (record.mTime < mSince)
        {
            // The same one often comes several times on end.
            if (mBefore++ != 0 && hash == mLastOld)
                return;
            mLastOld = hash;
            if (mOld.size() < kMostOld)
                mOld.insert(hash);
            else
                mNotKept += mOld.contains(hash) ? 0 : 1;
            return;
        }
        if (mOld.contains(hash))
            return;
        auto found = mNew.find(mText);
        if (found == mNew.end() && mNew.size() == kMostNew)
        {
            ++mOthers;
            return;
        }
        if (found == mNew.end())
            found = mNew.try_emplace(mText,
                            Kind{0, record.mTime, std::string(parser.GetFields().mLogger.substr(0, kLongestName)),
                                std::string(parser.GetFields().mDispatcher.substr(0, kLongestName))})
                        .first;
        ++found->second.mCount;
    }

    /// In the order in which they came first. The time of a log can go back: some turn out to be old only now.
    void NewKinds::Finish()
    {
        for (auto const& kind : mNew)
            if (!mOld.contains(TextHash()(kind.first)))
                mSorted.push_back(&kind);
        std::sort(mSorted.begin(), mSorted.end(),
            [](auto const* a, auto const* b) {
                return a->second.mFirst != b->second.mFirst ? a->second.mFirst < b->second.mFirst : a->first < b->first;
            });
    }

    void NewKinds::Print(Output& output, std::size_t rows) const
    {
        output.Write("\nMessages that came first since " + FormatMoment(ToLocal(mSince)) + ", after " +
                     std::to_string(mBefore) + " records before" + MakeRest(mSorted.size(), rows) + '\n');
        std::vector<std::vector<std::string>> table{{"count", "first", "message"}};
        for (std::size_t i = 0; i < std::min(rows, mSorted.size()); ++i)
        {
            auto const& [text, kind] = *mSorted[i];
            table.push_back({std::to_string(kind.mCount), FormatMoment(ToLocal(kind.mFirst)),
                '[' + MakeLabel(kind.mLogger, kLongestName) + "][" + MakeLabel(kind.mDispatcher, kLongestName) + "] " +
                    MakeLabel(text, kLongestKindLabel)});
        }
        PrintColumns(output, table);
        if (mOthers != 0)
            output.Write(std::to_string(mOthers) + " records of further kinds are not among these\n");
        if (mNotKept != 0)
            output.Write("There are more than " + std::to_string(kMostOld) +
                         " kinds of message before: some of these may have come there\n");
    }

    Json::Value NewKinds::ToJson() const
    {
        Json::Value result(Json::objectValue);
        result["since"] = FormatMoment(ToLocal(mSince));
        result["records_before"] = Json::UInt64{mBefore};
        result["further_records"] = Json::UInt64{mOthers};
        result["is_certain"] = mNotKept == 0;
        result["messages"] = Json::Value(Json::arrayValue);
        for (auto const* const pKind : mSorted)
        {
            Json::Value row(Json::objectValue);
            row["message"] = MakeWellFormed(pKind->first);
            row["count"] = Json::UInt64{pKind->second.mCount};
            row["first"] = FormatMoment(ToLocal(pKind->second.mFirst));
            row["logger"] = MakeWellFormed(pKind->second.mLogger);
            row["dispatcher"] = MakeWellFormed(pKind->second.mDispatcher);
            result["messages"].append(row);
        }
        return result;
    }
}
