#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/ConfigurationHook.h>
#include <QzLog/Module.h>
#include <QzLogKit/Destination_Capture.h>
#include <QzLogKit/Export.h>

namespace QzLogKit
{
    /// What a test of code that logs needs: the module, and one Destination_Capture that all routers reach.
    ///
    ///     QzLogKit::LogCapture log;
    ///     AcceptOrder("bob", 101);
    ///     EXPECT_THAT(log.Take(), ElementsAre(AllOf(LoggerIs("Orders"), TextIs(HasSubstr("refused")))));
    ///
    /// Each dispatcher gets the capture in place of its destinations, those that are created later too. At the end they
    /// have no destinations, and the configuration hook from before is installed and called for all of them. If the
    /// module ends with it, handles look up their routers anew (RouterHandle::ReleaseAll). One at a time; no other
    /// thread logs when it is destroyed. The constructor throws what that of QzLog::Initializer throws, and
    /// std::bad_alloc.
    class QZLOGKIT_API LogCapture
    {
    public:
        LogCapture();
        ~LogCapture();
        LogCapture(LogCapture const&) = delete;
        LogCapture& operator=(LogCapture const&) = delete;

        /// As Destination_Capture::Take and GetMessages.
        std::vector<CapturedMessage> Take() { return mpCapture->Take(); }
        std::vector<CapturedMessage> GetMessages() { return mpCapture->GetMessages(); }

    private:
        QzLog::Initializer const mModule;
        QzBase::CountedPtr<Destination_Capture> const mpCapture;
        QzBase::CountedPtr<QzLog::ConfigurationHook> const mpPreviousHook;
    };
}
