#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <atomic>

namespace QzLogKit
{
    /// The base of destinations that pass messages on to another one: holds a reference to it, and gives it the IDs of
    /// messages with a call stack, which is where the text of a record is made.
    template <class Interface>
    class WrappingDestination : public QzSynch::Counted<Interface>
    {
    public:
        explicit WrappingDestination(QzLog::Destination& target, unsigned short languageID = 0)
            : mpTarget(&target), mLanguageID(languageID)
        {
        }

        void SetCallstackMessageIDs(unsigned int const* ids, unsigned int count) override
        {
            mpTarget->SetCallstackMessageIDs(ids, count);
        }

    protected:
        QzLog::Destination& GetTarget() const { return *mpTarget; }

        unsigned short GetLanguageID() const override { return mLanguageID; }
        void SetLanguageID(unsigned short languageID) override { mLanguageID = languageID; }

    private:
        QzBase::CountedPtr<QzLog::Destination> const mpTarget;
        std::atomic<unsigned short> mLanguageID;
    };
}
