#include <QzLogKit/DestinationList.h>

#include <QzSynch/ReferenceCountedImpl.h>

namespace QzLogKit
{
    namespace
    {
        class DestinationList final : public QzSynch::Counted<QzLog::DestinationCollection>
        {
        public:
            explicit DestinationList(std::span<QzLog::Destination* const> destinations)
                : mDestinations(destinations.begin(), destinations.end())
            {
            }

            unsigned int GetCount() override { return static_cast<unsigned int>(mDestinations.size()); }
            QzLog::Destination* GetDestination(unsigned int index) override { return mDestinations[index].get(); }

        private:
            std::vector<QzBase::CountedPtr<QzLog::Destination>> const mDestinations;
        };
    }

    QzBase::ReturnPtrI<QzLog::DestinationCollection> CreateDestinationList(
        std::span<QzLog::Destination* const> destinations)
    {
        return QzBase::ReturnPtrI<QzLog::DestinationCollection>(new DestinationList(destinations));
    }
}
