#include "reading/Merger.h"

#include <algorithm>
#include <tuple>

namespace QzLogTool
{
    Merger::Merger(std::vector<std::unique_ptr<RecordSource>> sources) : mSources(std::move(sources)) {}

    bool Merger::Next(Record& record)
    {
        if (!mHasBegun)
            for (std::size_t source = 0; source < mSources.size(); ++source)
                Await(source);
        mHasBegun = true;
        if (mHasCurrent)
            Await(mCurrent);
        mHasCurrent = !mWaiting.empty();
        if (!mHasCurrent)
            return false;
        std::pop_heap(mWaiting.begin(), mWaiting.end(), IsLater);
        record = mWaiting.back().mRecord;
        mCurrent = mWaiting.back().mSource;
        mWaiting.pop_back();
        return true;
    }

    bool Merger::NextPart(std::string_view& text)
    {
        return mHasCurrent && mSources[mCurrent]->NextPart(text);
    }

    void Merger::Await(std::size_t source)
    {
        Waiting waiting{{}, source};
        if (!mSources[source]->Next(waiting.mRecord))
            return;
        mWaiting.push_back(waiting);
        std::push_heap(mWaiting.begin(), mWaiting.end(), IsLater);
    }

    bool Merger::IsLater(Waiting const& a, Waiting const& b)
    {
        return std::tie(a.mRecord.mTime, a.mSource) > std::tie(b.mRecord.mTime, b.mSource);
    }
}
