#include "following/Follower.h"

#include "following/EndRequest.h"
#include "reading/Merger.h"

#include <utility>

namespace QzLogTool
{
    namespace
    {
        /// A source for one look. It gives no more when the end is asked for, however much there is.
        class Borrowed : public RecordSource
        {
        public:
            Borrowed(RecordSource& source, Growth& growth) : mSource(source), mGrowth(growth) {}

            bool Next(Record& record) override
            {
                mGrowth.Pass();
                return !EndRequest::IsSignalled() && mSource.Next(record);
            }
            bool NextPart(std::string_view& text) override { return mSource.NextPart(text); }

        private:
            RecordSource& mSource;
            Growth& mGrowth;
        };
    }

    Follower::Follower(GrowingSources& sources, Wrap wrap, Report report)
        : mSources(sources), mWrap(std::move(wrap)), mReport(std::move(report))
    {
    }

    std::unique_ptr<RecordSource> Follower::Look()
    {
        for (GrowingSource& source : mSources.FindNew())
            mFollowed.push_back({source.mpGrowth, mWrap(std::move(source.mpRecords))});
        mIsUrgent = false;
        std::vector<std::unique_ptr<RecordSource>> found;
        std::erase_if(mFollowed,
            [&](Followed const& followed)
            {
                try
                {
                    followed.mpGrowth->Look();
                }
                catch (Trouble const& trouble)
                {
                    mReport(trouble);
                    return true;
                }
                mIsUrgent = mIsUrgent || followed.mpGrowth->IsUrgent();
                found.push_back(std::make_unique<Borrowed>(*followed.mpWrapped, *followed.mpGrowth));
                return false;
            });
        return std::make_unique<Merger>(std::move(found));
    }

    std::vector<LogPosition> Follower::GetPositions() const
    {
        std::vector<LogPosition> positions;
        for (Followed const& followed : mFollowed)
            if (std::optional<LogPosition> position = followed.mpGrowth->GetPosition())
                positions.push_back(std::move(*position));
        return positions;
    }

    void Follower::Wait()
    {
        if (!mIsUrgent)
            mSources.Wait();
    }
}
