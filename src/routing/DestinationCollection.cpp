#include <QzLog/Dispatcher.h>

#include <QzLog/Destination.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <vector>

namespace QzLog
{
    namespace
    {
        class DestinationCollection_Impl final : public QzSynch::Counted<DestinationCollection>
        {
        public:
            explicit DestinationCollection_Impl(std::initializer_list<Destination*> destinations)
                : mDestinations(destinations.begin(), destinations.end())
            {
            }

            unsigned int GetCount() override { return static_cast<unsigned int>(mDestinations.size()); }
            Destination* GetDestination(unsigned int index) override { return mDestinations[index].get(); }

        private:
            std::vector<QzBase::CountedPtr<Destination>> const mDestinations;
        };
    }

    QzBase::ReturnPtrI<DestinationCollection> CreateDestinationCollection(
        std::initializer_list<Destination*> destinations)
    {
        return QzBase::ReturnPtrI<DestinationCollection>(new DestinationCollection_Impl(destinations));
    }
}
