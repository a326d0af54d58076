#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>

#include <initializer_list>
#include <string>

namespace QzLog
{
    class Destination;
    class Logger;

    /// A list of destinations, as Dispatcher::SetDestinations takes it. CreateDestinationCollection makes one;
    /// a class of the user's serves as well. It is read during SetDestinations only, by that thread.
    class QZLOG_API DestinationCollection : public virtual QzBase::ReferenceCounted
    {
    public:
        ~DestinationCollection() override;

        virtual unsigned int GetCount() = 0;

        /// \param index  below GetCount().
        /// \return       not null. No reference is taken.
        virtual Destination* GetDestination(unsigned int index) = 0;
    };

    /// A collection of these destinations, in this order; it takes a reference to each. None may be null:
    /// SetDestinations refuses such a collection.
    QZLOG_API QzBase::ReturnPtrI<DestinationCollection> CreateDestinationCollection(
        std::initializer_list<Destination*> destinations);

    /// A named list of destinations. Here a log call becomes a message: the header of the calling thread is
    /// stamped, once, and every destination gets it in list order, on the calling thread, with no lock held.
    ///
    /// All operations may be called from any thread at any time. What a destination throws ends the delivery
    /// of that message and reaches the caller; the list stays. Log operations do nothing while the list is
    /// empty, and when the module of the logger that they are given has ended.
    class QZLOG_API Dispatcher : public virtual QzBase::ReferenceCounted
    {
    public:
        /// Told when a dispatcher's destinations have been replaced.
        class QZLOG_API Callback : public virtual QzBase::ReferenceCounted
        {
        public:
            ~Callback() override;

            /// Called on the thread that made the change, with no lock held. A callback may add and remove
            /// callbacks, and can be called once more just after it has been removed.
            virtual void OnDestinationsChanged(Dispatcher& dispatcher) = 0;
        };

        ~Dispatcher() override;

        /// UTF-8, valid as long as the dispatcher. Takes no lock.
        virtual char const* GetName() = 0;

        virtual bool HasDestinations() = 0;

        /// Delivers a structured message, then assigns it back with the localised texts that the destinations
        /// have looked up; not when a destination throws.
        virtual void LogAndUpdateMessage(Logger& logger, QzBase::Message& message) = 0;

        /// Delivers a structured message under its own ID, without source location.
        virtual void LogBaseMessage(Logger& logger, QzBase::Message const& message) = 0;

        /// Delivers finished text; see Router::LogText.
        virtual void LogText(Logger& logger, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber) = 0;

        /// Replaces the list and tells the callbacks, also when nothing changed. A null collection is an empty
        /// list. Messages in delivery on other threads finish on the list they began with; the old destinations
        /// are released last. When the collection throws, or holds a null entry (QzBase::Message), the old list
        /// stays and nobody is told. When a callback throws, the new list stays and the rest hear nothing.
        virtual void SetDestinations(QzBase::CountedPtr<DestinationCollection> const& destinations) = 0;

        /// Adds a callback, with a reference. One that is there already stays, once; null changes nothing.
        virtual void AddCallback(Callback* callback) = 0;

        /// Takes a callback out, however often it was added. An unknown one changes nothing.
        virtual void RemoveCallback(Callback* callback) = 0;

        /// See Router::FormatHeaderJson.
        virtual void FormatHeaderJson(Logger& logger, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber, std::string& headerJson) = 0;
    };

    /// A new dispatcher without destinations that belongs to no logger yet: what a configuration hook puts in
    /// place of another. Null counts as the empty name. Needs no live module.
    QZLOG_API QzBase::ReturnPtrI<Dispatcher> CreateDispatcher(char const* name);
}
