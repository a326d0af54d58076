#include <QzLog/LossObserver.h>

#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <string>

namespace QzLog
{
    namespace
    {
        constexpr unsigned int kErrorSeverity = 2;

        class SystemLogLossObserver final : public QzSynch::Counted<LossObserver>
        {
        public:
            void OnLossesBegan(LossRun const& run) override
            {
                std::string text("Messages are being lost, log file '");
                text.append(QzBase::WideCharToUTF8(run.mpPath, true).c_str()).append("': ").append(run.mpReason);
                if (ModulePin const module; module)
                    module->GetDestination_SystemLog()->ReportEvent(text.c_str(), kErrorSeverity, 0);
            }

            void OnLossesReported(LossRun const&) override {}
        };
    }

    QzBase::ReturnPtrI<LossObserver> CreateSystemLogLossObserver()
    {
        return QzBase::ReturnPtrI<LossObserver>(new SystemLogLossObserver);
    }
}
