#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzLog/Timestamp.h>
#include <QzLogKit/Export.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace QzLogKit
{
    /// A message as a destination got it. Texts are UTF-8.
    struct CapturedMessage
    {
        std::string mText;
        std::string mLogger;
        std::string mDispatcher;
        unsigned int mMessageID = 0;
        std::string mUserID;
        std::string mSessionID;
        std::string mObjectID;
        QzLog::Timestamp mTime;
        std::string mHostName;
        std::string mServerName;
        unsigned int mProcessID = 0;
        unsigned int mThreadID = 0;
        /// As the call gave it, with its directories; empty without a source location.
        std::string mSourceFile;
        std::string mSourceFunction;
        int mSourceLine = 0;
    };

    /// The message as a test's failure shows it: "Kernel/Error 0x80000304 UID:alice Client.cpp:77 "text"".
    QZLOGKIT_API std::ostream& operator<<(std::ostream& stream, CapturedMessage const& message);

    /// A destination that keeps all messages in memory, for tests of code that logs:
    ///
    ///     QzBase::CountedPtr<QzLogKit::Destination_Capture> const capture(QzLogKit::CreateDestination_Capture());
    ///     dispatcher->SetDestinations(QzLog::CreateDestinationCollection({capture.get()}));
    ///     ...
    ///     EXPECT_THAT(capture->Take(), ElementsAre(TextIs("Bob is refused"))); // matchers: QzLogKit/Matchers.h
    ///
    /// Structured messages are kept in the process language; see Destination_Language.h for another. Call stacks are
    /// not kept. All operations may be called from any thread at any time and throw std::bad_alloc.
    class QZLOGKIT_API Destination_Capture : public virtual QzLog::Destination
    {
    public:
        ~Destination_Capture() override;

        /// What has arrived since the last call, in the order of arrival.
        virtual std::vector<CapturedMessage> Take() = 0;

        /// The same without taking it.
        virtual std::vector<CapturedMessage> GetMessages() = 0;
    };

    QZLOGKIT_API QzBase::ReturnPtrI<Destination_Capture> CreateDestination_Capture();
}
