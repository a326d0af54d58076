#include <QzLogKit/LogCapture.h>

#include <QzLogKit/LoggerHandle.h>

#include <QzLog/Dispatcher.h>
#include <QzSynch/ReferenceCountedImpl.h>

namespace QzLogKit
{
    namespace
    {
        /// Gives every dispatcher the same list.
        class SameListHook final : public QzSynch::Counted<QzLog::ConfigurationHook>
        {
        public:
            explicit SameListHook(QzBase::CountedPtr<QzLog::DestinationCollection> const& list) : mpList(list) {}

            void ConfigureLogger(QzLog::Logger*) override {}

            void ConfigureDispatcher(QzBase::CountedPtr<QzLog::Dispatcher>& dispatcher, QzLog::Logger*) override
            {
                dispatcher->SetDestinations(mpList);
            }

        private:
            QzBase::CountedPtr<QzLog::DestinationCollection> const mpList;
        };

        void GiveToAll(QzBase::CountedPtr<QzLog::DestinationCollection> const& list)
        {
            QzBase::CountedPtr<QzLog::ConfigurationHook> const hook(new SameListHook(list));
            QzLog::SetConfigurationHook(hook.get());
            QzLog::RefreshConfiguration();
        }
    }

    LogCapture::LogCapture() : mpCapture(CreateDestination_Capture()), mpPreviousHook(QzLog::GetConfigurationHook())
    {
        GiveToAll(QzLog::CreateDestinationCollection({mpCapture.get()}));
    }

    LogCapture::~LogCapture()
    {
        try
        {
            GiveToAll(nullptr);
            QzLog::SetConfigurationHook(mpPreviousHook.get());
            QzLog::RefreshConfiguration();
            RouterHandle::ReleaseAll();
        }
        catch (...)
        {
            // The previous hook's own, or no memory: a test cannot be told from here.
        }
    }
}
